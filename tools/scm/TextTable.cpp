#include "TextTable.hpp"

#include <algorithm>

namespace scm_tool {

TextTable::TextTable(std::vector<std::string> header)
    : header_(std::move(header)), rightAligned_(header_.size(), false) {}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(header_.size());
    rows_.push_back(std::move(cells));
}

void TextTable::alignRight(std::size_t column) {
    if (column < rightAligned_.size()) rightAligned_[column] = true;
}

void TextTable::flush(std::ostream& out) {
    if (widths_.empty()) {
        widths_ = columnWidths();
        printRow(out, header_, widths_);
    }
    for (const auto& row : rows_) printRow(out, row, widths_);
    rows_.clear();
}

void TextTable::print(std::ostream& out) const {
    const std::vector<std::size_t> widths = columnWidths();
    printRow(out, header_, widths);
    for (const auto& row : rows_) printRow(out, row, widths);
}

std::vector<std::size_t> TextTable::columnWidths() const {
    std::vector<std::size_t> widths;
    for (const std::string& title : header_) widths.push_back(title.size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    return widths;
}

void TextTable::printRow(std::ostream& out, const std::vector<std::string>& cells,
                         const std::vector<std::size_t>& widths) const {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(std::max(widths[i], cells[i].size()) - cells[i].size(), ' ');
        if (i > 0) line += "  ";
        line += rightAligned_[i] ? padding + cells[i] : cells[i] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

}  // namespace scm_tool
