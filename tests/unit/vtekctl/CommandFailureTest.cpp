// Every call to another library that a command of vtekctl makes, failing in a run of its own: the command
// does all that it is asked to, or says that it failed and has changed nothing.
#include "FailingCalls.h"
#include "Lab.h"
#include "Vtekctl.h"
#include "payload/Payload.h"
#include "trust/Signature.h"
#include "trust/TrustStore.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using test::Calls;
using test::FailingCalls;
using test::Lab;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

constexpr int kDone = static_cast<int>(tools::ExitStatus::Success);
constexpr int kOutput = static_cast<int>(tools::ExitStatus::Output);

/** How a run of vtekctl ended. */
struct Ended {
    int status;
    std::string output;
    std::string error;
};

class CommandFailure : public testing::TestWithParam<Calls> {
protected:
    CommandFailure() : lab_(std::time(nullptr)) {
        test::writeFile(file("signer.pem"), vtek::toPem(lab_.signer().certificate.get()));
        test::writeFile(file("signer.key"), vtek::toPem(lab_.signer().key.get()));
        test::writeFile(file("authority.pem"), vtek::toPem(lab_.authority().certificate.get()));
        test::writeFile(file("qrxupdate"), "the program");
        fs::create_directory(file("content"));
        test::writeFile(lab_.aside() / "content/main.bin", "firmware");
        lab_.sign(lab_.archiveOf(test::Format::Tar, {{"main.bin", "firmware"}}));
        lab_.set("lock-wait", "0");
        keep();
    }

    std::string file(const std::string& name) const { return lab_.aside() / name; }

    Words recipe() const {
        return {file("content"),    "--package",   lab_.package() / "package.xml",
                "--chassis",        "LAB-CHASSIS", "--certificate",
                file("signer.pem"), "--key",       file("signer.key")};
    }

    /** Runs a command on the lab's chassis. @param failing  lets the next call of it fail; null for none */
    Ended run(Words words, FailingCalls* failing = nullptr) const {
        words.insert(words.begin(), "vtekctl");
        setenv("VTEK_ROOT", lab_.rootPath().c_str(), 1);
        std::vector<char*> arguments;
        std::transform(words.begin(), words.end(), std::back_inserter(arguments),
                       [](std::string& word) { return word.data(); });
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto work = [&] {
            return vtekctl::run(static_cast<int>(arguments.size()), arguments.data(), std::cout, std::cerr);
        };
        const int status = failing == nullptr ? work() : failing->in(work);
        std::cout.clear();
        std::string error = testing::internal::GetCapturedStderr();
        return {status, testing::internal::GetCapturedStdout(), std::move(error)};
    }

    /** Whatever goes wrong is said, with its number or as what it is. */
    static void expectSaid(const Ended& ended, const FailingCalls& failing) {
        SCOPED_TRACE(failing.name());
        EXPECT_EQ(ended.status != kDone, !ended.error.empty()) << ended.error;
        EXPECT_TRUE(ended.status == kDone || failing.happened()) << ended.error;
        if (ended.status == kOutput) {
            EXPECT_THAT(ended.error, HasSubstr("standard output could not be written"));
        } else if (ended.status != kDone) {
            EXPECT_THAT(ended.error, HasSubstr(" (error "));
            EXPECT_THAT(ended.error, HasSubstr("hint: "));
        }
    }

    /** A command that changes nothing says the same whenever it says that it is done. */
    void expectSameOrFailed(const Words& words) {
        const std::string whole = run(words).output;
        FailingCalls failing(GetParam());
        do {
            const Ended ended = run(words, &failing);
            expectSaid(ended, failing);
            EXPECT_TRUE(ended.status != kDone || ended.output == whole) << failing.name();
        } while (failing.happened());
    }

