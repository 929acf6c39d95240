#include "Lab.h"
#include "chassis/Lock.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>
#include <thread>
#include <vector>

namespace {

using std::chrono::milliseconds;
using test::Lab;
using test::UpdateOutcome;
using testing::HasSubstr;
using vtek::ErrorNumber;
using vtek::Lock;

/** A process that holds the lock until it is killed. */
class Holder {
public:
    explicit Holder(const Lab& lab) {
        if (pipe(ready_) != 0) {
            std::abort();
        }
        pid_ = fork();
        if (pid_ == 0) {
            const vtek::Root root = lab.root();
            const auto lock = Lock::acquire(root, milliseconds(0));
            if (lock && write(ready_[1], "x", 1) == 1) {
                pause();
            }
            _exit(0);
        }
        char byte = 0;
        if (read(ready_[0], &byte, 1) != 1) {
            std::abort();
        }
    }
    ~Holder() { kill(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    void kill() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            close(ready_[0]);
            close(ready_[1]);
            pid_ = 0;
        }
    }
    pid_t pid() const { return pid_; }

private:
    int ready_[2] = {-1, -1};
    pid_t pid_ = 0;
};

TEST(Lock, NamesItsHolder) {
    const Lab lab;
    const Holder holder(lab);
    const vtek::Root root = lab.root();
    const auto refused = Lock::acquire(root, milliseconds(0));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().number, ErrorNumber::RepositoryBusy);
    EXPECT_THAT(refused.error().message,
                HasSubstr("process " + std::to_string(holder.pid()) + ", started 2"));
    EXPECT_THAT(refused.error().message, HasSubstr("command: "));
}

TEST(Lock, ReplacesFileContentWithHolder) {
    const Lab lab;
    const auto file = lab.rootPath() / "lock";
    test::writeFile(file, std::string(2000, 'x'));
    const vtek::Root root = lab.root();
    const auto lock = Lock::acquire(root, milliseconds(0));
    ASSERT_TRUE(lock);
    EXPECT_EQ(test::readFile(file), vtek::describeProcess());
}

TEST(Lock, TakesExistingFileFromOthers) {
    const Lab lab;
    const auto file = lab.rootPath() / "lock";
    test::writeFile(file, "");
    std::filesystem::permissions(file, std::filesystem::perms(0644));
    const vtek::Root root = lab.root();
    ASSERT_TRUE(Lock::acquire(root, milliseconds(0)));
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

TEST(Lock, DescribesProcessInOnePrintableLine) {
    const std::string description = vtek::describeProcess();
    EXPECT_TRUE(std::all_of(description.begin(), description.end(), [](char c) {
        return c >= ' ' && c <= '~';
    })) << description;
}

TEST(Lock, ReportsStartOfHolderNotOfLock) {
    const std::time_t started = std::time(nullptr);
    int answer[2];
    ASSERT_EQ(pipe(answer), 0);
    const pid_t child = fork();
    if (child == 0) {
        sleep(3);
        const std::string text = vtek::describeProcess();
        _exit(write(answer[1], text.data(), text.size()) > 0 ? 0 : 1);
    }
    char text[1024] = "";
    ASSERT_GT(read(answer[0], text, sizeof text - 1), 0);
    waitpid(child, nullptr, 0);
    const std::string description = text;
    tm utc{};
    ASSERT_NE(strptime(description.c_str() + description.find("started ") + 8, "%Y-%m-%dT%H:%M:%SZ", &utc),
              nullptr)
        << description;
    EXPECT_NEAR(static_cast<double>(timegm(&utc)), static_cast<double>(started), 1.5) << description;
}

TEST(Lock, NamesHolderNotDeadPredecessor) {
    const Lab lab;
    const auto path = lab.rootPath() / "lock";
    test::writeFile(path, "process 999999999, started long ago, command: gone");
    const vtek::UniqueFd held = vtek::openAt(vtek::kWorkingFolder, path.string(), O_RDWR);
    ASSERT_EQ(flock(held.get(), LOCK_EX), 0);
    std::thread holder([&] {
        std::this_thread::sleep_for(milliseconds(300));
        test::writeFile(path, vtek::describeProcess());
    });
    const vtek::Root root = lab.root();
    const auto refused = Lock::acquire(root, milliseconds(0));
    holder.join();
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("held by process " + std::to_string(getpid()) + ","));
}

TEST(Lock, WaitsUntilTimeout) {
    const Lab lab;
    const Holder holder(lab);
    const vtek::Root root = lab.root();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Lock::acquire(root, milliseconds(300)));
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, milliseconds(300));
    EXPECT_LT(waited, milliseconds(3000));
}

TEST(Lock, ReleasesLockOfKilledHolder) {
    const Lab lab;
    Holder holder(lab);
    holder.kill();
    const vtek::Root root = lab.root();
    EXPECT_TRUE(Lock::acquire(root, milliseconds(0)));
}

TEST(Lock, IgnoresFileOfDeadProcess) {
    const Lab lab;
    test::writeFile(lab.rootPath() / "lock", "process 1, started long ago, command: gone");
    const vtek::Root root = lab.root();
    EXPECT_TRUE(Lock::acquire(root, milliseconds(0)));
}

TEST(Lock, RefusesSecondUpdate) {
    const Lab lab;
    lab.set("lock-wait", "0");
    const auto untouched = lab.snapshot();
    const Holder holder(lab);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::RepositoryBusy}));
    EXPECT_EQ(lab.snapshot(), untouched);
}

TEST(Lock, AllowsInventoryDuringUpdate) {
    const Lab lab;
    EXPECT_EQ(lab.update([&](const std::string& step) { EXPECT_EQ(lab.version(), "1.00") << step; }),
              (UpdateOutcome{"done"}));
    EXPECT_EQ(lab.version(), "2.00");
}

TEST(Lock, SerialisesConcurrentUpdates) {
    const Lab lab;
    lab.set("lock-wait", "100");
    for (const int count : {2, 10}) {
        std::vector<pid_t> children;
        for (int i = 0; i < count; ++i) {
            const pid_t child = fork();
            if (child == 0) {
                _exit(lab.update() == UpdateOutcome{"done"} ? 0 : 1);
            }
            children.push_back(child);
        }
        for (const pid_t child : children) {
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
    }
    const vtek::Root root = lab.root();
    auto store = vtek::Store::open(root, vtek::Store::Mode::Read);
    EXPECT_EQ(store->history()->size(), 12U);
    EXPECT_EQ(*store->currentGeneration(), 12);
}

TEST(Lock, RefusesConcurrentUpdatesThatDoNotWait) {
    const Lab lab;
    lab.set("lock-wait", "0");
    std::vector<pid_t> children;
    for (int i = 0; i < 50; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            const UpdateOutcome outcome = lab.update();
            const UpdateOutcome busy{"start", ErrorNumber::RepositoryBusy};
            _exit(outcome == UpdateOutcome{"done"} ? 0 : (outcome == busy ? 1 : 2));
        }
        children.push_back(child);
    }
    std::size_t done = 0;
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << status;
        done += status == 0 ? 1 : 0;
    }
    const vtek::Root root = lab.root();
    auto store = vtek::Store::open(root, vtek::Store::Mode::Read);
    EXPECT_GE(done, 1U);
    EXPECT_EQ(store->history()->size(), done);
    EXPECT_EQ(lab.version(), "2.00");
}

}  // namespace
