#include "Process.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <system_error>

namespace {

test::Command shell(const std::string& script) {
    test::Command command;
    command.arguments = {"/bin/sh", "-c", script};
    return command;
}

TEST(Process, TellsStatusAndBothOutputs) {
    const test::Outcome outcome = run(shell("printf out; printf err >&2; exit 3"));
    EXPECT_EQ(outcome.exitStatus, 3);
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_FALSE(outcome.timedOut);
    EXPECT_EQ(outcome.output, "out");
    EXPECT_EQ(outcome.error, "err");
}

TEST(Process, TellsTheSignal) {
    const test::Outcome outcome = run(shell("kill -TERM $$"));
    EXPECT_FALSE(outcome.exitStatus.has_value());
    EXPECT_EQ(outcome.signal, SIGTERM);
}

TEST(Process, KillsAtTheDeadline) {
    test::Command command = shell("exec sleep 60");
    command.deadline = std::chrono::seconds(1);
    const test::Outcome outcome = run(command);
    EXPECT_TRUE(outcome.timedOut);
    EXPECT_EQ(outcome.signal, SIGKILL);
}

TEST(Process, RunsInTheFolderWithTheEnvironment) {
    const test::TempDir folder;
    test::Command command = shell("pwd; echo $COLOUR");
    command.workingDirectory = folder.path();
    command.environment = {{"COLOUR", "green"}};
    EXPECT_EQ(run(command).output, folder.path().string() + "\ngreen\n");
}

TEST(Process, ClosesDescriptors) {
    test::Command command =
        shell("test ! -e /proc/self/fd/0 && test ! -e /proc/self/fd/1 && test ! -e /proc/self/fd/2");
    EXPECT_EQ(run(command).exitStatus, 1);
    // The shell's own `test` is built in: /proc/self is the shell.
    command.input.kind = test::Redirect::Kind::Closed;
    command.output.kind = test::Redirect::Kind::Closed;
    command.error.kind = test::Redirect::Kind::Closed;
    EXPECT_EQ(run(command).exitStatus, 0);
}

TEST(Process, RedirectsToAFile) {
    const test::TempDir folder;
    test::writeFile(folder / "out", "");
    test::Command command = shell("printf text");
    command.output = {test::Redirect::Kind::File, folder / "out"};
    EXPECT_EQ(run(command).output, "");
    EXPECT_EQ(test::readFile(folder / "out"), "text");
}

TEST(Process, APipeWithoutReaderEndsAProgramThatDoesNotCare) {
    test::Command command;
    command.arguments = {"/bin/echo", "text"};
    command.output.kind = test::Redirect::Kind::ReaderlessPipe;
    EXPECT_EQ(run(command).signal, SIGPIPE);
}

TEST(Process, RemovesTheWorkingDirectory) {
    const test::TempDir folder;
    test::Command command = shell("ls -d " + folder.path().string());
    command.workingDirectory = folder.path();
    command.removeWorkingDirectory = true;
    EXPECT_EQ(run(command).output, "");
    EXPECT_FALSE(std::filesystem::exists(folder.path()));
}

TEST(Process, ThrowsWhenTheProgramCannotStart) {
    test::Command command;
    command.arguments = {"/nowhere/program"};
    EXPECT_THROW(run(command), std::system_error);
}

}  // namespace
