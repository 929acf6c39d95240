#include "Table.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

Cells cellsOf(const std::string& part, const std::vector<std::string>& names) {
    const std::vector<std::string> words = wordsOf(part);
    if (words.size() != names.size()) {
        throw std::runtime_error("as many cells as columns, please: " + part);
    }
    Cells cells;
    for (std::size_t i = 0; i < names.size(); ++i) {
        cells[names[i]] = words[i];
    }
    return cells;
}

bool holds(const std::string& cell, const std::string& value) {
    std::istringstream in(cell);
    for (std::string one; std::getline(in, one, ',');) {
        if (one == "*" || one == value) {
            return true;
        }
    }
    return false;
}

bool matches(const Cells& row, const Cells& given) {
    return std::all_of(given.begin(), given.end(),
                       [&row](const auto& cell) { return holds(row.at(cell.first), cell.second); });
}

}  // namespace

Table::Table(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::vector<std::string> inputs;
    std::vector<std::string> outcomes;
    for (std::string line; std::getline(in, line);) {
        std::vector<std::string> words = wordsOf(line);
        const std::size_t bar = line.find('|');
        if (words.empty() || words[0].starts_with('#')) {
            continue;
        }
        if (words[0] == "values") {
            values_.emplace_back(words.at(1), std::vector<std::string>(words.begin() + 2, words.end()));
        } else if (bar == std::string::npos) {
            throw std::runtime_error("no bar: " + line);
        } else if (inputs.empty()) {
            inputs = wordsOf(line.substr(0, bar));
            outcomes = wordsOf(line.substr(bar + 1));
        } else {
            rows_.push_back({cellsOf(line.substr(0, bar), inputs), cellsOf(line.substr(bar + 1), outcomes)});
        }
    }
    if (rows_.empty() || values_.size() != inputs.size()) {
        throw std::runtime_error("no rows, or not the values of each column: " + file.string());
    }
}

const Table::Row& Table::rowFor(const Cells& given) const {
    const Row* found = nullptr;
    for (const Row& row : rows_) {
        if (!matches(row.given, given)) {
            continue;
        }
        if (found != nullptr) {
            throw std::runtime_error("two rows for " + describe(given));
        }
        found = &row;
    }
    if (found == nullptr) {
        throw std::runtime_error("no row for " + describe(given));
    }
    return *found;
}

std::size_t Table::forEach(const std::function<void(const Cells&, const Cells&)>& use) const {
    std::size_t combinations = 1;
    for (const auto& [name, choices] : values_) {
        combinations *= choices.size();
    }
    std::set<const Row*> used;
    for (std::size_t number = 0; number < combinations; ++number) {
        Cells given;
        std::size_t rest = number;
        for (const auto& [name, choices] : values_) {
            given[name] = choices[rest % choices.size()];
            rest /= choices.size();
        }
        const Row& row = rowFor(given);
        used.insert(&row);
        use(given, row.expected);
    }
    if (used.size() != rows_.size()) {
        throw std::runtime_error("a row that is for no combination");
    }
    return combinations;
}

std::string describe(const Cells& cells) {
    std::string text;
    for (const auto& [name, value] : cells) {
        text += name + "=" + value + " ";
    }
    return text;
}

}  // namespace test
