// Every call to another library that a look at a chassis or a change of it makes, failing in a run of its
// own: what cannot be read is not made up, and what cannot be changed stays.
#include "FailingCalls.h"
#include "Lab.h"
#include "base/File.h"
#include "base/Log.h"
#include "base/Tree.h"
#include "base/Users.h"
#include "chassis/Inventory.h"
#include "chassis/Lock.h"
#include "chassis/Store.h"
#include "install/Repository.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

using std::chrono::milliseconds;
using test::Calls;
using test::FailingCalls;
using test::Lab;
using testing::HasSubstr;
using vtek::ErrorNumber;
using vtek::Store;

/** The numbers of a state that cannot be read, or changed. */
bool isOfTheState(ErrorNumber number) {
    return number == ErrorNumber::StateUnreadable || number == ErrorNumber::StateCorrupt ||
           number == ErrorNumber::StateLayout || number == ErrorNumber::StateBusy ||
           number == ErrorNumber::RepositoryUnwritable || number == ErrorNumber::NoSpace;
}

bool isOfReading(ErrorNumber number) {
    return isOfTheState(number) || number == ErrorNumber::Internal;  // memory is short
}

/** Whether it cannot be told if the disk has taken a change. */
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

    /** Changes the inventory in a transaction of its own, by a member that takes these arguments. */
    template <class Change>
    vtek::Status change(Change work) {
        VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        vtek::Inventory inventory(store.database());
        VTEK_TRY(work(inventory));
        return transaction.commit();
    }

    /** The change leaves the one inventory or the other, and puts back what was there. */
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

TEST(RootFailure, CreatesWholeRootOrReportsFailure) {
    const test::TempDir folder;
    FailingCalls failing(Calls::Files);
    do {
        const auto path = folder / "root";
        const vtek::Status made = failing.in([&]() -> vtek::Status {
            VTEK_ASSIGN(const vtek::Root root, vtek::Root::create(path.string(), geteuid()));
            return Store::create(root);
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(made || failing.happened());
        if (made) {
            const auto root = vtek::Root::open(path.string(), geteuid());
            ASSERT_TRUE(root);
            EXPECT_TRUE(vtek::Repository::open(*root));
        }
        std::filesystem::remove_all(path);
    } while (failing.happened());
}

TEST(RootFailure, TreatsUnreadableFolderAsUnsafe) {
    const Lab lab;
    FailingCalls failing(Calls::Files);
    do {
        const auto root = failing.in([&] { return vtek::Root::open(lab.rootPath().string(), geteuid()); });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(root ? !failing.happened() : root.error().number == ErrorNumber::RootUnsafe);
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

std::string contentOf(const std::filesystem::path& file) {
    return std::filesystem::exists(file) ? test::readFile(file) : "";
}

TEST(LogFailure, LosesNoFailure) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const auto file = lab.rootPath() / "log/vtek.log";
    FailingCalls failing(Calls::Files);
    do {
        std::filesystem::remove(file);
        vtek::Log log(&root);
        testing::internal::CaptureStderr();
        failing.in([&] { log.failure("AddFile", {ErrorNumber::CopyFailed, "details"}); });
        const std::string told = testing::internal::GetCapturedStderr();
        SCOPED_TRACE(failing.name());
        EXPECT_THAT(contentOf(file) + told, HasSubstr("AddFile: error 503, copy failed: details; hint: "));
    } while (failing.happened());
}

TEST(LogFailure, LosesNoFailureWhenLogIsFull) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const auto file = lab.rootPath() / "log/vtek.log";
    const std::string full(1024 * 1024, 'x');
    FailingCalls failing(Calls::Files);
    do {
        test::writeFile(file, full);
        vtek::Log log(&root);
        testing::internal::CaptureStderr();
        failing.in([&] { log.failure("AddFile", {ErrorNumber::CopyFailed, "details"}); });
        const std::string told = testing::internal::GetCapturedStderr();
        SCOPED_TRACE(failing.name());
        EXPECT_THAT(contentOf(file) + told, HasSubstr("AddFile: error 503, copy failed: details"));
    } while (failing.happened());
}

TEST(UsersFailure, ReportsNumberIfLookUpFails) {
    const std::string number = std::to_string(getuid());
    FailingCalls failing(Calls::Files);
    EXPECT_EQ(failing.in([] { return vtek::realUser(); }), number);
    EXPECT_TRUE(failing.happened());
    EXPECT_THAT(failing.in([] { return vtek::realUser(); }), HasSubstr(" (" + number + ")"));
}

TEST(UsersFailure, ReportsUnknownIfLoginIsUnreadable) {
    FailingCalls failing(Calls::Files);
    EXPECT_EQ(failing.in([] { return vtek::loginUser(); }), "unknown");
    EXPECT_STREQ(failing.name(), "openat");
    EXPECT_EQ(failing.in([] { return vtek::loginUser(); }), "unknown");
    EXPECT_STREQ(failing.name(), "read");
}

/** Whether a piece of work gets through with each of its calls interrupted. */
template <class Work>
void expectUninterrupted(Work work) {
    FailingCalls failing(Calls::Files, EINTR);
    do {
        EXPECT_TRUE(failing.in(work)) << failing.name();
    } while (failing.happened());
}

TEST(FileFailure, RepeatsInterruptedCalls) {
    const test::TempDir folder;
    const std::string path = (folder / "file").string();
    expectUninterrupted([&] {
        const auto file = vtek::openAt(vtek::kWorkingFolder, path, O_RDWR | O_CREAT | O_TRUNC, 0600);
        return file && vtek::writeFully(file.get(), "text") && vtek::syncFd(file.get());
    });
    expectUninterrupted([&] {
        const auto file = vtek::openAt(vtek::kWorkingFolder, path, O_RDONLY);
        char text[4];
        return file && vtek::readFully(file.get(), text, 4) == 4 &&
               vtek::readFullyAt(file.get(), text, 4, 0) == 4;
    });
}

TEST(FileFailure, ReportsIncompleteFolderListing) {
    const test::TempDir folder;
    test::writeFile(folder / "a", "");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    FailingCalls failing(Calls::Files);
    do {
        std::vector<std::string> names;
        const bool listed = failing.in([&] { return vtek::listFolder(opened.get(), names); });
        SCOPED_TRACE(failing.name());
        EXPECT_EQ(listed, !failing.happened());
    } while (failing.happened());
}

TEST(TreeFailure, SyncsWholeTreeOrReportsFailure) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "tree/inner");
    test::writeFile(folder / "tree/file", "");
    test::writeFile(folder / "tree/inner/file", "");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    FailingCalls failing(Calls::Files);
    int synced = 0;
    do {
        const bool durable = failing.in([&] { return vtek::syncTree(opened.get(), "tree"); });
        SCOPED_TRACE(failing.name());
        EXPECT_EQ(durable, !failing.happened());
        synced += failing.name() == std::string("fsync") ? 1 : 0;
    } while (failing.happened());
    EXPECT_EQ(synced, 4);
}

}  // namespace
