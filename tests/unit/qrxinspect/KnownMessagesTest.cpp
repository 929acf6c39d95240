#include "KnownMessages.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

TEST(KnownMessages, ExplainsAMessageAsTheGuideDoes) {
    ASSERT_LT(placeOf("Start copying file failed"), knownMessages().size());
    const KnownMessage& known = knownMessages()[placeOf("Start copying file failed")];
    EXPECT_EQ(known.cause, "Another update is running, or the repository has no space or is read-only.");
    EXPECT_EQ(known.cure, "Wait for the other update; free space; try again.");
}

TEST(KnownMessages, ShowsNoQuotesOfTheGuide) {
    ASSERT_LT(placeOf("WYND is not present"), knownMessages().size());
    EXPECT_EQ(
        knownMessages()[placeOf("WYND is not present")].cure,
        "Run as root. On a server: check that the management controller answers. In a lab: make a root with "
        "vtekctl init, set VTEK_ROOT.");
}

TEST(KnownMessages, KnowsTheMessageOfTheToolItself) {
    ASSERT_LT(placeOf("no device"), knownMessages().size());
    EXPECT_EQ(knownMessages()[placeOf("no device")].cure, "Treat it as a failure; make a debug log.");
}

TEST(KnownMessages, KnowsNoOtherMessage) {
    EXPECT_EQ(placeOf("Start copying file"), knownMessages().size());
    EXPECT_EQ(placeOf(""), knownMessages().size());
}

}  // namespace
}  // namespace qrxinspect