    /** What a chassis is: its inventory, settings, trust and history. */
    std::string state() const {
        const vtek::Root root = lab_.root();
        auto store = vtek::Store::open(root, vtek::Store::Mode::Read);
        std::string text;
        EXPECT_TRUE(vtek::Inventory(store->database()).write([&](auto piece) { text += piece; }));
        const auto settings = store->settings();
        for (const auto& [name, value] : *settings) {
            text += name + "=" + value + "\n";
        }
        const auto trust = vtek::readTrustFiles(root);
        for (const auto& trusted : *trust) {
            text += trusted.name + "\n";
        }
        return text + std::to_string(store->history()->size());
    }

    /** Makes the chassis as it is what restore brings back. */
    void keep() const {
        fs::remove_all(lab_.aside() / "kept");
        fs::copy(lab_.rootPath(), lab_.aside() / "kept", fs::copy_options::recursive);
    }

    void restore() const {
        fs::remove_all(lab_.rootPath());
        fs::copy(lab_.aside() / "kept", lab_.rootPath(), fs::copy_options::recursive);
    }

    /** A command that changes the chassis does so when it says that it is done, and only then. */
    void expectChangedOrFailed(const Words& words) {
        restore();
        const std::string before = state();
        EXPECT_EQ(run(words).status, kDone);
        const std::string after = state();
        ASSERT_NE(before, after);
        FailingCalls failing(GetParam());
        do {
            restore();
            const Ended ended = run(words, &failing);
            expectSaid(ended, failing);
            const bool isDone = ended.status == kDone || ended.status == kOutput;
            const std::string failed = failing.name();
            // Whether the disk has taken a commit, or a renamed file, cannot be told.
            EXPECT_TRUE(state() == (isDone ? after : before) || failed == "fdatasync" || failed == "fsync")
                << failed << ": " << ended.error;
        } while (failing.happened());
    }

    /** A command that makes a file or a folder makes all of it or none of it, and leaves nothing half made;
     * only that it lasts cannot be told when the disk does not say so. */
    template <class Check>
    void expectMadeOrFailed(const Words& words, const std::string& made, Check check) {
        FailingCalls failing(GetParam());
        do {
            const fs::path folder = fs::path(made).parent_path();
            fs::remove_all(folder);
            fs::create_directories(folder);
            const Ended ended = run(words, &failing);
            expectSaid(ended, failing);
            SCOPED_TRACE(failing.name());
            const bool isDone = ended.status == kDone || ended.status == kOutput;
            if (isDone || fs::exists(made)) {
                check(made);
            }
            for (const auto& item : fs::directory_iterator(folder)) {
                EXPECT_TRUE(isDone || item.path().string().starts_with(made)) << item.path();
            }
        } while (failing.happened());
    }

    Lab lab_;
};
INSTANTIATE_TEST_SUITE_P(Of, CommandFailure,
                         testing::Values(Calls::Files, Calls::Database, Calls::Crypto, Calls::Archive,
                                         Calls::Xml));

/** Each file of a folder is; what could not be taken away is a folder of its own. */
void expectWholePem(const std::string& folder) {
    for (const auto& item : fs::directory_iterator(folder)) {
        const std::string name = item.path().filename();
        if (name.starts_with(".vtekctl-")) {
            EXPECT_TRUE(item.is_directory());
        } else {
            EXPECT_THAT(test::readFile(item.path()), AllOf(StartsWith("-----BEGIN "), EndsWith("-----\n")))
                << name;
        }
    }
}

void expectPayload(const std::string& path) {
    const auto payload = vtek::openPayload(vtek::kWorkingFolder, path);
    ASSERT_TRUE(payload);
    EXPECT_TRUE(vtek::checkSignatureFits(*payload));
}

TEST_P(CommandFailure, ReportsFailuresOfShow) {
    expectSameOrFailed({"show"});
    expectSameOrFailed({"show", "--json"});
}

TEST_P(CommandFailure, ReportsFailuresOfSet) {
    expectSameOrFailed({"set"});
    expectChangedOrFailed({"set", "chassis-type", "OTHER"});
}

