#include "common/TextTable.h"

#include "base/Printable.h"

#include <algorithm>

namespace tools {
namespace {

constexpr std::size_t kGap = 2;  // blanks between two columns

void shorten(std::string& cell) {
    if (vtek::columnsOf(cell) > TextTable::kLongestOnTerminal) {
        cell = vtek::firstColumns(cell, TextTable::kLongestOnTerminal) + "...";
    }
}

/** Bounded, or one long value would be repeated as blanks in every row. */
std::vector<std::size_t> columnWidths(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const std::vector<std::string>& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t width = std::min(vtek::columnsOf(row[i]), TextTable::kWidestColumn);
            widths[i] = std::max(widths[i], width);
        }
    }
    return widths;
}

}  // namespace

TextTable::TextTable(std::vector<std::string> headings) {
    addRow(std::move(headings));
}

void TextTable::addRow(std::vector<std::string> cells) {
    for (std::string& cell : cells) {
        cell = cell.empty() ? "-" : vtek::toPrintable(cell);
    }
    rows_.push_back(std::move(cells));
}

void TextTable::print(std::ostream& out) const {
    const std::vector<std::size_t> widths = columnWidths(rows_);
    for (const std::vector<std::string>& row : rows_) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            const std::size_t padding = widths[i] - std::min(widths[i], vtek::columnsOf(row[i]));
            out << row[i] << std::string(padding + kGap, ' ');
        }
        out << (row.empty() ? "" : row.back()) << '\n';
    }
}

void TextTable::printShortened(std::ostream& out) const {
    TextTable shortened = *this;
    for (std::vector<std::string>& row : shortened.rows_) {
        std::for_each(row.begin(), row.end(), shorten);
    }
    shortened.print(out);
}

}  // namespace tools
