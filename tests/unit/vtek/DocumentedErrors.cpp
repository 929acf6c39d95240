#include "DocumentedErrors.h"

#include <fstream>
#include <ostream>
#include <stdexcept>

namespace test {

namespace {

constexpr std::size_t kColumns = 5;

std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells;
    for (std::size_t at = 2; at < line.size();) {
        const auto end = line.find(" |", at);
        cells.push_back(line.substr(at, end - at));
        at = end + 3;
    }
    if (cells.size() != kColumns) {
        throw std::runtime_error("not a row of the error table: " + line);
    }
    return cells;
}

}  // namespace

void PrintTo(const DocumentedError& error, std::ostream* out) {
    *out << error.number;
}

std::vector<DocumentedError> documentedErrors() {
    std::ifstream document(QRX_SOURCE_FOLDER "/docs/stand-in.md");
    std::string line;
    while (line != "|---|---|---|---|---|") {
        if (!std::getline(document, line)) {
            throw std::runtime_error("docs/stand-in.md has no error table");
        }
    }
    std::vector<DocumentedError> rows;
    while (std::getline(document, line) && line.starts_with("|")) {
        const auto cells = cellsOf(line);
        rows.push_back({cells[0], std::stoi(cells[1]), cells[2], cells[3], cells[4]});
    }
    return rows;
}

}  // namespace test
