#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace scm_tool {

// Rows of text printed in aligned columns under a header, two spaces apart, without trailing
// blanks. Columns are left-aligned unless alignRight names them (numbers).
//
// A long table can be printed as it grows: flush() prints the header and the rows held so far
// with the widths they need, and forgets the rows; rows printed later keep those widths, except
// that a wider cell widens its own line.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header);

    // A row with as many cells as the header (missing cells print empty, extra ones are dropped).
    void addRow(std::vector<std::string> cells);
    void alignRight(std::size_t column);
    // The rows held, not yet printed.
    std::size_t rowCount() const { return rows_.size(); }
    // Prints the rows held (after the header, the first time) and forgets them.
    void flush(std::ostream& out);
    // Prints the whole table at once, for a table that was never flushed.
    void print(std::ostream& out) const;

private:
    std::vector<std::size_t> columnWidths() const;
    void printRow(std::ostream& out, const std::vector<std::string>& cells,
                  const std::vector<std::size_t>& widths) const;

    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
    std::vector<bool> rightAligned_;
    std::vector<std::size_t> widths_;  // fixed by the first flush; empty before it
};

}  // namespace scm_tool
