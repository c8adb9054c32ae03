#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tvdiag::util {

// One reported problem: a stable identifier ("vrex:open:notARegistry") and a readable message
// that names what failed (file, line, database error text).
struct diagnostic {
    std::string identifier;
    std::string message;
};

// The error channel of every dictionary call. A call succeeded when the list it was given is
// still empty afterwards; callers read the records, then clear the list.
class diagnostics {
public:
    // A fresh, empty list.
    static diagnostics getEmptyInstance();

    bool empty() const { return records_.empty(); }
    std::size_t size() const { return records_.size(); }
    void add(std::string identifier, std::string message);
    void clear() { records_.clear(); }
    const std::vector<diagnostic>& records() const { return records_; }

    // Every record as "identifier: message", one per line.
    std::string toString() const;
    // Every record's message, one per line: what a person is shown.
    std::string messages() const;

private:
    std::vector<diagnostic> records_;
};

}  // namespace tvdiag::util
