#include "InspectRun.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace test {
namespace {

/** A command line, and the file that it reads. */
struct FileCommand {
    std::vector<std::string> arguments;
    std::string file;
    std::string problemOfAFifo = "is not a regular file";
};

const FileCommand kPackage{{"package"}, "package.xml"};
const FileCommand kResult{{"result", "report.xml"}, "report.xml", "is a pipe that nobody writes to"};
const FileCommand kPlugin{{"plugin", "PIEConfig.xml"}, "PIEConfig.xml"};

std::string nameOf(const testing::TestParamInfo<FileCommand>& command) {
    return command.param.arguments.front();
}

class BadInput : public testing::TestWithParam<FileCommand> {
protected:
    std::filesystem::path file() const { return folder_ / GetParam().file; }

    /** The command ends with status 2 and with one line on standard error: what is wrong with the file. */
    void expectProblem(const std::string& problem) const {
        std::vector<std::string> arguments = GetParam().arguments;
        arguments.insert(arguments.begin(), inspectProgram());
        const Outcome outcome = run({.arguments = arguments,
                                     .workingDirectory = folder_.path(),
                                     .deadline = std::chrono::seconds(20)});
        EXPECT_FALSE(outcome.timedOut);
        EXPECT_EQ(outcome.exitStatus, 2);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.error, "qrxinspect: " + GetParam().file + ": " + problem + "\n");
    }

private:
    const TempDir folder_;
};

TEST_P(BadInput, RefusesAMissingFile) {
    expectProblem("No such file or directory");
}

TEST_P(BadInput, RefusesAFolder) {
    std::filesystem::create_directory(file());
    expectProblem("is not a regular file");
}

TEST_P(BadInput, RefusesAFifo) {
    ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
    expectProblem(GetParam().problemOfAFifo);
}

TEST_P(BadInput, RefusesADevice) {
    std::filesystem::create_symlink("/dev/zero", file());
    expectProblem("is not a regular file");
}

TEST_P(BadInput, RefusesAnEmptyFile) {
    writeFile(file(), "");
    expectProblem("is empty");
}

TEST_P(BadInput, RefusesAGigabyte) {
    writeFile(file(), "");
    std::filesystem::resize_file(file(), std::uintmax_t{1024} * 1024 * 1024);
    expectProblem("is larger than 16 MiB");
}

TEST_P(BadInput, RefusesAFileThatIsNotXml) {
    writeFile(file(), "hello\n");
    expectProblem("not well-formed XML, line 1: Start tag expected, '<' not found");
}

TEST_P(BadInput, RefusesADocumentType) {
    writeFile(file(), "<!DOCTYPE a [<!ENTITY x SYSTEM \"/etc/hostname\">]><a>&x;</a>");
    expectProblem("has a document type declaration");
}

INSTANTIATE_TEST_SUITE_P(OfEveryCommand, BadInput, testing::Values(kPackage, kResult, kPlugin), nameOf);

std::string errorForAnotherRoot(const FileCommand& command) {
    const TempDir folder;
    writeFile(folder / command.file, "<other/>");
    const Outcome outcome = inspect(folder.path(), command.arguments);
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.output, "");
    return outcome.error;
}

TEST(InspectBadInput, RefusesAnotherRootElement) {
    EXPECT_EQ(errorForAnotherRoot(kPackage),
              "qrxinspect: package.xml: the root element is \"other\", not \"SoftwareComponent\"\n");
    EXPECT_EQ(errorForAnotherRoot(kResult),
              "qrxinspect: report.xml: the root element is \"other\", not that of a report\n");
    EXPECT_EQ(errorForAnotherRoot(kPlugin),
              "qrxinspect: PIEConfig.xml: the root element is \"other\", not \"PIEConfig\"\n");
}

TEST(InspectBadInput, RefusesAMissingPackageFolder) {
    const Outcome outcome = inspect("/", {"package", "/nowhere/at/all"});
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.error, "qrxinspect: /nowhere/at/all/package.xml: No such file or directory\n");
}

TEST(InspectBadInput, DoesNotWaitForAMarkerFileThatIsAFifo) {
    const TempDir folder;
    writeFile(folder / "package.xml", "<SoftwareComponent/>");
    ASSERT_EQ(mkfifo((folder / "enabledebug.txt").c_str(), 0600), 0);
    for (const char* command : {"package", "host"}) {
        const Outcome outcome = run({.arguments = {inspectProgram(), command},
                                     .workingDirectory = folder.path(),
                                     .deadline = std::chrono::seconds(20)});
        EXPECT_EQ(outcome.exitStatus, 2) << command;
        EXPECT_NE(outcome.error.find("enabledebug.txt: is a FIFO\n"), std::string::npos) << outcome.error;
    }
}

TEST(InspectBadInput, ReadsNothingIfTheLogCannotBeSilenced) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "skipped: the sanitizers need descriptors of their own";
#endif
    const TempDir folder;
    writeFile(folder / "package.xml", "<SoftwareComponent/>");
    // The one descriptor that is left is enough for the loader, and for the package.
    const std::string narrow = "exec 3>&-; ulimit -n 4; exec \"$0\" package";
    const Outcome outcome =
        run({.arguments = {"/bin/sh", "-c", narrow, inspectProgram()}, .workingDirectory = folder.path()});
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.error, "qrxinspect: cannot silence the debug log: /proc is not available\n");
}

TEST(InspectBadInput, ReturnsTheStatusOfAWrongCommandLine) {
    EXPECT_EQ(inspect("/", {}).exitStatus, 64);
    EXPECT_EQ(inspect("/", {"unknown"}).exitStatus, 64);
}

TEST(InspectBadInput, ReportsOutputThatIsNotWritten) {
    const Outcome outcome = run({.arguments = {inspectProgram(), "host"},
                                 .workingDirectory = "/",
                                 .output = {.kind = Redirect::Kind::File, .path = "/dev/full"}});
    EXPECT_EQ(outcome.exitStatus, 74);
    EXPECT_EQ(outcome.error, "qrxinspect: standard output could not be written\n");
}

}  // namespace
}  // namespace test
