#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace test {

/** Makes new inputs of stored ones: a few bytes changed, taken away, or replaced by a part of another input.
 */
class RandomChanges {
public:
    /** @param inputs  at least one */
    RandomChanges(std::vector<std::string> inputs, unsigned int seed);

    /** The next input; the same sequence for the same inputs and seed. */
    std::string next();

private:
    void change(std::string& input);
    const std::string& anyInput();
    std::string partOf(const std::string& input);
    std::size_t below(std::size_t bound);

    std::vector<std::string> inputs_;
    std::mt19937 random_;
};

}  // namespace test