TEST_P(CommandFailure, ReportsFailuresOfAnOverride) {
    expectChangedOrFailed({"set", "allow-version", "1.00"});
}

TEST_P(CommandFailure, ReportsFailuresOfTheInventory) {
    expectSameOrFailed({"inventory", "export"});
    expectChangedOrFailed({"inventory", "add", "1", "1.00"});
    expectChangedOrFailed({"inventory", "remove", "25227"});
}

TEST_P(CommandFailure, ReportsFailuresOfAnImport) {
    test::writeFile(file("in.xml"), "<SVMInventory><Device componentID='1'/></SVMInventory>");
    expectChangedOrFailed({"inventory", "import", file("in.xml")});
}

TEST_P(CommandFailure, ReportsFailuresOfTrust) {
    expectSameOrFailed({"trust", "list"});
    expectChangedOrFailed({"trust", "add", file("authority.pem"), "--name", "other.pem"});
    lab_.trust("other.pem", vtek::toPem(lab_.authority().certificate.get()));
    keep();
    expectChangedOrFailed({"trust", "remove", "other.pem"});
}

TEST_P(CommandFailure, ReportsFailuresOfVerify) {
    expectSameOrFailed({"verify", lab_.payload()});
    expectSameOrFailed({"verify", "--json", lab_.payload()});
}

TEST_P(CommandFailure, ReportsFailuresOfAPlan) {
    expectSameOrFailed({"verify", "--plan", lab_.package()});
    expectSameOrFailed({"verify", "--plan", lab_.package(), "--json"});
}

TEST_P(CommandFailure, ReportsFailuresOfHistory) {
    ASSERT_EQ(lab_.update({}, std::time(nullptr)), (test::UpdateOutcome{"done"}));
    expectSameOrFailed({"history"});
    expectSameOrFailed({"history", "--json"});
}

TEST_P(CommandFailure, ReportsFailuresOfARollback) {
    ASSERT_EQ(lab_.update({}, std::time(nullptr)), (test::UpdateOutcome{"done"}));
    keep();
    expectChangedOrFailed({"rollback"});
}

TEST_P(CommandFailure, ReportsFailuresOfRecovery) {
    expectSameOrFailed({"recover"});
}

TEST_P(CommandFailure, ReportsFailuresOfInit) {
    const auto made = fs::path(file("out/chassis"));
    FailingCalls failing(GetParam());
    do {
        fs::remove_all(made);
        fs::create_directories(made.parent_path());
        const Ended ended = run({"--root", made, "init"}, &failing);
        expectSaid(ended, failing);
        if (ended.status == kDone || ended.status == kOutput) {
            EXPECT_EQ(run({"--root", made, "show"}).status, kDone) << failing.name();
        }
    } while (failing.happened());
}

TEST_P(CommandFailure, ReportsFailuresOfKeygen) {
    const auto keys = file("out/keys");
    expectMadeOrFailed({"keygen", keys}, keys, expectWholePem);
    const fs::directory_iterator made(keys);
    EXPECT_EQ(std::distance(begin(made), end(made)), 5);
}

TEST_P(CommandFailure, ReportsFailuresOfSign) {
    Words words = recipe();
    words.insert(words.begin(), "sign");
    words.insert(words.end(), {"-o", file("out/firmware.fwp")});
    expectMadeOrFailed(words, file("out/firmware.fwp"), expectPayload);
}

TEST_P(CommandFailure, ReportsFailuresOfPack) {
    Words words = recipe();
    words.insert(words.begin(), "pack");
    words.insert(words.end(), {"-o", file("out/package"), "--template", lab_.aside()});
    expectMadeOrFailed(words, file("out/package"), [](const std::string& made) {
        expectPayload(made + "/firmware.fwp");
        EXPECT_TRUE(fs::exists(made + ".tar.gz"));
        EXPECT_EQ(test::readFile(made + "/qrxupdate"), "the program");
    });
}

}  // namespace
