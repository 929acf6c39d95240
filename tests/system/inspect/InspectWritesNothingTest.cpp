#include "InspectRun.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>

namespace test {
namespace {

/** Every file of a folder with its content and the time of its last change. */
using Snapshot = std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>>;

Snapshot snapshotOf(const std::filesystem::path& folder) {
    Snapshot snapshot;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string content = entry.is_regular_file() ? readFile(entry.path()) : "";
        snapshot[entry.path().string()] = {content, entry.last_write_time()};
    }
    return snapshot;
}

/** A working directory and a package folder within it, the debug log's marker file in both. */
class WritesNothing : public testing::TestWithParam<std::vector<std::string>> {
protected:
    WritesNothing() {
        writeFile(folder_ / "enabledebug.txt", "");
        writeFile(folder_ / "package.xml", kPackage);
        writeFile(folder_ / "good.xml", report::inventory("C1", "1.0") + report::update("C1", "2.0", "0"));
        writeFile(folder_ / "bad.xml", report::failedUpdate("a & b"));
        writeFile(folder_ / "PIEConfig.xml",
                  "<PIEConfig><Plugins><Plugin description=\"Inventory\" type=\"0\" timeout=\"1\"><CliToFile>"
                  "<Command>c</Command><Output>o</Output></CliToFile></Plugin></Plugins></PIEConfig>");
        std::filesystem::create_directory(folder_ / "package");
        writeFile(folder_ / "package/enabledebug.txt", "");
        writeFile(folder_ / "package/package.xml", kPackage);
    }

    static constexpr const char* kPackage =
        "<SoftwareComponent vendorVersion=\"1\"><SupportedDevices><Device "
        "componentID=\"1\"/></SupportedDevices>"
        "</SoftwareComponent>";

    const TempDir folder_;
};

TEST_P(WritesNothing, MakesNoFileNextToTheMarkerFile) {
    const Snapshot before = snapshotOf(folder_.path());
    const Outcome outcome = inspect(folder_.path(), GetParam());
    EXPECT_TRUE(outcome.exitStatus && *outcome.exitStatus < 3) << outcome.error;
    EXPECT_NE(outcome.output, "");
    EXPECT_EQ(snapshotOf(folder_.path()), before);
}

TEST_P(WritesNothing, OpensNoFileForWriting) {
    std::vector<std::string> command{
        STRACE,
        "-f",
        "-qq",
        "-o",
        "trace",
        "-e",
        "trace=open,openat,openat2,creat,mkdir,mkdirat,rename,renameat,renameat2,unlink,"
        "unlinkat,link,linkat,symlink,symlinkat,truncate,ftruncate,mknod,mknodat",
        inspectProgram()};
    command.insert(command.end(), GetParam().begin(), GetParam().end());
    const Outcome outcome = run({.arguments = command, .workingDirectory = folder_.path()});
    const std::string trace = readFile(folder_ / "trace");
    if (trace.find("openat(") == std::string::npos) {
        GTEST_SKIP() << "skipped: this machine allows no tracing: " << outcome.error;
    }
    // The one file that is opened for writing is the log's, and it is in memory.
    const std::regex ownMemory(
        R"re(openat\(AT_FDCWD, "/proc/self/fd/\d+", O_WRONLY\|O_CREAT\|O_TRUNC, 0666\) = \d+)re");
    const std::regex readsOnly(R"re(open(at)?\(.*O_RDONLY.*)re");
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        const std::string call = line.substr(line.find_first_not_of("0123456789 "));
        EXPECT_TRUE(std::regex_match(call, ownMemory) ||
                    (std::regex_match(call, readsOnly) && call.find("O_CREAT") == std::string::npos))
            << call;
    }
}

std::string nameOf(const testing::TestParamInfo<std::vector<std::string>>& arguments) {
    std::string name;
    for (const std::string& word : arguments.param) {
        std::copy_if(word.begin(), word.end(), std::back_inserter(name),
                     [](unsigned char c) { return std::isalnum(c) != 0; });
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, WritesNothing,
                         testing::Values(std::vector<std::string>{"package"},
                                         std::vector<std::string>{"package", "package"},
                                         std::vector<std::string>{"package", "--check"},
                                         std::vector<std::string>{"result", "good.xml"},
                                         std::vector<std::string>{"result", "bad.xml"},
                                         std::vector<std::string>{"report", "good.xml", "bad.xml"},
                                         std::vector<std::string>{"report", "--html", "good.xml", "bad.xml"},
                                         std::vector<std::string>{"plugin", "PIEConfig.xml"},
                                         std::vector<std::string>{"host"}),
                         nameOf);

TEST(InspectProgram, NeedsNoPlatformLibrary) {
    const Outcome outcome = run({.arguments = {READELF, "--dynamic", "--wide", inspectProgram()}});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_NE(outcome.output.find("(NEEDED)"), std::string::npos);
    EXPECT_EQ(outcome.output.find("libvtek"), std::string::npos) << outcome.output;
}

}  // namespace
}  // namespace test
