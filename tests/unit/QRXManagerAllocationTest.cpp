// What the manager does when there is no memory for an operation.
#include "ManagerRun.h"
#include "QRXManager.h"
#include "VtekDouble.h"

#include <gmock/gmock.h>

#include <new>

namespace {

bool allocationFails = false;

}  // namespace

// The non-throwing form, with which the manager makes its operations.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (allocationFails) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace test {
namespace {

using ::testing::ElementsAre;

class QRXManagerWithoutMemory : public ::testing::Test {
protected:
    ManagerOutcome run(const std::vector<std::string>& arguments) const {
        return folder_.inFolder([&] {
            VtekDouble vtek;
            vtek.observer = [this](const std::string&) { writeFile(folder_ / "library-was-called", ""); };
            CQRXManager manager;
            allocationFails = true;
            const int result = updateInventory(manager, arguments);
            allocationFails = false;
            return result;
        });
    }

    ManagerRun folder_;
};

TEST_F(QRXManagerWithoutMemory, InventoryIsNotInitialized) {
    const ManagerOutcome outcome = run({"-i", "-d", "-o", "report.xml"});
    EXPECT_EQ(outcome.result, 0);
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXManager::Inventory() Inventory Started",
                            "CQRXManager::Inventory() QRXInventory variable is not initialized ",
                            "CQRXManager::isInventory() Inventory failed"));
    EXPECT_EQ(readFile(folder_ / "report.xml"), "");
    EXPECT_FALSE(folder_.holds("library-was-called"));
}

TEST_F(QRXManagerWithoutMemory, UpdateIsNotInitialized) {
    const ManagerOutcome outcome = run({"-u", "-d", "-o", "report.xml"});
    EXPECT_EQ(outcome.result, 0);
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",  //
                            "CQRXManager::Update() Update Started",
                            "CQRXManager::Inventory() QRXUpdate variable is not initialized ",
                            "CQRXManager::isUpdate() Update failed"));
    EXPECT_EQ(readFile(folder_ / "report.xml"), "");
    EXPECT_FALSE(folder_.holds("library-was-called"));
}

TEST_F(QRXManagerWithoutMemory, FailedInventoryKeepsTheUpdateBack) {
    EXPECT_EQ(run({"-i", "-u", "-d"}).result, 0);
    EXPECT_EQ(folder_.messages("debug.log").back(), "CQRXManager::isInventory() Inventory failed");
}

}  // namespace
}  // namespace test
