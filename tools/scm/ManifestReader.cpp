#include "ManifestReader.hpp"

namespace scm_tool {

namespace {

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t\r") == std::string::npos;
}

}  // namespace

ManifestReader::ManifestReader(std::istream& in) : in_(in) {}

bool ManifestReader::next(ManifestItem& item) {
    while (std::getline(in_, line_)) {
        ++lineNumber_;
        bytesRead_ += line_.size() + 1;
        if (isBlank(line_)) continue;
        if (line_.back() == '\r') line_.pop_back();
        item = ManifestItem();
        item.line = lineNumber_;
        parseManifestLine(line_, item.entry, item.problem);
        return true;
    }
    return false;
}

}  // namespace scm_tool
