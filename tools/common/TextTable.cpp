#include "common/TextTable.h"

#include "common/Printable.h"

#include <algorithm>

namespace tools {
namespace {

constexpr std::size_t kGap = 2;  // blanks between two columns

}  // namespace

TextTable::TextTable(std::vector<std::string> headings) {
    addRow(std::move(headings));
}

void TextTable::addRow(std::vector<std::string> cells) {
    for (std::string& cell : cells) {
        cell = cell.empty() ? "-" : toPrintable(cell);
    }
    rows_.push_back(std::move(cells));
}

std::vector<std::size_t> TextTable::columnWidths() const {
    std::vector<std::size_t> widths;
    for (const std::vector<std::string>& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], columnsOf(row[i]));
        }
    }
    return widths;
}

std::ostream& operator<<(std::ostream& out, const TextTable& table) {
    const std::vector<std::size_t> widths = table.columnWidths();
    for (const std::vector<std::string>& row : table.rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool last = i + 1 == row.size();
            out << row[i] << std::string(last ? 0 : widths[i] - columnsOf(row[i]) + kGap, ' ');
        }
        out << '\n';
    }
    return out;
}

}  // namespace tools
