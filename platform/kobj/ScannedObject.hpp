#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kobj {

// A JSON string of an encoding as a scan found it, still in the text: the bytes between its
// quotes, and whether they are the string's bytes as they stand (no escape, no byte from 0x80 on).
// Plain data: a scan fills every field it reads.
struct ScannedString {
    const char* begin;  // just after the opening quote
    const char* end;    // at the closing quote
    bool plain;

    std::string_view raw() const { return {begin, static_cast<std::size_t>(end - begin)}; }
};

// A property value as a scan found it.
struct ScannedValue {
    enum class Kind : std::uint8_t { Text, Logical, Int32, UInt32, Texts };

    Kind kind;
    // Text: the string. Texts: `begin` at the opening bracket, `end` just past the closing one.
    ScannedString text;
    // Logical: 0 or 1; Int32, UInt32: the value; Texts: how many texts the list holds.
    std::int64_t number;
};

struct ScannedMember {
    ScannedString name;
    ScannedValue value;
};

// An encoding checked whole but not yet decoded (see EncodingReader.hpp): where its class name
// and its members lie in the text, members in the order of the text. It points into the text,
// which must outlive it. Holds as many members as the library's classes have without allocating.
class ScannedObject {
public:
    ScannedObject() = default;
    ScannedObject(const ScannedObject&) = delete;
    ScannedObject& operator=(const ScannedObject&) = delete;

    ScannedString className{};

    std::size_t size() const { return size_; }
    const ScannedMember* begin() const { return more_.empty() ? inline_.data() : more_.data(); }
    const ScannedMember* end() const { return begin() + size_; }
    void add(const ScannedMember& member) {
        if (size_ < kInline) {
            inline_[size_++] = member;
        } else {
            addBeyondInline(member);
        }
    }
    void clear();

private:
    static constexpr std::size_t kInline = 16;

    void addBeyondInline(const ScannedMember& member);

    std::array<ScannedMember, kInline> inline_;  // left uninitialized up to size_
    std::vector<ScannedMember> more_;  // all the members once there are more than kInline
    std::size_t size_ = 0;
};

}  // namespace kobj
