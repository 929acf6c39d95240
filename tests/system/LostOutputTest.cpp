/** A report that cannot be written is lost, and nothing else changes: neither the run, its status nor its
 * log. */

#include "Workplace.h"

#include <gtest/gtest.h>

namespace {

using test::Redirect;

constexpr const char* kInventory = "debug-before-an-option-takes-the-default-name";

class LostOutput : public testing::Test {
protected:
    /** An inventory with a debug log whose report goes to standard output. */
    test::Outcome runInventory(const Redirect& output) {
        place_.takeCase(kInventory);
        test::Command command = place_.command({"-d", "-i"});
        command.output = output;
        return run(command);
    }

    void expectOrdinaryRun(const test::Outcome& outcome) const {
        EXPECT_EQ(outcome.exitStatus, 0);
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_EQ(outcome.error, "");
        EXPECT_EQ(place_.log(), place_.readCase(kInventory).at("after/debug.log"));
    }

    test::Workplace place_;
};

TEST_F(LostOutput, IgnoresClosedStandardOutput) {
    expectOrdinaryRun(runInventory({Redirect::Kind::Closed}));
}

TEST_F(LostOutput, IgnoresFullStandardOutput) {
    expectOrdinaryRun(runInventory({Redirect::Kind::File, "/dev/full"}));
}

TEST_F(LostOutput, IgnoresPipeWithoutReader) {
    expectOrdinaryRun(runInventory({Redirect::Kind::ReaderlessPipe}));
}

TEST_F(LostOutput, IgnoresFullDeviceForReportFile) {
    place_.takeCase(kInventory);
    const test::Outcome outcome = run(place_.command({"-d", "-i", "-o", "/dev/full"}));
    expectOrdinaryRun(outcome);
    EXPECT_EQ(outcome.output, "");
}

TEST_F(LostOutput, IgnoresFullDeviceForBothReports) {
    const test::Case expected = place_.takeCase("both-in-one-file");
    const test::Outcome outcome = run(place_.command({"-i", "-u", "-d", "-o", "/dev/full"}));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(place_.log(), expected.at("after/debug.log"));
    EXPECT_EQ(place_.calls(), expected.at("calls"));
}

TEST_F(LostOutput, RunsWholeUpdateIntoPipeWithoutReader) {
    const test::Case expected = place_.takeCase("both-in-one-file");
    test::Command command = place_.command({"-i", "-u", "-d"});
    command.output.kind = Redirect::Kind::ReaderlessPipe;
    const test::Outcome outcome = run(command);
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(place_.log(), expected.at("after/debug.log"));
    EXPECT_EQ(place_.calls(), expected.at("calls"));
}

TEST_F(LostOutput, KeepsReportAndMessagesOutOfLogWithAllDescriptorsClosed) {
    const test::Case expected = place_.takeCase("package-malformed-inventory");
    test::Command command = place_.command({"-d", "-i"});
    command.input.kind = Redirect::Kind::Closed;
    command.output.kind = Redirect::Kind::Closed;
    command.error.kind = Redirect::Kind::Closed;
    EXPECT_EQ(run(command).exitStatus, 0);
    EXPECT_EQ(place_.log(), expected.at("after/debug.log"));
}

TEST_F(LostOutput, WritesReportFileWithAllDescriptorsClosed) {
    const test::Case expected = place_.takeCase("both-in-one-file");
    test::Command command = place_.command({"-i", "-u", "-d", "-o", "report.xml"});
    command.input.kind = Redirect::Kind::Closed;
    command.output.kind = Redirect::Kind::Closed;
    command.error.kind = Redirect::Kind::Closed;
    EXPECT_EQ(run(command).exitStatus, 0);
    EXPECT_EQ(test::readFile(place_.directory() / "report.xml"), expected.at("after/report.xml"));
    EXPECT_EQ(place_.log(), expected.at("after/debug.log"));
}

TEST_F(LostOutput, KeepsStatusWhenUsageTextIsLost) {
    for (const Redirect& output :
         {Redirect{Redirect::Kind::Closed}, Redirect{Redirect::Kind::File, "/dev/full"},
          Redirect{Redirect::Kind::ReaderlessPipe}}) {
        test::Command failing = place_.command({"-x"});
        failing.output = output;
        EXPECT_EQ(run(failing).exitStatus, 1);
        test::Command helping = place_.command({"-h"});
        helping.output = output;
        EXPECT_EQ(run(helping).exitStatus, 0);
    }
}

TEST(UsageText, Has381Characters) {
    const test::Workplace place;
    const test::Outcome outcome = run(place.command({"-h"}));
    EXPECT_EQ(outcome.output.size(), 381U);
}

}  // namespace
