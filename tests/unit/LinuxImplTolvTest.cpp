#include "PlatformHost.h"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kFolder = "/opt/qorn/zbx64/lib/";
constexpr const char* kEsxiFolder = "/scratch/opt/qorn/zbx/lib/";
constexpr const char* kInstalled = "TOLV is installed in the system";
constexpr const char* kNotPresent = "InstallTolv: Custom Tolv Not Already Present";
constexpr const char* kScriptSucceeded = "InstallTolv: Custome Tolv Installed Successfully";
constexpr const char* kScriptFailed = "InstallTolv: Tolv Installation Failed";
constexpr const char* kUninstalled = "UninstallTolv: Tolv Uninstalled Successfully";

std::string exists(const std::string& path) {
    return "CLinuxImpl::IsFileExistsAbs() File name " + path + " exist";
}

std::string doesNotExist(const std::string& path) {
    return "CLinuxImpl::IsFileExistsAbs() File name " + path + " doesnt exist";
}

std::string loading(const std::string& folder = kFolder) {
    return "Load library using " + folder + "libqtrmod.so";
}

class LinuxImplTolv : public PlatformHost {
protected:
    void setPackageLibrary(const std::string& name, const std::string& library = QRX_PACKAGE_LIBRARY,
                           const std::string& folder = kFolder) {
        setLibrary(folder.substr(1) + name, library);
    }

