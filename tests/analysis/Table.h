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
 * A table of decisions, as tests/analysis/inventory.table explains itself: values, and rows that say what
 * follows from each combination of them.
 */
class Table {
public:
    /** Throws std::runtime_error on a file that is no table. */
    explicit Table(const std::filesystem::path& file);

    /** Calls `use` for every combination of the values, and what follows. Throws std::runtime_error when a
     *  combination falls into no row or into several, or when a row is for no combination.
     *  @return how many combinations there are */
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
