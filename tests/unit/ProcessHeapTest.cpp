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

/** Takes and frees many pieces of the size of a tree's. */
void growAndFreeATree() {
    std::vector<std::unique_ptr<void, Free>> pieces(64 * kMebibyte / 64);
    for (auto& piece : pieces) {
        piece.reset(std::malloc(64));
    }
}

// One test, for the setting lasts as long as the process.
TEST(ProcessHeap, PutsFreedPiecesTogetherAndKeepsThem) {
    growAndFreeATree();
    ASSERT_GT(mallinfo2().fsmblks, kMebibyte) << "pieces that were not put together";
    prepareHeapForTrees();
    growAndFreeATree();
    EXPECT_EQ(mallinfo2().fsmblks, 0U);
    EXPECT_GT(mallinfo2().fordblks, 32 * kMebibyte) << "what stays with the process";
}

}  // namespace
