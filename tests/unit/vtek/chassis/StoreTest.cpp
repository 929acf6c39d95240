#include "Lab.h"
#include "chassis/Store.h"
#include "install/Repository.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

namespace {

using test::Lab;
using test::UpdateOutcome;
using testing::ElementsAre;
using vtek::ErrorNumber;
using vtek::Store;

/** Runs SQL on the database without the store. */
void execute(const Lab& lab, const char* sql) {
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open((lab.rootPath() / "state.db").c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
}

ErrorNumber openingFails(const Lab& lab, Store::Mode mode) {
    const vtek::Root root = lab.root();
    const auto store = Store::open(root, mode);
    return store ? ErrorNumber::None : store.error().number;
}

TEST(Store, RefusesOtherLayouts) {
    for (const char* layout :
         {"PRAGMA user_version = 0", "PRAGMA user_version = 2", "PRAGMA application_id = 7"}) {
        const Lab lab;
        execute(lab, layout);
        EXPECT_EQ(openingFails(lab, Store::Mode::Read), ErrorNumber::StateLayout);
        EXPECT_EQ(openingFails(lab, Store::Mode::Write), ErrorNumber::StateLayout);
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateLayout}));
    }
}

TEST(Store, RefusesFileThatIsNotADatabase) {
    const Lab lab;
    test::writeFile(lab.rootPath() / "state.db", std::string(8192, 'x'));
    EXPECT_EQ(openingFails(lab, Store::Mode::Read), ErrorNumber::StateCorrupt);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateCorrupt}));
}

TEST(Store, RefusesEmptyFile) {
    const Lab lab;
    test::writeFile(lab.rootPath() / "state.db", "");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateLayout}));
}

TEST(Store, RefusesDamagedPageBeforeAnyChange) {
    const Lab lab;
    execute(lab, "DELETE FROM device");
    {
        const vtek::Root root = lab.root();
        auto store = Store::open(root, Store::Mode::Write);
        vtek::Inventory inventory(store->database());
        auto transaction = vtek::Transaction::begin(store->database());
        ASSERT_TRUE(inventory.add({"25227", "QRX", {{"FRMW", "1.00", ""}}}));
        for (int i = 0; i < 2000; ++i) {
            ASSERT_TRUE(inventory.add({"other" + std::to_string(i), std::string(100, 'd'), {}}));
        }
        ASSERT_TRUE(transaction->commit());
    }
    std::string bytes = test::readFile(lab.rootPath() / "state.db");
    bytes.replace(bytes.size() - 40000, 20000, 20000, '\xAA');
    test::writeFile(lab.rootPath() / "state.db", bytes);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::StateCorrupt}));
    EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "repository"));
}

TEST(Store, ReportsDamagedTablesAsCorrupt) {
    const Lab lab;
    std::string bytes = test::readFile(lab.rootPath() / "state.db");
    constexpr std::size_t kFirstPage = 4096;
    bytes.replace(kFirstPage, std::string::npos, bytes.size() - kFirstPage, '\xAA');
    test::writeFile(lab.rootPath() / "state.db", bytes);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateCorrupt}));
}

TEST(Store, RefusesWritesWhenOpenedForReading) {
    const Lab lab;
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Read);
    EXPECT_EQ(store->setSetting("lock-wait", "7").error().number, ErrorNumber::RepositoryUnwritable);
}

TEST(Store, RollsBackUncommittedChanges) {
    const Lab lab;
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Write);
    {
        const auto transaction = vtek::Transaction::begin(store->database());
        ASSERT_TRUE(transaction);
        ASSERT_TRUE(store->setSetting("lock-wait", "7"));
    }
    EXPECT_TRUE(store->settings()->empty());
}

TEST(Store, ReportsNoSpaceWhenFull) {
    const Lab lab;
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Write);
    ASSERT_TRUE(store->database().execute("PRAGMA max_page_count = 1"));
    EXPECT_EQ(store->setSetting("signer-names", std::string(100000, 'n')).error().number,
              ErrorNumber::NoSpace);
}

TEST(Store, ReportsMissingRowAsCorrupt) {
    const Lab lab;
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Write);
    ASSERT_TRUE(store->database().execute("DELETE FROM in_force"));
    EXPECT_EQ(store->currentGeneration().error().number, ErrorNumber::StateCorrupt);
}

TEST(Store, WaitsForShortLock) {
    const Lab lab;
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open((lab.rootPath() / "state.db").c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    const std::jthread holder([raw] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        sqlite3_close(raw);
    });
    EXPECT_EQ(openingFails(lab, Store::Mode::Read), ErrorNumber::None);
}

TEST(Store, ReportsBusyAfterTimeout) {
    const Lab lab;
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open((lab.rootPath() / "state.db").c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(openingFails(lab, Store::Mode::Read), ErrorNumber::StateBusy);
    sqlite3_close(raw);
    EXPECT_EQ(openingFails(lab, Store::Mode::Read), ErrorNumber::None);
}

TEST(Store, PlaysBackJournalOfDeadProcess) {
    const Lab lab;
    const pid_t child = fork();
    if (child == 0) {
        sqlite3* raw = nullptr;
        sqlite3_open((lab.rootPath() / "state.db").c_str(), &raw);
        // A cache of one page makes SQLite write changed pages into the file before the commit.
        sqlite3_exec(
            raw,
            "PRAGMA cache_size = 1; PRAGMA cache_spill = 1; BEGIN; UPDATE application SET version = 'lost'",
            nullptr, nullptr, nullptr);
        for (int i = 0; i < 200; ++i) {
            sqlite3_exec(raw, "INSERT INTO device (component_id, display) VALUES ('x', hex(zeroblob(2000)))",
                         nullptr, nullptr, nullptr);
        }
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(lab.rootPath() / "state.db-journal"));
    EXPECT_EQ(lab.version(), "1.00");
    EXPECT_FALSE(std::filesystem::exists(lab.rootPath() / "state.db-journal"));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"done"}));
}

TEST(Store, IgnoresJunkJournal) {
    const Lab lab;
    test::writeFile(lab.rootPath() / "state.db-journal", "junk");
    EXPECT_EQ(lab.version(), "1.00");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"done"}));
}

TEST(Store, RefusesUnsafeJournal) {
    const Lab lab;
    const auto journal = lab.rootPath() / "state.db-journal";
    test::writeFile(journal, "junk");
    std::filesystem::permissions(journal, std::filesystem::perms::others_write,
                                 std::filesystem::perm_options::add);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
    std::filesystem::remove(journal);
    test::writeFile(lab.aside() / "journal", "junk");
    std::filesystem::create_symlink(lab.aside() / "journal", journal);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
}

TEST(Store, NeverReusesGenerationNumbers) {
    const Lab lab;
    ASSERT_EQ(lab.update(), (UpdateOutcome{"done"}));
    const vtek::Root root = lab.root();
    {
        auto repository = vtek::Repository::open(root);
        ASSERT_TRUE(repository->rollBack());
    }
    ASSERT_EQ(lab.update(), (UpdateOutcome{"done"}));
    auto store = Store::open(root, Store::Mode::Read);
    EXPECT_EQ(*store->currentGeneration(), 2);
    EXPECT_THAT(*store->keptGenerations(), ElementsAre(2));
}

}  // namespace
