#include "HostRow.h"
#include "ReportReader.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

const std::string kUpdated =
    R"(<SVMExecution><Device componentID="1"><SPStatus result="true"/></Device></SVMExecution>)";
const std::string kRefused =
    R"(<SVMExecution><SPStatus result="false"><Message>no</Message></SPStatus></SVMExecution>)";

Row rowFor(const Host& host, const std::string& report) {
    return rowOf(host, reportsIn("a.xml", report));
}

TEST(HostRow, ShowsAHostWithoutAReport) {
    EXPECT_EQ(rowOf({.host = "h"}, {}).outcome, "not tried");
    EXPECT_EQ(rowOf({.host = "h"}, {}).message, "");
    const Row unreachable = rowOf({.host = "h", .outcome = "unreachable"}, {});
    EXPECT_EQ(unreachable.outcome, "not reached");
    EXPECT_EQ(unreachable.message, "unreachable");
    EXPECT_EQ(rowOf({.outcome = "unreachable", .cause = "no route"}, {}).message, "no route");
}

TEST(HostRow, TakesTheOutcomeOfTheReport) {
    EXPECT_EQ(rowFor({}, kUpdated).outcome, "success");
    EXPECT_EQ(rowFor({}, kUpdated).message, "");
    EXPECT_EQ(rowFor({}, kRefused).outcome, "failure");
    EXPECT_EQ(rowFor({}, kRefused).message, "no");
    const Row damaged = rowFor({}, "<SVMExecution");
    EXPECT_EQ(damaged.outcome, "damaged");
    EXPECT_EQ(damaged.damagedText, "<SVMExecution");
}

TEST(HostRow, NeverMakesASuccessOfAFailure) {
    EXPECT_EQ(rowFor({.outcome = "updated"}, kRefused).outcome, "failure");
    EXPECT_EQ(rowFor({.outcome = "updated"}, "").outcome, "unreadable");
    const Row unverified = rowFor({.outcome = "unverified"}, kUpdated);
    EXPECT_EQ(unverified.outcome, "failure");
    EXPECT_EQ(unverified.message, "unverified");
}

TEST(HostRow, TakesTheWorstDocumentOfTheReport) {
    const std::string declaration = R"(<?xml version="1.0"?>)";
    const std::string inventory = declaration + R"(<SVMInventory><Device componentID="1"/></SVMInventory>)";
    EXPECT_EQ(rowFor({}, inventory + declaration + kRefused).message, "no");
    EXPECT_EQ(rowFor({}, inventory + declaration + kUpdated).outcome, "success");
}

}  // namespace
}  // namespace qrxinspect
