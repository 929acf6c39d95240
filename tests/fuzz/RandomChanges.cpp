#include "RandomChanges.h"

#include <utility>

namespace test {
namespace {

constexpr std::size_t kMostChanges = 4;
constexpr std::size_t kMostBytes = 64;
constexpr std::size_t kByteValues = 256;
constexpr std::size_t kByteBits = 8;

}  // namespace

RandomChanges::RandomChanges(std::vector<std::string> inputs, unsigned int seed)
    : inputs_(std::move(inputs)), random_(seed) {}

std::string RandomChanges::next() {
    std::string input = anyInput();
    for (std::size_t left = 1 + below(kMostChanges); left > 0; --left) {
        change(input);
    }
    return input;
}

void RandomChanges::change(std::string& input) {
    const std::size_t place = below(input.size() + 1);
    switch (below(4)) {
        case 0:
            if (place < input.size()) {
                input[place] = static_cast<char>(input[place] ^ (1 << below(kByteBits)));
            }
            break;
        case 1:
            input.erase(place, below(kMostBytes));
            break;
        case 2:
            input.insert(place, 1 + below(kMostBytes), static_cast<char>(below(kByteValues)));
            break;
        default:
            input.replace(place, below(kMostBytes), partOf(anyInput()));
    }
}

const std::string& RandomChanges::anyInput() {
    return inputs_[below(inputs_.size())];
}

std::string RandomChanges::partOf(const std::string& input) {
    const std::size_t start = below(input.size() + 1);
    return input.substr(start, below(kMostBytes));
}

std::size_t RandomChanges::below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
}

}  // namespace test
