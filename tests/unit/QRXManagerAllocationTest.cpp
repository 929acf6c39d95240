// What the manager does when there is no memory for an operation.
#include "FailingAllocation.h"
#include "ManagerRun.h"
#include "QRXInventory.h"
#include "QRXManager.h"
#include "QRXUpdate.h"
#include "VtekDouble.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::ElementsAre;

class QRXManagerAllocation : public ::testing::Test {
protected:
    /** One run of the manager in which there is no memory for an object of this size. */
    ManagerOutcome run(std::size_t size, const std::vector<std::string>& arguments) const {
        return folder_.inFolder([&] {
            VtekDouble vtek;
            vtek.observer = [this](const std::string&) { writeFile(folder_ / "library-was-called", ""); };
            CQRXManager manager;
            const FailingAllocation failure(size);
            return updateInventory(manager, arguments);
        });
    }

    ManagerRun folder_;
};

TEST_F(QRXManagerAllocation, LogsAnInventoryWithoutMemory) {
    const ManagerOutcome outcome = run(sizeof(CQRXInventory), {"-i", "-d", "-o", "report.xml"});
    EXPECT_EQ(outcome.result, 0);
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXManager::Inventory() Inventory Started",
                            "CQRXManager::Inventory() QRXInventory variable is not initialized ",
                            "CQRXManager::isInventory() Inventory failed"));
    EXPECT_EQ(readFile(folder_ / "report.xml"), "");
    EXPECT_FALSE(folder_.holds("library-was-called"));
}

TEST_F(QRXManagerAllocation, LogsAnUpdateWithoutMemory) {
    const ManagerOutcome outcome = run(sizeof(CQRXExecution), {"-u", "-d", "-o", "report.xml"});
    EXPECT_EQ(outcome.result, 0);
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",  //
                            "CQRXManager::Update() Update Started",
                            "CQRXManager::Inventory() QRXUpdate variable is not initialized ",
                            "CQRXManager::isUpdate() Update failed"));
    EXPECT_EQ(readFile(folder_ / "report.xml"), "");
    EXPECT_FALSE(folder_.holds("library-was-called"));
}

TEST_F(QRXManagerAllocation, SkipsTheUpdateAfterAFailedInventory) {
    EXPECT_EQ(run(sizeof(CQRXInventory), {"-i", "-u", "-d"}).result, 0);
    EXPECT_EQ(folder_.messages("debug.log").back(), "CQRXManager::isInventory() Inventory failed");
}

}  // namespace
}  // namespace test
