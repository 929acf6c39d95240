/** Runs whose operation cannot even be created: the only ones that end with status 1 without a usage error.
 */

#include "Workplace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

std::string entry(const std::string& source, const std::string& message) {
    return "[yyyy-mm-ddThh:mm:ss] : " + std::string(25 - source.size(), ' ') + source + ":nnnnn: " + message +
           "\n";
}

class OperationFailure : public testing::Test {
protected:
    /** Runs with a log and a report file; the non-throwing allocation of that number fails. */
    test::Outcome runWithFailingNew(std::vector<std::string> options, int number) {
        place_.takeCase("both-in-one-file");
        options.insert(options.end(), {"-d", "-o", "report.xml"});
        test::Command command = place_.command(options);
        command.environment.insert({{"LD_PRELOAD", FAILING_NEW_LIBRARY},
                                    {"FAILING_NEW", std::to_string(number)},
                                    {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
        return run(command);
    }

    std::string report() const { return test::readFile(place_.directory() / "report.xml"); }

    test::Workplace place_;
};

const std::string kOpened = entry("QRXManager", "CQRXManager::UpdateInventory() Logger initialized");
const std::string kFailed = entry("QRXMain", "QRXManager:UpdateInventory() Failed");

TEST_F(OperationFailure, LeavesEmptyReportAndSkipsUpdateIfInventoryCannotBeCreated) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-i"}, std::vector<std::string>{"-i", "-u"}}) {
        std::filesystem::remove_all(place_.directory());
        const test::Outcome outcome = runWithFailingNew(options, 1);
        EXPECT_EQ(outcome.exitStatus, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.error, "");
        EXPECT_EQ(report(), "");
        EXPECT_EQ(place_.calls(), "");
        EXPECT_EQ(
            place_.log(),
            kOpened + entry("QRXManager", "CQRXManager::Inventory() Inventory Started") +
                entry("QRXManager", "CQRXManager::Inventory() QRXInventory variable is not initialized ") +
                entry("QRXManager", "CQRXManager::isInventory() Inventory failed") + kFailed);
    }
}

TEST_F(OperationFailure, LeavesEmptyReportIfUpdateCannotBeCreated) {
    const test::Outcome outcome = runWithFailingNew({"-u"}, 1);
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(report(), "");
    EXPECT_EQ(place_.calls(), "");
    EXPECT_EQ(place_.log(),
              kOpened + entry("QRXManager", "CQRXManager::Update() Update Started") +
                  entry("QRXManager", "CQRXManager::Inventory() QRXUpdate variable is not initialized ") +
                  entry("QRXManager", "CQRXManager::isUpdate() Update failed") + kFailed);
}

TEST_F(OperationFailure, KeepsInventoryReportIfUpdateCannotBeCreated) {
    const test::Outcome outcome = runWithFailingNew({"-i", "-u"}, 2);
    EXPECT_EQ(outcome.exitStatus, 1);
    const test::Case inventory = place_.readCase("inventory-success");
    EXPECT_EQ(report(), inventory.at("after/report.xml"));
    EXPECT_EQ(place_.calls(), inventory.at("calls"));
    EXPECT_TRUE(place_.log().ends_with(
        entry("QRXManager", "CQRXManager::Update() Update Started") +
        entry("QRXManager", "CQRXManager::Inventory() QRXUpdate variable is not initialized ") +
        entry("QRXManager", "CQRXManager::isUpdate() Update failed") + kFailed));
}

/** The program with operations that find no device. */
class NoDevices : public OperationFailure {
protected:
    test::Outcome runWithoutDevices(const std::vector<std::string>& options) {
        test::Command command = place_.command(options);
        command.arguments.front() = PROGRAM_WITHOUT_DEVICES;
        return run(command);
    }
};

TEST_F(NoDevices, LeavesEmptyReportAndSkipsUpdateAfterInventory) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-i", "-d", "-o", "report.xml"},
          std::vector<std::string>{"-u", "-i", "-d", "-o", "report.xml"}}) {
        const test::Outcome outcome = runWithoutDevices(options);
        EXPECT_EQ(outcome.exitStatus, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(report(), "");
        EXPECT_EQ(place_.log(),
                  kOpened + entry("QRXManager", "CQRXManager::Inventory() Inventory Started") +
                      entry("QRXManager", "CQRXManager::Inventory() Zero devices Inventoried ") +
                      entry("QRXManager", "CQRXManager::isInventory() Inventory failed") + kFailed);
    }
}

TEST_F(NoDevices, LeavesEmptyReportAfterUpdate) {
    const test::Outcome outcome = runWithoutDevices({"-u", "-d", "-o", "report.xml"});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(report(), "");
    EXPECT_EQ(place_.log(), kOpened + entry("QRXManager", "CQRXManager::Update() Update Started") +
                                entry("QRXManager", "CQRXManager::Update Zero devices Updated ") +
                                entry("QRXManager", "CQRXManager::isUpdate() Update failed") + kFailed);
}

TEST_F(NoDevices, PrintsNothingWithoutReportFile) {
    const test::Outcome outcome = runWithoutDevices({"-i"});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output, "");
}

}  // namespace
