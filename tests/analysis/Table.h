#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace test {

/** Named cells of one row, or one combination of values. */
using Cells = std::map<std::string, std::string>;

/**
 * A decision table: values, and rows that give the outcome of each combination of them.
 * tests/analysis/inventory.table explains the format.
 */
class Table {
public:
    /** Throws std::runtime_error if the file is not a table. */
    explicit Table(const std::filesystem::path& file);

    /** Calls `use` for every combination of the values, with its outcome. Throws std::runtime_error if a
     *  combination matches no row or several, or if a row matches no combination.
     *  @return the number of combinations */
    std::size_t forEach(const std::function<void(const Cells& given, const Cells& expected)>& use) const;

private:
    struct Row {
        Cells given;
        Cells expected;
    };

    const Row& rowFor(const Cells& given) const;

    std::vector<std::pair<std::string, std::vector<std::string>>> values_;
    std::vector<Row> rows_;
};

/** The cell as text: name=value, for messages. */
std::string describe(const Cells& cells);

}  // namespace test
