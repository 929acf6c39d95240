#include "InventoryReader.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace tools {
namespace {

TEST(InventoryReader, ReadsEachDeviceInOrder) {
    const auto devices = readInventory(
        R"(<?xml version="1.0"?><SVMInventory lang="en"><Device componentID="1"/><Device componentID="2"/></SVMInventory>)");
    ASSERT_TRUE(devices);
    ASSERT_EQ(devices->size(), 2u);
    EXPECT_EQ(devices->front().getComponentID(), "1");
    EXPECT_EQ(devices->back().getComponentID(), "2");
}

TEST(InventoryReader, TellsThatThereIsNoFileInMemory) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const auto devices = readInventory("<SVMInventory/>");
    setrlimit(RLIMIT_NOFILE, &before);
    ASSERT_FALSE(devices);
    EXPECT_EQ(devices.problem().message, "no file in memory to hand the report to its reader");
}

}  // namespace
}  // namespace tools