    /** The install script beside the program: notes its argument and ends with the status. */
    void setScript(int status) {
        const std::filesystem::path script = package_ / "zbxtovalyinstall.sh";
        writeFile(script, "#!/bin/sh\necho \"$@\" >> '" + runs_.string() + "'\nexit " +
                              std::to_string(status) + "\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    }

    /** The arguments of the script's runs, a line each. */
    std::string scriptRuns() const { return std::filesystem::exists(runs_) ? readFile(runs_) : ""; }

    /** The log line of the command, with its two slashes. */
    std::string executing() const {
        return "Executimg command: " + package_.string() + "//zbxtovalyinstall.sh install";
    }

    std::filesystem::path runs_ = folder_ / "runs";
};

// Whether the library is installed.

TEST_F(LinuxImplTolv, FindsTheLibraryInThePackagesFolder) {
    setPackageLibrary("libqtrmod.so");
    EXPECT_THAT(askAll({"isTOLVInstalled", "isHelperLibraryMapped"}), ElementsAre("true", "false"));
    EXPECT_THAT(log(), ElementsAre(exists("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(), kInstalled));
}

TEST_F(LinuxImplTolv, TriesThe64BitLibrarySecond) {
    setPackageLibrary("libqtrmod64.so");
    EXPECT_THAT(askAll({"isTOLVInstalled", "isHelperLibraryMapped"}), ElementsAre("true", "false"));
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                                   exists("/opt/qorn/zbx64/lib/libqtrmod64.so"), kInstalled));
}

TEST_F(LinuxImplTolv, ReportsAMissingLibraryAsNotInstalled) {
    EXPECT_EQ(ask("isTOLVInstalled"), "false");
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                                   doesNotExist("/opt/qorn/zbx64/lib/libqtrmod64.so")));
}

TEST_F(LinuxImplTolv, ReportsALibraryThatDoesNotLoadAsNotInstalled) {
    setPackageLibrary("libqtrmod.so", QRX_UNRESOLVED_LIBRARY);
    EXPECT_EQ(ask("isTOLVInstalled"), "false");
    EXPECT_THAT(log(), ElementsAre(exists("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                                   doesNotExist("/opt/qorn/zbx64/lib/libqtrmod64.so")));
}

TEST_F(LinuxImplTolv, TriesTheSecondAfterALibraryThatDoesNotLoad) {
    setPackageLibrary("libqtrmod.so", QRX_UNRESOLVED_LIBRARY);
    setPackageLibrary("libqtrmod64.so");
    EXPECT_EQ(ask("isTOLVInstalled"), "true");
    EXPECT_THAT(log(), ElementsAre(exists("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                                   exists("/opt/qorn/zbx64/lib/libqtrmod64.so"), kInstalled));
}

TEST_F(LinuxImplTolv, UsesAnotherFolderOnEsxi) {
    setSystemName("VMkernel");
    setPackageLibrary("libqtrmod.so", QRX_PACKAGE_LIBRARY, kEsxiFolder);
    EXPECT_EQ(ask("isTOLVInstalled"), "true");
    EXPECT_THAT(log(), ElementsAre(exists("/scratch/opt/qorn/zbx/lib/libqtrmod.so"), loading(kEsxiFolder),
                                   kInstalled));
}

TEST_F(LinuxImplTolv, IgnoresTheOrdinaryFolderOnEsxi) {
    setSystemName("VMkernel");
    setPackageLibrary("libqtrmod.so");
    setPackageLibrary("libqtrmod64.so");
    EXPECT_EQ(ask("isTOLVInstalled"), "false");
    EXPECT_THAT(log(),
                ElementsAre(doesNotExist("/scratch/opt/qorn/zbx/lib/libqtrmod.so"), loading(kEsxiFolder),
                            doesNotExist("/scratch/opt/qorn/zbx/lib/libqtrmod64.so")));
}

TEST_F(LinuxImplTolv, TellsTheAgentsLibraryFromThePackages) {
    setAgentLibrary("libqtrmod.so", QRX_AGENT_LIBRARY);
    EXPECT_EQ(ask("isTOLVInstalled"), "false");
}

// The agent's library.

TEST_F(LinuxImplTolv, FindsTheAgentsLibraryWithoutALogLine) {
    setAgentLibrary("libqtrmod.so", QRX_AGENT_LIBRARY);
    EXPECT_THAT(askAll({"isKOBATOLVInstalled", "isHelperLibraryMapped"}), ElementsAre("true", "false"));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LinuxImplTolv, TriesTheAgents64BitLibrarySecond) {
    setAgentLibrary("libqtrmod.so", QRX_UNRESOLVED_LIBRARY);
    setAgentLibrary("libqtrmod64.so", QRX_AGENT_LIBRARY);
    EXPECT_THAT(askAll({"isKOBATOLVInstalled", "isHelperLibraryMapped"}), ElementsAre("true", "false"));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LinuxImplTolv, TellsThePackagesLibraryFromTheAgents) {
    setPackageLibrary("libqtrmod.so");
    EXPECT_EQ(ask("isKOBATOLVInstalled"), "false");
    EXPECT_THAT(log(), IsEmpty());
}

// Installing and removing.

TEST_F(LinuxImplTolv, RunsEachScriptOnceForTwoInstallsAndTwoUninstalls) {
    setScript(0);
    EXPECT_THAT(askAll({"InstallTolv", "InstallTolv", "UninstallTolv"}),
                ElementsAre("false", "false", "false"));
    EXPECT_EQ(scriptRuns(), "install\n");
    std::filesystem::remove(runs_);
    EXPECT_THAT(askAll({"InstallTolv", "InstallTolv", "UninstallTolv", "UninstallTolv"}),
                ElementsAre("false", "false", "false", "false"));
    EXPECT_EQ(scriptRuns(), "install\nuninstall\n");
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                                   doesNotExist("/opt/qorn/zbx64/lib/libqtrmod64.so"),  //
                                   kNotPresent, executing(), kScriptSucceeded,          //
                                   kUninstalled, kUninstalled));
}

TEST_F(LinuxImplTolv, NeitherInstallsNorRemovesAPresentLibrary) {
    setScript(0);
    setPackageLibrary("libqtrmod.so");
    EXPECT_THAT(askAll({"InstallTolv", "UninstallTolv"}), ElementsAre("false", "false"));
    EXPECT_EQ(scriptRuns(), "");
    EXPECT_THAT(log(),
                ElementsAre(exists("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(), kInstalled, kUninstalled));
}

TEST_F(LinuxImplTolv, ReturnsTrueForAFailedInstallWithoutAnAgent) {
    setScript(3);
    EXPECT_EQ(ask("InstallTolv"), "true");
    EXPECT_EQ(scriptRuns(), "install\n");
    EXPECT_THAT(log(),
                ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                            doesNotExist("/opt/qorn/zbx64/lib/libqtrmod64.so"),  //
                            kNotPresent, executing(), kScriptFailed, "InstallTolv: KOBA Tolv Not Present"));
}

TEST_F(LinuxImplTolv, ReturnsFalseForAFailedInstallWithAnAgent) {
    setScript(1);
    setAgentLibrary("libqtrmod64.so", QRX_AGENT_LIBRARY);
    EXPECT_EQ(ask("InstallTolv"), "false");
    EXPECT_EQ(scriptRuns(), "install\n");
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/libqtrmod.so"), loading(),
                                   doesNotExist("/opt/qorn/zbx64/lib/libqtrmod64.so"),  //
                                   kNotPresent, executing(), kScriptFailed, "InstallTolv: Found KOBA Tolv"));
}

TEST_F(LinuxImplTolv, ReportsAMissingScriptAsAFailedInstall) {
    EXPECT_EQ(ask("InstallTolv"), "true");
    EXPECT_EQ(log().back(), "InstallTolv: KOBA Tolv Not Present");
}

TEST_F(LinuxImplTolv, CountsAFailedInstall) {
    setScript(1);
    EXPECT_THAT(askAll({"InstallTolv", "InstallTolv", "UninstallTolv", "UninstallTolv"}),
                ElementsAre("true", "false", "false", "true"));
    EXPECT_EQ(scriptRuns(), "install\nuninstall\n");
}

TEST_F(LinuxImplTolv, ReturnsTrueForAFailedUninstallLoggedAsASuccess) {
    setScript(0);
    ASSERT_THAT(askAll({"InstallTolv"}), ElementsAre("false"));
    setScript(2);
    setAgentLibrary("libqtrmod.so", QRX_AGENT_LIBRARY);
    EXPECT_THAT(askAll({"InstallTolv", "UninstallTolv"}), ElementsAre("false", "true"));
    EXPECT_EQ(log().back(), kUninstalled);
}

TEST_F(LinuxImplTolv, SkipsTheInstallAfterAnUninstallTooMany) {
    setScript(0);
    EXPECT_THAT(askAll({"UninstallTolv", "InstallTolv", "InstallTolv"}),
                ElementsAre("false", "false", "false"));
    EXPECT_EQ(scriptRuns(), "install\n");
    EXPECT_THAT(log(), ElementsAre(kUninstalled,                                        // the count is -1
                                   doesNotExist("/opt/qorn/zbx64/lib/libqtrmod.so"),    // the second install
                                   loading(),                                           //
                                   doesNotExist("/opt/qorn/zbx64/lib/libqtrmod64.so"),  //
                                   kNotPresent, executing(), kScriptSucceeded));
}

TEST_F(LinuxImplTolv, RunsNothingForAnUninstallFromZero) {
    setScript(1);
    EXPECT_THAT(askAll({"UninstallTolv", "UninstallTolv"}), ElementsAre("false", "false"));
    EXPECT_EQ(scriptRuns(), "");
    EXPECT_THAT(log(), ElementsAre(kUninstalled, kUninstalled));
}

TEST_F(LinuxImplTolv, DecidesAnewInANewCycle) {
    setScript(0);
    EXPECT_THAT(askAll({"InstallTolv", "UninstallTolv", "InstallTolv", "UninstallTolv"}),
                ElementsAre("false", "false", "false", "false"));
    EXPECT_EQ(scriptRuns(), "install\nuninstall\ninstall\nuninstall\n");
}

// Loading by name.

TEST_F(LinuxImplTolv, LoadsALibraryFromThePackagesFolderFirst) {
    setPackageLibrary("liba.so");
    setAgentLibrary("liba.so", QRX_AGENT_LIBRARY);
    EXPECT_EQ(ask("LoadTolvLibrary=liba.so"), "package");
    EXPECT_THAT(log(), ElementsAre(exists("/opt/qorn/zbx64/lib/liba.so")));
}

TEST_F(LinuxImplTolv, LoadsALibraryThatIsNotThereByTheLoader) {
    setAgentLibrary("liba.so", QRX_AGENT_LIBRARY);
    EXPECT_EQ(ask("LoadTolvLibrary=liba.so"), "agent");
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/liba.so"),
                                   "LoadTolvLibrary: Unable to Load liba.so from /opt/qorn/zbx64/lib/"));
}

TEST_F(LinuxImplTolv, PrefersTheLoadersToALibraryThatDoesNotLoad) {
    setPackageLibrary("liba.so", QRX_UNRESOLVED_LIBRARY);
    setAgentLibrary("liba.so", QRX_AGENT_LIBRARY);
    EXPECT_EQ(ask("LoadTolvLibrary=liba.so"), "agent");
    EXPECT_THAT(log(), ElementsAre(exists("/opt/qorn/zbx64/lib/liba.so"),
                                   "LoadTolvLibrary: Unable to Load liba.so from /opt/qorn/zbx64/lib/"));
}

TEST_F(LinuxImplTolv, ReturnsNullForALibraryThatIsNowhere) {
    EXPECT_EQ(ask("LoadTolvLibrary=libnobody.so"), "none");
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/opt/qorn/zbx64/lib/libnobody.so"),
                                   "LoadTolvLibrary: Unable to Load libnobody.so from /opt/qorn/zbx64/lib/",
                                   "LoadTolvLibrary: Unable to Load libnobody.so from KOBA"));
}

TEST_F(LinuxImplTolv, TriesTheOtherFolderOnEsxiAndLogsTheOrdinaryOne) {
    setSystemName("vmkernel");
    setPackageLibrary("liba.so", QRX_PACKAGE_LIBRARY, kEsxiFolder);
    EXPECT_EQ(ask("LoadTolvLibrary=liba.so"), "package");
    EXPECT_THAT(log(), ElementsAre(exists("/scratch/opt/qorn/zbx/lib/liba.so")));
    EXPECT_EQ(ask("LoadTolvLibrary=libnobody.so"), "none");
    EXPECT_THAT(log(), ElementsAre(doesNotExist("/scratch/opt/qorn/zbx/lib/libnobody.so"),
                                   "LoadTolvLibrary: Unable to Load libnobody.so from /opt/qorn/zbx64/lib/",
                                   "LoadTolvLibrary: Unable to Load libnobody.so from KOBA"));
}

}  // namespace
}  // namespace test
