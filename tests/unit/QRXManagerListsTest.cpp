// The manager over operations of the test's own, which return the lists that a test sets: the CQRXInventory
// and the CQRXExecution that this program is built with are the ones below.
#include "AllocationWatch.h"
#include "ManagerRun.h"
#include "QRXInventory.h"
#include "QRXManager.h"
#include "QRXUpdate.h"

#include <gmock/gmock.h>

#include <functional>
#include <iostream>

namespace {

struct Operations {
    std::vector<CDeviceInfo*> inventory;
    std::vector<CDeviceInfo*> update;
    std::string calls;  // a letter per call: I and U made, i and u run, X and Y deleted
};

Operations operations;

}  // namespace

CQRXInventory::CQRXInventory() {
    operations.calls += 'I';
}

CQRXInventory::~CQRXInventory() {
    operations.calls += 'X';
}

std::vector<CDeviceInfo*> CQRXInventory::GetInventory() {
    operations.calls += 'i';
    return operations.inventory;
}

CQRXExecution::CQRXExecution() {
    operations.calls += 'U';
}

CQRXExecution::~CQRXExecution() {
    operations.calls += 'Y';
}

std::vector<CDeviceInfo*> CQRXExecution::Update() {
    operations.calls += 'u';
    return operations.update;
}

namespace test {
namespace {

using ::testing::ElementsAre;

/** The operations' lists, one after the other. */
std::vector<CDeviceInfo*> records() {
    std::vector<CDeviceInfo*> all = operations.inventory;
    all.insert(all.end(), operations.update.begin(), operations.update.end());
    return all;
}

/** A failed record, watched; its message tells its place among the records. */
CDeviceInfo* record(std::size_t place) {
    auto* device = new CDeviceInfo;
    device->setErrorMsg("record " + std::to_string(place));
    watchDeletion(device);
    return device;
}

/** Which of the records were deleted, by their places. */
std::string deletions() {
    std::string places;
    for (std::size_t i = 0; i < records().size(); ++i) {
        places += wasDeleted(records()[i]) ? std::to_string(i) : "";
    }
    return places;
}

class QRXManagerLists : public ::testing::Test {
protected:
    /** Sets the lists, has a manager used until it goes, and prints the operations' calls and the deletions.
     */
    ManagerOutcome run(const std::function<int(CQRXManager&)>& use, std::size_t inventoried,
                       std::size_t updated) const {
        return folder_.inFolder([&] {
            for (std::size_t i = 0; i < inventoried + updated; ++i) {
                (i < inventoried ? operations.inventory : operations.update).push_back(record(i));
            }
            int result = 0;
            {
                CQRXManager manager;
                result = use(manager);
                EXPECT_EQ(deletions(), "") << "before the manager goes";
            }
            std::cout << operations.calls << " deleted:" << deletions();
            return ::testing::Test::HasFailure() ? 2 : result;
        });
    }

    /** The same for a whole run with these arguments. */
    ManagerOutcome run(const std::vector<std::string>& arguments, std::size_t inventoried,
                       std::size_t updated) const {
        return run([&](CQRXManager& manager) { return updateInventory(manager, arguments); }, inventoried,
                   updated);
    }

    ManagerRun folder_;
};

constexpr const char* kInventoryOfOne =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><SPStatus result = "false" >)"
    R"(<Message id="0">record 0</Message></SPStatus></SVMInventory>)";

TEST_F(QRXManagerLists, FailsWithoutAReportForAnEmptyInventory) {
    const ManagerOutcome outcome = run({"-i", "-d", "-o", "report.xml"}, 0, 0);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.output, "IiX deleted:");
    EXPECT_EQ(readFile(folder_ / "report.xml"), "");
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXManager::Inventory() Inventory Started",
                            "CQRXManager::Inventory() Zero devices Inventoried ",
                            "CQRXManager::isInventory() Inventory failed"));
}

TEST_F(QRXManagerLists, LeavesStandardOutputEmptyForAnEmptyInventory) {
    EXPECT_EQ(run({"-i"}, 0, 0).output, "IiX deleted:");
}

TEST_F(QRXManagerLists, SkipsTheUpdateAfterAnEmptyInventory) {
    const ManagerOutcome outcome = run({"-i", "-u"}, 0, 1);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.output, "IiX deleted:");
}

TEST_F(QRXManagerLists, FailsWithoutAReportForAnEmptyUpdate) {
    const ManagerOutcome outcome = run({"-u", "-d", "-o", "report.xml"}, 0, 0);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.output, "UuY deleted:");
    EXPECT_EQ(readFile(folder_ / "report.xml"), "");
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",  //
                            "CQRXManager::Update() Update Started",               //
                            "CQRXManager::Update Zero devices Updated ",          //
                            "CQRXManager::isUpdate() Update failed"));
}

TEST_F(QRXManagerLists, KeepsTheInventorysReportAfterAnEmptyUpdate) {
    const ManagerOutcome outcome = run({"-i", "-u"}, 1, 0);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.output, std::string(kInventoryOfOne) + "IiXUuY deleted:");
}

TEST_F(QRXManagerLists, DeletesTheRecordsWithTheManager) {
    const ManagerOutcome outcome = run({"-i"}, 2, 0);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output,
              R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en">)"
              R"(<SPStatus result = "false" ><Message id="0">record 0</Message></SPStatus>)"
              R"(<SPStatus result = "false" ><Message id="0">record 1</Message></SPStatus></SVMInventory>)"
              "IiX deleted:01");
}

TEST_F(QRXManagerLists, DeletesOnlyTheRecordsOfTheLastList) {
    const ManagerOutcome outcome = run({"-i", "-u"}, 2, 2);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_THAT(outcome.output, ::testing::EndsWith("</SVMExecution>IiXUuY deleted:23"));
}

TEST_F(QRXManagerLists, DeletesTheRecordsOfAnInventoryAfterAnUpdate) {
    const ManagerOutcome outcome = run(
        [](CQRXManager& manager) {
            const bool updated = manager.doUpdate();
            return updated && manager.inventory() ? 1 : 0;
        },
        1, 2);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output.substr(outcome.output.find("</SVMExecution>")),
              std::string("</SVMExecution>") + kInventoryOfOne + "UuYIiX deleted:0");
}

TEST_F(QRXManagerLists, DeletesTheRecordsOfAnUpdateAlone) {
    const ManagerOutcome outcome = run({"-u"}, 0, 1);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output,
              R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><SPStatus result = "false" >)"
              R"(<Message id="0">record 0</Message></SPStatus></SVMExecution>UuY deleted:0)");
}

TEST_F(QRXManagerLists, DeletesNothingAfterARunWithoutOperations) {
    const ManagerOutcome outcome = run({"-f"}, 1, 1);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, " deleted:");
}

}  // namespace
}  // namespace test
