#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace SCM {

// MD5 of a sequence of fields, written as base-62 text. Internal to the library.
//
// Fields become bytes as follows: texts up to their first NUL (a null pointer feeds nothing),
// 32-bit integers as 4 bytes least significant first, doubles as their 8 IEEE 754 bytes least
// significant first. Field boundaries leave no trace: "ab" then "c" equals "abc".
//
// The text is the 16 digest bytes read as one big-endian number, written in base radix (the
// alphabet's length) least significant digit first, with no padding: at most 22 characters for
// the 62-character checksum alphabet.
//
// A plain value: copies continue independently. Nothing is allocated while feeding.
class SCMChecksumDigest {
public:
    using Digest = std::array<unsigned char, 16>;

    // "ABC...XYZabc...xyz1234567890": digit 0 is 'A', 52 is '1', 61 is '0'.
    static const char* const checksumAlphabet;

    SCMChecksumDigest();

    // Back to the initial state: nothing fed, not finalized.
    void init();

    void update(const void* bytes, std::uint64_t length);
    void update(const char* text);
    void update(std::uint32_t value);
    void update(int value);
    void update(char value);
    void update(double value);

    // Completes MD5 and returns the 16 digest bytes; later calls return the same bytes. Data fed
    // after finalize() does not change them.
    Digest finalize();

    // Finalizes if needed and appends the digest's text over `alphabet` to `out` (which is not
    // cleared). An alphabet shorter than 2 characters appends nothing.
    void appendText(std::string& out, const char* alphabet);
    void appendText(std::string& out);

private:
    void transform(const unsigned char block[64]);

    std::uint32_t state_[4];
    std::uint32_t bitCount_[2];  // low word first
    unsigned char buffer_[64];
    bool finalized_;
    Digest digest_;
};

// The checksum text of four 32-bit checksum elements fed in order: the key of every
// four-element identity.
std::string fourElementChecksum(std::uint32_t e1, std::uint32_t e2, std::uint32_t e3,
                                std::uint32_t e4);

}  // namespace SCM
