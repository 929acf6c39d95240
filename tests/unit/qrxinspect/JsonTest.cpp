#include "DocumentReaders.h"
#include "Json.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

TEST(Json, HasEveryValueOfTheReports) {
    CDeviceInfo device;
    device.setComponentID("C1");
    device.setDeviceName("QRX");
    device.setComponentType("FRMW");
    device.setVersion("V1");
    device.setStatus(0);
    device.setErrorMsg("done");
    const Report update{.file = "a.xml",
                        .kind = kindWithRoot("SVMExecution"),
                        .outcome = Report::Outcome::Success,
                        .devices = {device},
                        .rebootRequired = true};
    const Report damaged{.file = "b.xml",
                         .kind = kindWithRoot("SVMInventory"),
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

}  // namespace
}  // namespace qrxinspect
