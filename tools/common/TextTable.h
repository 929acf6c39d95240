#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace tools {

/**
 * A table for people: columns aligned, values printable, an empty value shown as "-". A value wider than
 * kWidestColumn moves the rest of its own row only; it does not pad every other row.
 */
class TextTable {
public:
    /** A table without headings, such as a list of facts. */
    TextTable() = default;
    explicit TextTable(std::vector<std::string> headings);

    /** Every row has as many cells as the first one, or as there are headings. */
    void addRow(std::vector<std::string> cells);

    bool isEmpty() const { return rows_.empty(); }

    /** Writes every value whole. */
    void print(std::ostream& out) const;

    /** Writes at most kLongestOnTerminal characters of a value, then "..." in place of the rest. */
    void printShortened(std::ostream& out) const;

    static constexpr std::size_t kWidestColumn = 60;
    static constexpr std::size_t kLongestOnTerminal = 200;

private:
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace tools
