#include "ProcessHeap.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kMebibyte = 1024 * 1024;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/** Takes and frees many pieces of the size of a tree's. @return their bytes that were not put together */
std::size_t growAndFreeATree() {
    std::vector<std::unique_ptr<void, Free>> pieces(64 * kMebibyte / 64);
    for (auto& piece : pieces) {
        piece.reset(std::malloc(64));
    }
    for (auto& piece : pieces) {
        piece.reset();
    }
    return mallinfo2().fsmblks;  // before the list of them is freed, for something large puts them together
}

// One test, for the setting lasts as long as the process.
TEST(ProcessHeap, PutsFreedPiecesTogetherAndKeepsThem) {
    ASSERT_GT(growAndFreeATree(), kMebibyte);
    prepareHeapForTrees();
    EXPECT_EQ(growAndFreeATree(), 0U);
    EXPECT_GT(mallinfo2().fordblks, 32 * kMebibyte) << "what stays with the process";
}

}  // namespace
