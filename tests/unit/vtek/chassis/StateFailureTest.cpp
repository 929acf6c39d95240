// Lets each call to another library fail once while the state is read or changed: nothing is invented, and a
// failed change leaves the old state or the new.
#include "FailingCalls.h"
#include "Lab.h"
#include "base/File.h"
#include "chassis/Inventory.h"
#include "chassis/Lock.h"
#include "chassis/Store.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace {

using std::chrono::milliseconds;
using test::Calls;
using test::FailingCalls;
using test::Lab;
using vtek::ErrorNumber;
using vtek::Store;

/** Whether a number stands for a state that cannot be read or changed. */
bool isOfTheState(ErrorNumber number) {
    return number == ErrorNumber::StateUnreadable || number == ErrorNumber::StateCorrupt ||
           number == ErrorNumber::StateLayout || number == ErrorNumber::StateBusy ||
           number == ErrorNumber::RepositoryUnwritable || number == ErrorNumber::NoSpace;
}

bool isOfReading(ErrorNumber number) {
    return isOfTheState(number) || number == ErrorNumber::Internal;  // out of memory
}

/** Whether the outcome is unknown: after a failed sync the change may or may not be on disk. */
bool isUnknown(const FailingCalls& failing) {
    return failing.name() == std::string("fdatasync");
}

class StateFailure : public testing::TestWithParam<Calls> {
protected:
    Lab lab_;
    vtek::Root root_ = lab_.root();
};
INSTANTIATE_TEST_SUITE_P(Of, StateFailure, testing::Values(Calls::Files, Calls::Database));

TEST_P(StateFailure, KeepsOldOrNewSetting) {
    std::string value = "OLD";
    lab_.set("chassis-type", value);
    FailingCalls failing(GetParam());
    do {
        const std::string wanted = value == "OLD" ? "NEW" : "OLD";
        const auto changed = failing.in([&]() -> vtek::Status {
            VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Write));
            return changeSetting(store, "chassis-type", wanted);
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(changed || isOfTheState(changed.error().number)) << changed.error().message;
        EXPECT_TRUE(changed || failing.happened());
        auto store = Store::open(root_, Store::Mode::Read);
        const std::string found = loadSettings(*store)->chassisType;
        EXPECT_TRUE(found == (changed ? wanted : value) || isUnknown(failing));
        value = found;
    } while (failing.happened());
}

TEST_P(StateFailure, InventsNoSettings) {
    lab_.set("chassis-type", "SOME");
    FailingCalls failing(GetParam());
    do {
        const auto settings = failing.in([&] {
            return test::caught([&]() -> vtek::Result<vtek::Settings> {
                VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Read));
                return loadSettings(store);
            });
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(settings || failing.happened());
        EXPECT_TRUE(settings ? settings->chassisType == "SOME" : isOfReading(settings.error().number));
    } while (failing.happened());
}

TEST_P(StateFailure, LosesNoHistoryEntry) {
    ASSERT_EQ(lab_.update(), (test::UpdateOutcome{"done"}));
    ASSERT_EQ(lab_.update(), (test::UpdateOutcome{"done"}));
    FailingCalls failing(GetParam());
    do {
        const auto history = failing.in([&] {
            return test::caught([&]() -> vtek::Result<std::vector<vtek::HistoryEntry>> {
                VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Read));
                return store.history();
            });
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(history || failing.happened());
        EXPECT_TRUE(history ? history->size() == 2 : isOfReading(history.error().number));
    } while (failing.happened());
}

class InventoryFailure : public StateFailure {
protected:
    std::string inventory() {
        auto store = Store::open(root_, Store::Mode::Read);
        std::string document;
        EXPECT_TRUE(
            vtek::Inventory(store->database()).write([&](std::string_view piece) { document += piece; }));
        return document;
    }

    /** Changes the inventory in one transaction. */
    template <class Change>
    vtek::Status change(Change work) {
        VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        vtek::Inventory inventory(store.database());
        VTEK_TRY(work(inventory));
        return transaction.commit();
    }

