#include "InspectRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {
namespace {

const std::vector<std::string> kFacts{"ESX service console", "ESXi", "USB storage blacklisted",
                                      "Hardware library", "Hardware library of an agent"};

/** Whether this machine lets a test mount things where nobody else sees them. */
bool mayMountPrivately() {
    return run({.arguments = {UNSHARE, "--mount", "true"}}).exitStatus == 0;
}

/** What `host --json` prints after the script has changed the machine as this process alone sees it. */
nlohmann::json hostAfter(const std::string& script) {
    const TempDir folder;
    const Outcome outcome = run({.arguments = {UNSHARE, "--mount", "sh", "-ec",
                                               script + "\nexec \"$0\" host --json", inspectProgram()},
                                 .workingDirectory = folder.path()});
    EXPECT_EQ(outcome.error, "");
    return nlohmann::json::parse(outcome.output);
}

std::string overlayOver(const std::string& folder) {
    return "mount -t tmpfs none .\nmkdir upper work\nmount -t overlay -o lowerdir=" + folder +
           ",upperdir=upper,workdir=work none " + folder;
}

TEST(InspectHost, ShowsOneFactPerLine) {
    const TempDir folder;
    const Outcome outcome = inspect(folder.path(), {"host"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    std::istringstream lines(outcome.output);
    std::string line;
    for (const std::string& fact : kFacts) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_TRUE(line.starts_with(fact + " ")) << line;
        EXPECT_TRUE(line.ends_with(" yes") || line.ends_with(" no")) << line;
    }
    EXPECT_FALSE(std::getline(lines, line));
}

/** What `host` prints on a kernel that says it is ESXi's. */
std::string hostOnEsxi(const std::vector<std::string>& options) {
    const TempDir folder;
    std::vector<std::string> arguments{inspectProgram(), "host"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run({.arguments = arguments,
                .workingDirectory = folder.path(),
                // AddressSanitizer, where it is on, would rather be loaded first.
                .environment = {{"LD_PRELOAD", VMKERNEL_LIBRARY},
                                {"ASAN_OPTIONS", "verify_asan_link_order=0"}}})
        .output;
}

TEST(InspectHost, FindsAnEsxiKernel) {
    EXPECT_EQ(nlohmann::json::parse(hostOnEsxi({"--json"}))["esxi"], true);
    const TempDir folder;
    EXPECT_EQ(inspectJson(folder.path(), {"host", "--json"})["esxi"], false);
}

TEST(InspectHost, SaysYesOnlyForWhatItFinds) {
    const std::string output = hostOnEsxi({});
    EXPECT_THAT(output, testing::ContainsRegex("ESXi +yes\n"));
    EXPECT_THAT(output, testing::ContainsRegex("ESX service console +no\n"));
}

TEST(InspectHost, FindsTheHardwareLibraryOfAnAgent) {
    const TempDir folder;
    const Outcome outcome = run({.arguments = {inspectProgram(), "host", "--json"},
                                 .workingDirectory = folder.path(),
                                 .environment = {{"LD_LIBRARY_PATH", AGENT_FOLDER}}});
    EXPECT_EQ(nlohmann::json::parse(outcome.output)["agentHardwareLibrary"], true);
    EXPECT_EQ(inspectJson(folder.path(), {"host", "--json"})["agentHardwareLibrary"], false);
}

TEST(InspectHost, FindsAnEsxServiceConsoleAndTheUsbBlacklist) {
    if (!mayMountPrivately()) {
        GTEST_SKIP() << "skipped: needs root, or a mount namespace of a user";
    }
    const nlohmann::json host = hostAfter(overlayOver("/etc") +
                                          "\necho 'VMware ESX 4.1' > /etc/vmware-release\n"
                                          "mkdir -p /etc/modprobe.d\n"
                                          "echo 'blacklist usb_storage' > /etc/modprobe.d/blacklist.conf");
    EXPECT_EQ(host, nlohmann::json::parse(
                        R"({"format": 1, "esx": true, "esxi": false, "usbStorageBlacklisted": true,
                                              "hardwareLibrary": false, "agentHardwareLibrary": false})"));
}

TEST(InspectHost, FindsThePackagesHardwareLibrary) {
    if (!mayMountPrivately()) {
        GTEST_SKIP() << "skipped: needs root, or a mount namespace of a user";
    }
    const nlohmann::json host = hostAfter(
        overlayOver("/opt") + "\nmkdir -p /opt/qorn/zbx64/lib\ncp " HARDWARE_LIBRARY " /opt/qorn/zbx64/lib/");
    EXPECT_EQ(host["hardwareLibrary"], true);
    EXPECT_EQ(host["agentHardwareLibrary"], false);
}

}  // namespace
}  // namespace test
