// The checksum digest: MD5 itself (against OpenSSL) and the base-62 text that keys every registry
// entry (the worked texts are the identities' golden checksums).
#include <openssl/evp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
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

// The reference: OpenSSL's MD5 of `message`, in hex.
std::string md5Hex(const std::string& message) {
    SCMChecksumDigest::Digest digest{};
    unsigned int length = 0;
    EVP_Digest(message.data(), message.size(), digest.data(), &length, EVP_md5(), nullptr);
    return hex(digest);
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

// Each feed adds the bytes of its value: integers as four little-endian bytes whatever their
// signedness, doubles as their eight-byte image, texts up to their first NUL, null as nothing.
TEST(ChecksumDigest, EachFeedAddsTheBytesOfItsValue) {
    struct Row {
        const char* what;
        std::function<void(SCMChecksumDigest&)> feed;
        std::string bytes;
    };
    const std::string withNul("a\0bc", 4);
    const Row rows[] = {
        {"int -1", [](SCMChecksumDigest& d) { d.update(-1); }, "\xFF\xFF\xFF\xFF"},
        {"uint32 1", [](SCMChecksumDigest& d) { d.update(std::uint32_t{1}); }, std::string("\1\0\0\0", 4)},
        {"char", [](SCMChecksumDigest& d) { d.update('x'); }, "x"},
        {"double 1", [](SCMChecksumDigest& d) { d.update(1.0); }, std::string("\0\0\0\0\0\0\xF0\x3F", 8)},
        {"text to NUL", [&](SCMChecksumDigest& d) { d.update(withNul.c_str()); }, "a"},
        {"null and empty",
         [](SCMChecksumDigest& d) {
             d.update("");
             d.update(static_cast<const char*>(nullptr));
         },
         ""},
        {"pieces", [](SCMChecksumDigest& d) { d.update("ab"), d.update("c"); }, "abc"},
    };
    for (const Row& row : rows) {
        SCMChecksumDigest digest;
        row.feed(digest);
        EXPECT_EQ(hex(digest.finalize()), md5Hex(row.bytes)) << row.what;
    }
}

TEST(ChecksumDigest, FinishedDigestIsStableUntilInitAndCopiesContinueApart) {
    SCMChecksumDigest digest;
    digest.update("abc");
    const auto first = digest.finalize();
    digest.update("more");  // ignored by the finished digest
    EXPECT_EQ(digest.finalize(), first);

    digest.init();
    digest.update("ab");
    SCMChecksumDigest copy = digest;
    copy.update("c");
    digest.update("d");
    EXPECT_EQ(hex(copy.finalize()), md5Hex("abc"));
    EXPECT_EQ(hex(digest.finalize()), md5Hex("abd"));
}

// Many random messages of lengths around the padding boundaries (55/56/64 bytes and their
// multiples), fed in random pieces: the bytes match OpenSSL and the text matches a reference
// base conversion (least significant digit first, no leading zero digits).
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

        SCMChecksumDigest pieces;
        for (std::size_t at = 0; at < length;) {
            std::size_t piece = std::min<std::size_t>(length - at, random() % 70);
            pieces.update(message.data() + at, piece);
            at += piece;
        }
        const auto digest = pieces.finalize();
        ASSERT_EQ(hex(digest), md5Hex(message)) << "length " << length;

        std::string text;
        pieces.appendText(text);
        ASSERT_EQ(text, referenceText(digest, alphabet)) << "length " << length;
        ASSERT_LE(text.size(), 22u);
        for (const std::string other : {"0123456789abcdef", "xyz"}) {  // any other alphabet too
            std::string otherText;
            pieces.appendText(otherText, other.c_str());
            ASSERT_EQ(otherText, referenceText(digest, other)) << "radix " << other.size();
        }
    }
}

}  // namespace
