#include "SCMRunEntryBlock.hpp"

#include <cstdint>

namespace SCM {

namespace {

void appendField(std::string& text, const std::string& field) {
    for (const char c : field) {
        switch (c) {
            case '\\': text += "\\\\"; break;
            case '\t': text += "\\t"; break;
            case '\n': text += "\\n"; break;
            default: text += c;
        }
    }
}

// Reads the field starting at `at` up to the next tab or newline (or the end), unescaped, and
// moves `at` onto that separator. False for a backslash before anything but \, t or n.
bool readField(const std::string& text, std::size_t& at, std::string& field) {
    field.clear();
    for (; at < text.size() && text[at] != '\t' && text[at] != '\n'; ++at) {
        if (text[at] != '\\') {
            field += text[at];
            continue;
        }
        const char escaped = ++at < text.size() ? text[at] : '\0';
        if (escaped == '\\') field += '\\';
        else if (escaped == 't') field += '\t';
        else if (escaped == 'n') field += '\n';
        else return false;
    }
    return true;
}

// Reads one line into `entry` (checksum, outcome, differences) and moves `at` past it.
bool readLine(const std::string& text, std::size_t& at, SCMRunEntry& entry, std::string& field) {
    entry.differences.clear();
    if (!readField(text, at, entry.checksum) || at >= text.size() || text[at++] != '\t' ||
        !readField(text, at, field) || !runOutcomeFromName(field, entry.outcome)) {
        return false;
    }
    while (at < text.size() && text[at] == '\t') {
        ++at;
        if (!readField(text, at, field)) return false;
        entry.differences.push_back(field);
    }
    if (at < text.size()) ++at;  // the newline
    return true;
}

}  // namespace

unsigned SCMRunEntryBlock::bucketOf(const std::string& checksum) {
    std::uint32_t hash = 2166136261u;  // 32-bit FNV-1a
    for (const char c : checksum) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    }
    return hash % kBuckets;
}

void SCMRunEntryBlock::add(const SCMRunEntry& entry) {
    if (size_ != 0) text_ += '\n';
    appendField(text_, entry.checksum);
    text_ += '\t';
    text_ += runOutcomeName(entry.outcome);
    for (const std::string& difference : entry.differences) {
        text_ += '\t';
        appendField(text_, difference);
    }
    ++size_;
}

std::string SCMRunEntryBlock::take() {
    std::string text = std::move(text_);
    text_.clear();
    size_ = 0;
    return text;
}

bool SCMRunEntryBlock::forEachEntry(const std::string& text, const std::string& run,
                                    const std::string& category,
                                    const std::function<void(const SCMRunEntry&)>& visit) {
    SCMRunEntry entry;
    entry.run = run;
    entry.category = category;
    std::string field;
    for (std::size_t at = 0; at < text.size();) {
        if (!readLine(text, at, entry, field)) return false;
        visit(entry);
    }
    return true;
}

}  // namespace SCM
