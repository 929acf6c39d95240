#include "Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace tools {
namespace {

TEST(Json, HoldsEveryValueOfTheReports) {
    CDeviceInfo device;
    device.setComponentID("C1");
    device.setDeviceName("QRX");
    device.setComponentType("FRMW");
    device.setVersion("V1");
    device.setStatus(0);
    device.setErrorMsg("done");
    const Report update{.file = "a.xml",
                        .operation = Report::Operation::Update,
                        .outcome = Report::Outcome::Success,
                        .devices = {device},
                        .rebootRequired = true};
    const Report damaged{.file = "b.xml",
                         .operation = Report::Operation::Inventory,
                         .outcome = Report::Outcome::Damaged,
                         .problem = "line 1",
                         .text = "<SVMInventory"};
    const nlohmann::json expected = nlohmann::json::parse(R"({
        "reports": [
            {"file": "a.xml", "operation": "update", "outcome": "success", "rebootRequired": true,
             "devices": [{"id": "C1", "name": "QRX", "type": "FRMW", "version": "V1", "outcome": "success",
                          "message": "done"}],
             "problem": "", "text": ""},
            {"file": "b.xml", "operation": "inventory", "outcome": "damaged", "rebootRequired": false,
             "devices": [], "problem": "line 1", "text": "<SVMInventory"}],
        "counts": {"success": 1, "failure": 0, "damaged": 1, "unreadable": 0}})");
    EXPECT_EQ(nlohmann::json(toJson(std::vector<Report>{update, damaged})), expected);
}

TEST(Json, CountsTheReportsOfEachOutcome) {
    const Report failed{.outcome = Report::Outcome::Failure};
    const Report unreadable{.outcome = Report::Outcome::Unreadable};
    const auto json = toJson(std::vector<Report>{failed, unreadable, failed});
    EXPECT_EQ(nlohmann::json(json["counts"]),
              nlohmann::json::parse(R"({"success": 0, "failure": 2, "damaged": 0, "unreadable": 1})"));
}

TEST(Json, IsPrintedInAsciiWhateverItHolds) {
    std::ostringstream out;
    printJson(out, {{"bad", "\xff"}, {"control", "\x1b\x7f"}, {"euro", "€"}});
    const std::string text = out.str();
    EXPECT_TRUE(
        std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c < 0x7f); }));
    const nlohmann::json read = nlohmann::json::parse(text);
    EXPECT_EQ(read["bad"], "\ufffd");
    EXPECT_EQ(read["control"], "\x1b\x7f");
    EXPECT_EQ(read["euro"], "€");
}

TEST(Json, IsPrintedInLinesThatPeopleCanRead) {
    std::ostringstream out;
    printJson(out, {{"counts", {1, 2}}});
    EXPECT_EQ(out.str(), "{\n  \"counts\": [\n    1,\n    2\n  ]\n}\n");
}

}  // namespace
}  // namespace tools
