#include "ChildProcess.h"
#include "Lab.h"
#include "chassis/Store.h"
#include "install/Repository.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <thread>

namespace {

using std::filesystem::perms;
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

constexpr uid_t kStranger = 12345;

perms modeOf(const std::filesystem::path& file) {
    return std::filesystem::status(file).permissions();
}

/** Opens the way to the chassis for other users, as /var/lib is open; a temporary folder is not. */
void openWay(const Lab& lab) {
    std::filesystem::permissions(lab.rootPath().parent_path(), perms(0755));
}

/** Another user's process that takes a read lock on the database and keeps it. */
class Stranger {
public:
    explicit Stranger(const Lab& lab) {
        if (pipe(told_.data()) != 0) {
            std::abort();
        }
        process_ = fork();
        if (process_ == 0) {
            const bool changed = setgid(kStranger) == 0 && setuid(kStranger) == 0;
            const char found = !changed ? '?' : holdLock(lab.rootPath() / "state.db") ? 'y' : 'n';
            if (write(told_[1], &found, 1) == 1) {
                pause();
            }
            _exit(0);
        }
        if (read(told_[0], &answer_, 1) != 1) {
            std::abort();
        }
    }
    ~Stranger() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        close(told_[0]);
        close(told_[1]);
    }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    /** 'y' if the process holds a lock, 'n' if it does not, '?' if it is not another user. */
    char holdsLock() const { return answer_; }

private:
    static bool holdLock(const std::filesystem::path& state) {
        sqlite3* raw = nullptr;
        return sqlite3_open_v2(state.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
               sqlite3_exec(raw, "BEGIN; SELECT * FROM setting", nullptr, nullptr, nullptr) == SQLITE_OK;
    }

    std::array<int, 2> told_{};
    pid_t process_ = 0;
    char answer_ = 0;
};

TEST(Store, KeepsStrangersFromHoldingLock) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "skipped: only root can become another user";
    }
    const Lab lab;
    openWay(lab);
    const Stranger stranger(lab);
    EXPECT_EQ(stranger.holdsLock(), 'n');
    EXPECT_EQ(lab.update(), (UpdateOutcome{"done"}));
}

TEST(Store, TakesExistingDatabaseFromStrangersBeforeWriting) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "skipped: only root can become another user";
    }
    const Lab lab;
    openWay(lab);
    std::filesystem::permissions(lab.rootPath() / "state.db", perms(0644));
    {
        const Stranger stranger(lab);
        ASSERT_EQ(stranger.holdsLock(), 'y');
    }
    lab.set("lock-wait", "1");
    const Stranger stranger(lab);
    EXPECT_EQ(stranger.holdsLock(), 'n');
    EXPECT_EQ(lab.update(), (UpdateOutcome{"done"}));
}

TEST(Store, MakesEveryFileOfDatabasePrivateBeforeWriting) {
    const Lab lab;
    EXPECT_EQ(modeOf(lab.rootPath() / "state.db"), perms(0600));
    for (const mode_t mode : {0644U, 0640U, 0604U, 0700U, 04600U}) {
        for (const std::string name : {"state.db", "state.db-journal", "state.db-wal", "state.db-shm"}) {
            const auto file = lab.rootPath() / name;
            if (!std::filesystem::exists(file)) {
                test::writeFile(file, "");
            }
            std::filesystem::permissions(file, perms(mode));
        }
        const vtek::Root root = lab.root();
        ASSERT_TRUE(Store::open(root, Store::Mode::Read));
        EXPECT_EQ(modeOf(lab.rootPath() / "state.db"), perms(mode)) << "a reader changes nothing";
        auto store = Store::open(root, Store::Mode::Write);
        ASSERT_TRUE(store);
        for (const auto& item : std::filesystem::directory_iterator(lab.rootPath())) {
            if (item.path().filename().string().starts_with("state.db")) {
                EXPECT_EQ(item.status().permissions(), perms(0600)) << item.path();
            }
        }
    }
}

TEST(Store, WritesPrivateJournal) {
    for (const mode_t mask : {0U, 022U, 0777U}) {
        const Lab lab;
        const vtek::Root root = lab.root();
        auto store = Store::open(root, Store::Mode::Write);
        const mode_t before = umask(mask);
        auto transaction = vtek::Transaction::begin(store->database());
        const bool changed = static_cast<bool>(store->setSetting("lock-wait", "7"));
        umask(before);
        ASSERT_TRUE(changed);
        EXPECT_EQ(modeOf(lab.rootPath() / "state.db-journal"), perms(0600));
        EXPECT_TRUE(transaction->commit());
    }
}

TEST(Store, NamesThoseWhoMayReadIt) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "skipped: only root can become another user";
    }
    const Lab lab;
    openWay(lab);
    for (const auto mode : {Store::Mode::Read, Store::Mode::Write}) {
        const test::Outcome outcome = test::runInChild([&] {
            if (setgid(kStranger) != 0 || setuid(kStranger) != 0) {
                return 2;
            }
            const vtek::Root root = lab.root();
            const auto store = Store::open(root, mode);
            std::cout << (store ? "opened" : store.error().message);
            return store || store.error().number != ErrorNumber::StateUnreadable ? 1 : 0;
        });
        EXPECT_EQ(outcome.exitStatus, 0) << outcome.output;
        EXPECT_EQ(outcome.output, (lab.rootPath() / "state.db").string() +
                                      ": Permission denied; only the owner of the root may read it");
    }
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
