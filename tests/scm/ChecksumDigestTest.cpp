// The checksum digest: MD5 itself (RFC 1321 vectors, cross-checked against OpenSSL) and the
// base-62 text that keys every registry entry.
#include <openssl/evp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "digest/SCMChecksumDigest.hpp"

namespace {

using SCM::SCMChecksumDigest;

std::string hex(const SCMChecksumDigest::Digest& digest) {
    static const char* digits = "0123456789abcdef";
    std::string text;
    for (unsigned char byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

std::string md5Hex(const std::string& message) {
    SCMChecksumDigest digest;
    digest.update(message.data(), message.size());
    return hex(digest.finalize());
}

std::string textOf(SCMChecksumDigest& digest) {
    std::string text;
    digest.appendText(text);
    return text;
}

// Reference base conversion: schoolbook long division of the big-endian bytes by the radix.
std::string referenceText(SCMChecksumDigest::Digest digest, const std::string& alphabet) {
    std::vector<unsigned> number(digest.begin(), digest.end());
    std::string text;
    auto isZero = [&] {
        for (unsigned byte : number) if (byte != 0) return false;
        return true;
    };
    while (!isZero()) {
        unsigned remainder = 0;
        for (unsigned& byte : number) {
            unsigned value = remainder * 256 + byte;
            byte = value / alphabet.size();
            remainder = value % alphabet.size();
        }
        text += alphabet[remainder];
    }
    return text;
}

TEST(ChecksumDigest, Rfc1321TestSuite) {
    EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5Hex("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5Hex("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5Hex("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(md5Hex("1234567890123456789012345678901234567890"
                     "1234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(ChecksumDigest, WorkedTexts) {
    SCMChecksumDigest nothing;
    EXPECT_EQ(textOf(nothing), "UZNV6GSDjNHqUjgyPa3PcG");

    SCMChecksumDigest abc;
    abc.update("abc");
    EXPECT_EQ(textOf(abc), "OGYSglrIy4jPHI0kduetXE");

    SCMChecksumDigest oneToFour;
    for (std::uint32_t i = 1; i <= 4; ++i) oneToFour.update(i);
    EXPECT_EQ(hex(oneToFour.finalize()), "4b46fb6ad8eeb396c89156b2aca3b7e2");
    EXPECT_EQ(textOf(oneToFour), "U4NdP7g6UUORzSSeCh2CSC");

    EXPECT_EQ(SCM::fourElementChecksum(0, 0, 0, 0), "r0D0lO5YFYuzQLWx4FCVRC");
    EXPECT_EQ(SCM::fourElementChecksum(1, 2, 3, 4), "U4NdP7g6UUORzSSeCh2CSC");
}

TEST(ChecksumDigest, FieldBoundariesLeaveNoTrace) {
    SCMChecksumDigest split;
    split.update("ab");
    split.update("c");
    SCMChecksumDigest whole;
    whole.update("abc");
    EXPECT_EQ(textOf(split), textOf(whole));
}

TEST(ChecksumDigest, TextsStopAtTheirFirstNulAndNullFeedsNothing) {
    SCMChecksumDigest empty;
    empty.update("");
    empty.update(static_cast<const char*>(nullptr));
    EXPECT_EQ(textOf(empty), "UZNV6GSDjNHqUjgyPa3PcG");

    const std::string withNul("a\0bc", 4);
    SCMChecksumDigest truncated;
    truncated.update(withNul.c_str());
    SCMChecksumDigest justA;
    justA.update("a");
    EXPECT_EQ(textOf(truncated), textOf(justA));
}

TEST(ChecksumDigest, IntegersAreLittleEndianWhateverTheirSignedness) {
    SCMChecksumDigest minusOne;
    minusOne.update(-1);
    SCMChecksumDigest allOnes;
    allOnes.update(std::uint32_t{4294967295u});
    const unsigned char ff[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    SCMChecksumDigest bytes;
    bytes.update(ff, 4);
    EXPECT_EQ(hex(minusOne.finalize()), hex(allOnes.finalize()));
    EXPECT_EQ(hex(allOnes.finalize()), hex(bytes.finalize()));

    SCMChecksumDigest one;
    one.update(std::uint32_t{1});
    const unsigned char oneBytes[4] = {1, 0, 0, 0};
    SCMChecksumDigest oneRaw;
    oneRaw.update(oneBytes, 4);
    EXPECT_EQ(hex(one.finalize()), hex(oneRaw.finalize()));
}

TEST(ChecksumDigest, CharAndDoubleForms) {
    SCMChecksumDigest character;
    character.update('x');
    EXPECT_EQ(hex(character.finalize()), md5Hex("x"));

    SCMChecksumDigest number;
    number.update(1.0);  // 0x3FF0000000000000, least significant byte first
    const std::string image("\0\0\0\0\0\0\xF0\x3F", 8);
    EXPECT_EQ(hex(number.finalize()), md5Hex(image));
}

TEST(ChecksumDigest, FinalizeIsStableAndAppendTextAppends) {
    SCMChecksumDigest digest;
    digest.update("abc");
    const auto first = digest.finalize();
    EXPECT_EQ(digest.finalize(), first);
    digest.update("more");  // ignored by the finished digest
    EXPECT_EQ(digest.finalize(), first);

    std::string text = "x";
    digest.appendText(text);
    EXPECT_EQ(text, "xOGYSglrIy4jPHI0kduetXE");
    digest.appendText(text);
    EXPECT_EQ(text, "xOGYSglrIy4jPHI0kduetXEOGYSglrIy4jPHI0kduetXE");
}

TEST(ChecksumDigest, InitStartsOverAndCopiesContinueIndependently) {
    SCMChecksumDigest digest;
    digest.update("garbage");
    digest.finalize();
    digest.init();
    digest.update("abc");
    EXPECT_EQ(textOf(digest), "OGYSglrIy4jPHI0kduetXE");

    SCMChecksumDigest prefix;
    prefix.update("ab");
    SCMChecksumDigest copy = prefix;
    copy.update("c");
    prefix.update("d");
    EXPECT_EQ(hex(copy.finalize()), md5Hex("abc"));
    EXPECT_EQ(hex(prefix.finalize()), md5Hex("abd"));
}

TEST(ChecksumDigest, TextIsShortWhenLeadingDigitsAreZero) {
    // With a two-letter alphabet the text is the binary digits, least significant first; its
    // length shows that no leading zero digits are written.
    SCMChecksumDigest digest;
    digest.update("abc");
    const auto bytes = digest.finalize();
    std::string binary;
    digest.appendText(binary, "01");
    EXPECT_EQ(binary, referenceText(bytes, "01"));
    EXPECT_EQ(binary.back(), '1');
    EXPECT_LE(binary.size(), 128u);

    std::string none;
    digest.appendText(none, "z");
    EXPECT_EQ(none, "");
}

// Many random messages of lengths around the padding boundaries (55/56/64 bytes and their
// multiples), fed whole and in random pieces: the bytes match OpenSSL and the text matches a
// reference base conversion.
TEST(ChecksumDigest, RandomMessagesMatchOpenSslAndReferenceText) {
    std::mt19937 random(20261122);
    std::vector<std::size_t> lengths;
    for (std::size_t base : {0u, 55u, 56u, 64u, 119u, 120u, 128u, 183u, 184u, 192u, 1000u}) {
        for (std::size_t delta = 0; delta < 3; ++delta) lengths.push_back(base + delta);
    }
    for (std::size_t length = 0; length < 300; ++length) lengths.push_back(length);

    const std::string alphabet = SCMChecksumDigest::checksumAlphabet;
    for (std::size_t length : lengths) {
        std::string message(length, '\0');
        for (char& byte : message) byte = static_cast<char>(random() & 0xFF);

        unsigned char expected[EVP_MAX_MD_SIZE];
        unsigned int expectedLength = 0;
        ASSERT_EQ(1, EVP_Digest(message.data(), message.size(), expected, &expectedLength,
                                EVP_md5(), nullptr));
        ASSERT_EQ(expectedLength, 16u);

        SCMChecksumDigest pieces;
        for (std::size_t at = 0; at < length;) {
            std::size_t piece = std::min<std::size_t>(length - at, random() % 70);
            pieces.update(message.data() + at, piece);
            at += piece;
        }
        const auto digest = pieces.finalize();
        ASSERT_EQ(0, std::memcmp(digest.data(), expected, 16)) << "length " << length;

        std::string text;
        pieces.appendText(text);
        ASSERT_EQ(text, referenceText(digest, alphabet)) << "length " << length;
        ASSERT_LE(text.size(), 22u);
    }
}

}  // namespace
