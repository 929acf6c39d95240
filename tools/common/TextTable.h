#pragma once

#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

namespace tools {

/** A table for people: columns aligned, values printable, an empty value shown as "-". */
class TextTable {
public:
    /** A table without headings, such as a list of facts. */
    TextTable() = default;
    explicit TextTable(std::vector<std::string> headings);

    /** Every row has as many cells as the first one, or as there are headings. */
    void addRow(std::vector<std::string> cells);

    bool isEmpty() const { return rows_.empty(); }

    friend std::ostream& operator<<(std::ostream& out, const TextTable& table);

private:
    std::vector<std::size_t> columnWidths() const;

    std::vector<std::vector<std::string>> rows_;
};

}  // namespace tools
