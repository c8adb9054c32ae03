#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace scm_tool {

// Rows of text printed in aligned columns under a header, two spaces apart, without trailing
// blanks. Columns are left-aligned unless alignRight names them (numbers).
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header);

    // A row with as many cells as the header (missing cells print empty, extra ones are dropped).
    void addRow(std::vector<std::string> cells);
    void alignRight(std::size_t column);
    std::size_t rowCount() const { return rows_.size(); }
    void print(std::ostream& out) const;

private:
    std::vector<std::size_t> columnWidths() const;
    void printRow(std::ostream& out, const std::vector<std::string>& cells,
                  const std::vector<std::size_t>& widths) const;

    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
    std::vector<bool> rightAligned_;
};

}  // namespace scm_tool
