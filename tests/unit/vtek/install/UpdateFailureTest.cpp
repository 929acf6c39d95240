// Lets each call to another library fail once during an update or a rollback: afterwards either the old or
// the new firmware is in force, and complete.
#include "DocumentedErrors.h"
#include "FailingCalls.h"
#include "Lab.h"
#include "chassis/Store.h"
#include "install/Repository.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using test::Calls;
using test::FailingCalls;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;

const UpdateOutcome kDone{"done"};
const std::string kContent = "firmware";

/** Runs an update; an exception counts as the failure that the public functions make of it. */
UpdateOutcome attempt(const Lab& lab) {
    try {
        return lab.update();
    } catch (const std::exception&) {
        return {"thrown", ErrorNumber::Internal};
    }
}

/** Expects that the firmware in force is complete. */
void expectWholeFirmware(const Lab& lab) {
    const vtek::Root root = lab.root();
    auto store = vtek::Store::open(root, vtek::Store::Mode::Read);
    const auto current = store->currentGeneration();
    ASSERT_TRUE(current);
    if (*current == 0) {
        EXPECT_EQ(lab.version(), "1.00");
        return;
    }
    EXPECT_EQ(lab.version(), "2.00");
    const auto chassis = lab.rootPath() / "repository" / std::to_string(*current) / "Chassis";
    EXPECT_EQ(test::readFile(chassis / "sub/main.bin"), kContent);
    EXPECT_EQ(test::readFile(chassis / "fw.fwp"), test::readFile(lab.payload()));
}

/** Whether docs/stand-in.md names the call of this step for its error number. A step that throws is not in
 * the table. */
bool isDocumentedFor(const UpdateOutcome& outcome) {
    static const std::map<std::string, std::string> kCalls{{"check", "IsPayloadSigned"},
                                                           {"start", "StartCopyFile"},
                                                           {"add", "AddFile"},
                                                           {"unpack", "CompleteSignedUnzip"},
                                                           {"commit", "EndCopyFile"}};
    const auto call = kCalls.find(outcome.step);
    if (call == kCalls.end()) {
        return true;
    }
    static const auto rows = test::documentedErrors();
    return std::any_of(rows.begin(), rows.end(), [&](const test::DocumentedError& row) {
        // Each step but the commit reads the state, and so can fail like opening the session.
        const bool ofTheState = row.call == "secureWyndInit" && outcome.step != "commit";
        return row.number == static_cast<int>(outcome.number) && (row.call == call->second || ofTheState);
    });
}

bool rollBack(const vtek::Root& root) {
    const auto undone = test::caught([&]() -> vtek::Result<vtek::Generation> {
        VTEK_ASSIGN(auto repository, vtek::Repository::open(root));
        return repository.rollBack();
    });
    return static_cast<bool>(undone);
}

/** A chassis with a small package, because there are many runs. */
class UpdateFailure : public testing::TestWithParam<Calls> {
protected:
    UpdateFailure() {
        lab_.sign(lab_.archiveOf(test::Format::Tar, {{"sub", "", 'd'}, {"sub/main.bin", kContent}}));
        lab_.set("lock-wait", "0");
    }

    /** Whether the outcome is unknown: after a failed sync the commit may or may not be on disk. */
    static bool isUnknown(const FailingCalls& failing) { return failing.name() == std::string("fdatasync"); }

    /** Whether a failure of these calls has its own row in the error table; the others run out of memory. */
    static bool isOfTheSystem() { return GetParam() == Calls::Files || GetParam() == Calls::Database; }

    Lab lab_;
};
INSTANTIATE_TEST_SUITE_P(Of, UpdateFailure,
                         testing::Values(Calls::Files, Calls::Database, Calls::Crypto, Calls::Archive,
                                         Calls::Xml));

TEST_P(UpdateFailure, KeepsOldOrNewFirmware) {
    FailingCalls failing(GetParam());
    do {
        const auto before = lab_.snapshot();
        const std::size_t updates = lab_.history().size();
        const UpdateOutcome outcome = failing.in([&] { return attempt(lab_); });
        SCOPED_TRACE(failing.name());
        expectWholeFirmware(lab_);
        EXPECT_TRUE(outcome == kDone || failing.happened());
        EXPECT_TRUE(outcome == kDone || !isOfTheSystem() || isDocumentedFor(outcome))
            << testing::PrintToString(outcome);
        if (outcome == kDone) {
            EXPECT_EQ(lab_.history().size() - updates, 1U);
        } else if (outcome.number != ErrorNumber::CommitFailed) {
            EXPECT_EQ(lab_.snapshot(), before);
        }
    } while (failing.happened());
}

TEST_P(UpdateFailure, KeepsEitherFirmwareOnRollback) {
    ASSERT_EQ(lab_.update(), kDone);
    const vtek::Root root = lab_.root();
    FailingCalls failing(GetParam());
    do {
        const std::size_t entries = lab_.history().size();
        std::filesystem::create_directories(lab_.rootPath() / "staging/left/over");
        const bool undone = failing.in([&] { return rollBack(root); });
        SCOPED_TRACE(failing.name());
        expectWholeFirmware(lab_);
        EXPECT_TRUE(undone || failing.happened());
        EXPECT_TRUE(lab_.history().size() - entries == (undone ? 1U : 0U) || isUnknown(failing));
        if (lab_.history().size() > entries) {
            EXPECT_EQ(lab_.update(), kDone);
        }
    } while (failing.happened());
}

}  // namespace
