// Reads the input as comma-separated values.

#include "Csv.h"

#include "Harness.h"

namespace test {
namespace {

using Rows = std::vector<std::vector<std::string>>;

std::string quoted(const std::string& value) {
    std::string text = "\"";
    for (const char c : value) {
        text += c;
        text.append(c == '"' ? 1 : 0, c);
    }
    return text + '"';
}

std::string textOf(const Rows& rows) {
    std::string text;
    for (const std::vector<std::string>& row : rows) {
        for (const std::string& value : row) {
            text.append(&value == &row.front() ? "" : ",").append(quoted(value));
        }
        text += '\n';
    }
    return text;
}

}  // namespace

void examine(std::string_view input) {
    const vtek::Result<Rows> rows = qrxinspect::parseCsv(input);
    if (!rows) {
        require(rows.error().message.starts_with("line "), "an error with its line");
        return;
    }
    for (const std::vector<std::string>& row : *rows) {
        require(row.size() == rows->front().size(), "as many values as headings");
    }
    const vtek::Result<Rows> again = qrxinspect::parseCsv(textOf(*rows));
    require(again && *again == *rows, "the same values when written and read again");
}

}  // namespace test
