#include "Output.h"

#include <algorithm>
#include <iomanip>
#include <iostream>

namespace tools {

namespace {

std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

}  // namespace

void printTable(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool last = i + 1 == row.size();
            std::cout << std::left << std::setw(last ? 0 : static_cast<int>(widths[i] + 2))
                      << printable(row[i]);
        }
        std::cout << '\n';
    }
}

}  // namespace tools
