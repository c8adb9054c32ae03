#include "digest/SCMChecksumDigest.hpp"

#include "digest/SCMDigestTap.hpp"

#include <cstring>
#include <limits>

namespace SCM {

const char* const SCMChecksumDigest::checksumAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz1234567890";

namespace {

constexpr unsigned char padding[64] = {0x80};

inline std::uint32_t rotateLeft(std::uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

inline std::uint32_t loadLittleEndian(const unsigned char* p) {
    return std::uint32_t(p[0]) | (std::uint32_t(p[1]) << 8) | (std::uint32_t(p[2]) << 16) |
           (std::uint32_t(p[3]) << 24);
}

inline void storeLittleEndian(std::uint32_t value, unsigned char* p) {
    p[0] = static_cast<unsigned char>(value);
    p[1] = static_cast<unsigned char>(value >> 8);
    p[2] = static_cast<unsigned char>(value >> 16);
    p[3] = static_cast<unsigned char>(value >> 24);
}

// The four MD5 rounds: a = b + ((a + f(b,c,d) + x + t) <<< s).
#define MD5_STEP(f, a, b, c, d, x, s, t) \
    a += f(b, c, d) + (x) + (t);         \
    a = rotateLeft(a, s) + (b)

#define MD5_F(x, y, z) ((z) ^ ((x) & ((y) ^ (z))))
#define MD5_G(x, y, z) ((y) ^ ((z) & ((x) ^ (y))))
#define MD5_H(x, y, z) ((x) ^ (y) ^ (z))
#define MD5_I(x, y, z) ((y) ^ ((x) | ~(z)))

// Writes the digits of `number` in base `radix` to `digits`, least significant first, and
// returns how many. As many digits as fit in 64 bits are split off per 128-bit division; the
// rest is done in 64 bits.
std::size_t writeDigits(unsigned __int128 number, std::uint64_t radix, const char* alphabet,
                        char* digits) {
    std::uint64_t chunkBase = 1;
    int chunkDigits = 0;
    while (chunkBase <= std::numeric_limits<std::uint64_t>::max() / radix) {
        chunkBase *= radix;
        ++chunkDigits;
    }
    std::size_t count = 0;
    while (number > std::numeric_limits<std::uint64_t>::max()) {
        auto chunk = static_cast<std::uint64_t>(number % chunkBase);
        number /= chunkBase;
        for (int i = 0; i < chunkDigits; ++i, chunk /= radix) digits[count++] = alphabet[chunk % radix];
    }
    for (auto rest = static_cast<std::uint64_t>(number); rest > 0; rest /= radix) {
        digits[count++] = alphabet[rest % radix];
    }
    return count;
}

// The same for radix 62, the checksum's: the number is cut into three chunks of ten digits
// (62^10 < 2^64, 62^22 > 2^128), whose digits are then taken side by side with divisions by the
// constant 62, which compile to multiplications.
std::size_t writeBase62Digits(unsigned __int128 number, const char* alphabet, char* digits) {
    constexpr std::uint64_t kChunkBase = 839299365868340224ull;  // 62^10
    std::uint64_t low = static_cast<std::uint64_t>(number % kChunkBase);
    number /= kChunkBase;
    std::uint64_t middle = static_cast<std::uint64_t>(number % kChunkBase);
    std::uint64_t high = static_cast<std::uint64_t>(number / kChunkBase);
    unsigned char values[30];
    for (int i = 0; i < 10; ++i) {
        values[i] = static_cast<unsigned char>(low % 62);
        values[10 + i] = static_cast<unsigned char>(middle % 62);
        values[20 + i] = static_cast<unsigned char>(high % 62);
        low /= 62;
        middle /= 62;
        high /= 62;
    }
    std::size_t count = 30;
    while (count > 0 && values[count - 1] == 0) --count;  // no leading zeros
    for (std::size_t i = 0; i < count; ++i) digits[i] = alphabet[values[i]];
    return count;
}

}  // namespace

SCMChecksumDigest::SCMChecksumDigest() : buffer_(), digest_() { init(); }

void SCMChecksumDigest::init() {
    state_[0] = 0x67452301;
    state_[1] = 0xefcdab89;
    state_[2] = 0x98badcfe;
    state_[3] = 0x10325476;
    bitCount_[0] = bitCount_[1] = 0;
    finalized_ = false;
}

void SCMChecksumDigest::update(const void* bytes, std::uint64_t length) {
    const auto* input = static_cast<const unsigned char*>(bytes);
    if (std::string* tap = SCMDigestTap::current()) tap->append(reinterpret_cast<const char*>(input), length);
    std::size_t index = (bitCount_[0] >> 3) & 0x3F;

    // Add the length in bits to the 64-bit count, modulo 2^64.
    std::uint64_t count = (std::uint64_t(bitCount_[1]) << 32) | bitCount_[0];
    count += length << 3;
    bitCount_[0] = static_cast<std::uint32_t>(count);
    bitCount_[1] = static_cast<std::uint32_t>(count >> 32);

    std::uint64_t used = 0;
    const std::size_t room = 64 - index;
    if (length >= room) {
        std::memcpy(buffer_ + index, input, room);
        transform(buffer_);
        for (used = room; used + 63 < length; used += 64) transform(input + used);
        index = 0;
    }
    std::memcpy(buffer_ + index, input + used, length - used);
}

void SCMChecksumDigest::update(const char* text) {
    if (text != nullptr) update(text, std::strlen(text));
}

void SCMChecksumDigest::update(std::uint32_t value) {
    unsigned char bytes[4];
    storeLittleEndian(value, bytes);
    update(bytes, sizeof bytes);
}

void SCMChecksumDigest::update(int value) { update(static_cast<std::uint32_t>(value)); }

void SCMChecksumDigest::update(char value) { update(&value, 1); }

void SCMChecksumDigest::update(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    unsigned char bytes[8];
    storeLittleEndian(static_cast<std::uint32_t>(bits), bytes);
    storeLittleEndian(static_cast<std::uint32_t>(bits >> 32), bytes + 4);
    update(bytes, sizeof bytes);
}

SCMChecksumDigest::Digest SCMChecksumDigest::finalize() {
    if (finalized_) return digest_;

    unsigned char lengthBytes[8];
    storeLittleEndian(bitCount_[0], lengthBytes);
    storeLittleEndian(bitCount_[1], lengthBytes + 4);

    const std::size_t index = (bitCount_[0] >> 3) & 0x3F;
    const std::size_t padLength = index < 56 ? 56 - index : 120 - index;
    std::string* tap = SCMDigestTap::current();  // records the input only, not the padding
    const std::size_t tapped = tap != nullptr ? tap->size() : 0;
    update(padding, padLength);
    update(lengthBytes, sizeof lengthBytes);
    if (tap != nullptr) tap->resize(tapped);

    for (int i = 0; i < 4; ++i) storeLittleEndian(state_[i], digest_.data() + 4 * i);

    std::memset(state_, 0, sizeof state_);
    std::memset(bitCount_, 0, sizeof bitCount_);
    std::memset(buffer_, 0, sizeof buffer_);
    finalized_ = true;
    return digest_;
}

void SCMChecksumDigest::appendText(std::string& out, const char* alphabet) {
    const std::uint64_t radix = std::strlen(alphabet);
    const Digest digest = finalize();
    if (radix < 2) return;

    unsigned __int128 number = 0;
    for (unsigned char byte : digest) number = (number << 8) | byte;

    char digits[128];  // 2^128 has at most 128 digits, in base 2
    const std::size_t count = radix == 62 ? writeBase62Digits(number, alphabet, digits)
                                          : writeDigits(number, radix, alphabet, digits);
    out.append(digits, count);
}

void SCMChecksumDigest::appendText(std::string& out) { appendText(out, checksumAlphabet); }

void SCMChecksumDigest::transform(const unsigned char block[64]) {
    std::uint32_t x[16];
    for (int i = 0; i < 16; ++i) x[i] = loadLittleEndian(block + 4 * i);
    std::uint32_t a = state_[0], b = state_[1], c = state_[2], d = state_[3];

    MD5_STEP(MD5_F, a, b, c, d, x[0], 7, 0xd76aa478);
    MD5_STEP(MD5_F, d, a, b, c, x[1], 12, 0xe8c7b756);
    MD5_STEP(MD5_F, c, d, a, b, x[2], 17, 0x242070db);
    MD5_STEP(MD5_F, b, c, d, a, x[3], 22, 0xc1bdceee);
    MD5_STEP(MD5_F, a, b, c, d, x[4], 7, 0xf57c0faf);
    MD5_STEP(MD5_F, d, a, b, c, x[5], 12, 0x4787c62a);
    MD5_STEP(MD5_F, c, d, a, b, x[6], 17, 0xa8304613);
    MD5_STEP(MD5_F, b, c, d, a, x[7], 22, 0xfd469501);
    MD5_STEP(MD5_F, a, b, c, d, x[8], 7, 0x698098d8);
    MD5_STEP(MD5_F, d, a, b, c, x[9], 12, 0x8b44f7af);
    MD5_STEP(MD5_F, c, d, a, b, x[10], 17, 0xffff5bb1);
    MD5_STEP(MD5_F, b, c, d, a, x[11], 22, 0x895cd7be);
    MD5_STEP(MD5_F, a, b, c, d, x[12], 7, 0x6b901122);
    MD5_STEP(MD5_F, d, a, b, c, x[13], 12, 0xfd987193);
    MD5_STEP(MD5_F, c, d, a, b, x[14], 17, 0xa679438e);
    MD5_STEP(MD5_F, b, c, d, a, x[15], 22, 0x49b40821);

    MD5_STEP(MD5_G, a, b, c, d, x[1], 5, 0xf61e2562);
    MD5_STEP(MD5_G, d, a, b, c, x[6], 9, 0xc040b340);
    MD5_STEP(MD5_G, c, d, a, b, x[11], 14, 0x265e5a51);
    MD5_STEP(MD5_G, b, c, d, a, x[0], 20, 0xe9b6c7aa);
    MD5_STEP(MD5_G, a, b, c, d, x[5], 5, 0xd62f105d);
    MD5_STEP(MD5_G, d, a, b, c, x[10], 9, 0x02441453);
    MD5_STEP(MD5_G, c, d, a, b, x[15], 14, 0xd8a1e681);
    MD5_STEP(MD5_G, b, c, d, a, x[4], 20, 0xe7d3fbc8);
    MD5_STEP(MD5_G, a, b, c, d, x[9], 5, 0x21e1cde6);
    MD5_STEP(MD5_G, d, a, b, c, x[14], 9, 0xc33707d6);
    MD5_STEP(MD5_G, c, d, a, b, x[3], 14, 0xf4d50d87);
    MD5_STEP(MD5_G, b, c, d, a, x[8], 20, 0x455a14ed);
    MD5_STEP(MD5_G, a, b, c, d, x[13], 5, 0xa9e3e905);
    MD5_STEP(MD5_G, d, a, b, c, x[2], 9, 0xfcefa3f8);
    MD5_STEP(MD5_G, c, d, a, b, x[7], 14, 0x676f02d9);
    MD5_STEP(MD5_G, b, c, d, a, x[12], 20, 0x8d2a4c8a);

    MD5_STEP(MD5_H, a, b, c, d, x[5], 4, 0xfffa3942);
    MD5_STEP(MD5_H, d, a, b, c, x[8], 11, 0x8771f681);
    MD5_STEP(MD5_H, c, d, a, b, x[11], 16, 0x6d9d6122);
    MD5_STEP(MD5_H, b, c, d, a, x[14], 23, 0xfde5380c);
    MD5_STEP(MD5_H, a, b, c, d, x[1], 4, 0xa4beea44);
    MD5_STEP(MD5_H, d, a, b, c, x[4], 11, 0x4bdecfa9);
    MD5_STEP(MD5_H, c, d, a, b, x[7], 16, 0xf6bb4b60);
    MD5_STEP(MD5_H, b, c, d, a, x[10], 23, 0xbebfbc70);
    MD5_STEP(MD5_H, a, b, c, d, x[13], 4, 0x289b7ec6);
    MD5_STEP(MD5_H, d, a, b, c, x[0], 11, 0xeaa127fa);
    MD5_STEP(MD5_H, c, d, a, b, x[3], 16, 0xd4ef3085);
    MD5_STEP(MD5_H, b, c, d, a, x[6], 23, 0x04881d05);
    MD5_STEP(MD5_H, a, b, c, d, x[9], 4, 0xd9d4d039);
    MD5_STEP(MD5_H, d, a, b, c, x[12], 11, 0xe6db99e5);
    MD5_STEP(MD5_H, c, d, a, b, x[15], 16, 0x1fa27cf8);
    MD5_STEP(MD5_H, b, c, d, a, x[2], 23, 0xc4ac5665);

    MD5_STEP(MD5_I, a, b, c, d, x[0], 6, 0xf4292244);
    MD5_STEP(MD5_I, d, a, b, c, x[7], 10, 0x432aff97);
    MD5_STEP(MD5_I, c, d, a, b, x[14], 15, 0xab9423a7);
    MD5_STEP(MD5_I, b, c, d, a, x[5], 21, 0xfc93a039);
    MD5_STEP(MD5_I, a, b, c, d, x[12], 6, 0x655b59c3);
    MD5_STEP(MD5_I, d, a, b, c, x[3], 10, 0x8f0ccc92);
    MD5_STEP(MD5_I, c, d, a, b, x[10], 15, 0xffeff47d);
    MD5_STEP(MD5_I, b, c, d, a, x[1], 21, 0x85845dd1);
    MD5_STEP(MD5_I, a, b, c, d, x[8], 6, 0x6fa87e4f);
    MD5_STEP(MD5_I, d, a, b, c, x[15], 10, 0xfe2ce6e0);
    MD5_STEP(MD5_I, c, d, a, b, x[6], 15, 0xa3014314);
    MD5_STEP(MD5_I, b, c, d, a, x[13], 21, 0x4e0811a1);
    MD5_STEP(MD5_I, a, b, c, d, x[4], 6, 0xf7537e82);
    MD5_STEP(MD5_I, d, a, b, c, x[11], 10, 0xbd3af235);
    MD5_STEP(MD5_I, c, d, a, b, x[2], 15, 0x2ad7d2bb);
    MD5_STEP(MD5_I, b, c, d, a, x[9], 21, 0xeb86d391);

    state_[0] += a;
    state_[1] += b;
    state_[2] += c;
    state_[3] += d;
}

std::string fourElementChecksum(std::uint32_t e1, std::uint32_t e2, std::uint32_t e3,
                                std::uint32_t e4) {
    SCMChecksumDigest digest;
    digest.init();
    digest.update(e1);
    digest.update(e2);
    digest.update(e3);
    digest.update(e4);
    std::string text;
    digest.appendText(text);
    return text;
}

}  // namespace SCM
