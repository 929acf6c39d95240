/** The program prepares its heap for the trees of its documents. */

#include "Workplace.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <string>

namespace {

TEST(HeapSettings, AreMadeInEveryRun) {
    const test::Workplace place;
    test::Command command = place.command({"-h"});
    command.environment.insert({{"LD_PRELOAD", NOTED_HEAP_SETTINGS_LIBRARY},
                                {"HEAP_SETTINGS", place.directory() / "settings"},
                                {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
    EXPECT_EQ(run(command).exitStatus, 0);
    EXPECT_EQ(test::readFile(place.directory() / "settings"), std::to_string(M_MXFAST) + " 0\n" +
                                                                  std::to_string(M_TRIM_THRESHOLD) + " " +
                                                                  std::to_string(INT_MAX) + "\n");
}

}  // namespace
