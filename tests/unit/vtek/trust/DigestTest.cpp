#include "trust/Digest.h"

#include <gtest/gtest.h>

namespace {

TEST(Digest, ComputesSha256) {
    vtek::Digest empty;
    EXPECT_EQ(empty.hex(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    vtek::Digest abc;
    abc.update("a", 1);
    abc.update("bc", 2);
    EXPECT_EQ(abc.hex(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digest, CoversWholeText) {
    EXPECT_EQ(vtek::digestOfText(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(vtek::digestOfText("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

}  // namespace