    /** Expects that a failed change leaves the old inventory, and restores it after each run. */
    template <class Change>
    void expectOldOrNew(Change work) {
        const std::string before = inventory();
        FailingCalls failing(GetParam());
        do {
            const vtek::Status changed = failing.in([&] { return change(work); });
            SCOPED_TRACE(failing.name());
            EXPECT_TRUE(changed || failing.happened());
            EXPECT_TRUE((inventory() != before) == static_cast<bool>(changed) || isUnknown(failing));
            restore();
            ASSERT_EQ(inventory(), before);
        } while (failing.happened());
    }

    void restore() {
        EXPECT_TRUE(change([](vtek::Inventory& inventory) {
            EXPECT_TRUE(inventory.clear());
            return inventory.add({"25227", "QRX", {{"FRMW", "1.00", "QRX firmware"}}});
        }));
    }
};
INSTANTIATE_TEST_SUITE_P(Of, InventoryFailure, testing::Values(Calls::Files, Calls::Database, Calls::Xml));

TEST_P(InventoryFailure, AddsNothingOrAll) {
    expectOldOrNew([](vtek::Inventory& inventory) {
        return inventory.add({"1", "one", {{"A", "1", "a"}, {"B", "2", "b"}}});
    });
}

TEST_P(InventoryFailure, RemovesNothingOrAll) {
    expectOldOrNew([](vtek::Inventory& inventory) -> vtek::Status {
        VTEK_ASSIGN(const int count, inventory.remove("25227"));
        EXPECT_EQ(count, 1);
        return {};
    });
}

TEST_P(InventoryFailure, KeepsOldOrNewVersion) {
    expectOldOrNew([](vtek::Inventory& inventory) { return inventory.setVersion("25227", "9"); });
}

TEST_P(InventoryFailure, KeepsOldOrNewInventoryOnImport) {
    const std::string before = inventory();
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<SVMInventory>\n"
        "  <Device componentID=\"1\" display=\"one\">\n"
        "    <Application componentType=\"A\" version=\"1\"/>\n"
        "  </Device>\n"
        "  <Device componentID=\"2\">\n"
        "  </Device>\n"
        "</SVMInventory>\n";
    test::writeFile(lab_.aside() / "in.xml", document);
    FailingCalls failing(GetParam());
    do {
        const auto imported = failing.in([&]() -> vtek::Result<int> {
            const auto file =
                vtek::openAt(vtek::kWorkingFolder, (lab_.aside() / "in.xml").string(), O_RDONLY);
            VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Write));
            return vtek::Inventory(store.database()).import(file.get());
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(imported || failing.happened());
        EXPECT_TRUE(inventory() == (imported ? document : before) || isUnknown(failing));
        EXPECT_TRUE(!imported || *imported == 2);
        restore();
    } while (failing.happened());
}

TEST_P(InventoryFailure, WritesAllOrReportsFailure) {
    const std::string whole = inventory();
    FailingCalls failing(GetParam());
    do {
        std::string document;
        const vtek::Status written = failing.in([&] {
            return test::caught([&]() -> vtek::Status {
                VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Read));
                return vtek::Inventory(store.database()).write([&](std::string_view piece) {
                    document += piece;
                });
            });
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(written || failing.happened());
        EXPECT_TRUE(!written || document == whole);
    } while (failing.happened());
}

TEST(LockFailure, HoldsLockOrReportsFailure) {
    const Lab lab;
    const vtek::Root root = lab.root();
    FailingCalls failing(Calls::Files);
    do {
        const auto lock = failing.in([&] { return vtek::Lock::acquire(root, milliseconds(0)); });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(lock || failing.happened());
        EXPECT_EQ(static_cast<bool>(vtek::Lock::acquire(root, milliseconds(0))), !lock);
    } while (failing.happened());
}

TEST(LockFailure, ContinuesAfterSignal) {
    const Lab lab;
    const vtek::Root root = lab.root();
    FailingCalls failing(Calls::Files, EINTR);
    do {
        const auto lock = failing.in([&] { return vtek::Lock::acquire(root, milliseconds(1000)); });
        EXPECT_TRUE(lock || failing.name() != std::string("flock"));
    } while (failing.happened());
}

}  // namespace
