#include "PlatformHost.h"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kEsx3 = "getLinuxOSVer: ESX 3 Found";
constexpr const char* kEsx4 = "getLinuxOSVer: ESX 4 Found";
constexpr const char* kUnrecognized = "getLinuxOSVer: Unrecognized VMWare Found";

class LinuxImplSystem : public PlatformHost {
protected:
    std::string esxWith(const std::string& release) {
        setFile("etc/vmware-release", release);
        return ask("isESXSystem");
    }

    std::string esxiWith(const std::string& systemName) {
        setSystemName(systemName);
        return ask("isESXiSystem");
    }

    std::string blacklistedWith(const std::string& conf) {
        setFile("etc/modprobe.d/blacklist.conf", conf);
        return ask("isUSBblacklistedusingConfFile");
    }
};

// ESXi.

TEST_F(LinuxImplSystem, RecognizesVmkernelAsEsxiInAnyCase) {
    EXPECT_EQ(esxiWith("VMkernel"), "true");
    EXPECT_EQ(esxiWith("vmkernel"), "true");
    EXPECT_EQ(esxiWith("VMKERNEL"), "true");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LinuxImplSystem, RejectsAnyOtherSystemAsEsxi) {
    EXPECT_EQ(esxiWith("Linux"), "false");
    EXPECT_EQ(esxiWith("VMkernel7"), "false");
    EXPECT_EQ(esxiWith("VMkerne"), "false");
    EXPECT_EQ(esxiWith(""), "false");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LinuxImplSystem, TakesAFailedUnameForNotEsxi) {
    EXPECT_EQ(esxiWith("fail"), "false");
    EXPECT_THAT(log(), IsEmpty());
}

// ESX.

TEST_F(LinuxImplSystem, LogsNothingWithoutAReleaseFile) {
    EXPECT_EQ(ask("isESXSystem"), "false");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LinuxImplSystem, RecognizesEsxServer3) {
    EXPECT_EQ(esxWith("VMware ESX Server 3.5.0 (Update 2)\n"), "true");
    EXPECT_THAT(log(), ElementsAre(kEsx3));
}

TEST_F(LinuxImplSystem, RecognizesEsx40) {
    EXPECT_EQ(esxWith("VMware ESX 4.0\n"), "true");
    EXPECT_THAT(log(), ElementsAre(kEsx4));
}

TEST_F(LinuxImplSystem, RecognizesEsx41) {
    EXPECT_EQ(esxWith("VMware ESX 4.1.0 (Kandinsky)"), "true");
    EXPECT_THAT(log(), ElementsAre(kEsx4));
}

TEST_F(LinuxImplSystem, ClosesTheReleaseFileAfterTheLogLine) {
    for (const std::string release : {"VMware ESX Server 3", "VMware ESX 4.1", "VMware ESX 4", "another"}) {
        setFile("etc/vmware-release", release);
        EXPECT_THAT(askAll({"isESXSystem", "wasReleaseFileOpen", "isReleaseFileOpen"}),
                    ElementsAre(release == "another" ? "false" : "true", "true", "false"))
            << release;
    }
}

TEST_F(LinuxImplSystem, FindsTheNameAnywhereInTheLine) {
    EXPECT_EQ(esxWith("release: VMware ESX 4"), "true");
    EXPECT_THAT(log(), ElementsAre(kEsx4));
}

TEST_F(LinuxImplSystem, PrefersEsx3InALineThatNamesBoth) {
    EXPECT_EQ(esxWith("VMware ESX 4, was VMware ESX Server 3"), "true");
    EXPECT_THAT(log(), ElementsAre(kEsx3));
}

TEST_F(LinuxImplSystem, RejectsAnotherRelease) {
    for (const std::string release : {"VMware ESX 5.0", "VMware ESXi 4.1", "VMware ESX Server 2",
                                      "VMware ESX Server 4", "vmware esx 4", "VMware ESX 3", ""}) {
        EXPECT_EQ(esxWith(release), "false") << release;
        EXPECT_THAT(log(), ElementsAre(kUnrecognized)) << release;
    }
}

TEST_F(LinuxImplSystem, IgnoresASecondLine) {
    EXPECT_EQ(esxWith("Some release\nVMware ESX 4.0\n"), "false");
    EXPECT_THAT(log(), ElementsAre(kUnrecognized));
    EXPECT_EQ(esxWith("\nVMware ESX 4.0\n"), "false");
}

TEST_F(LinuxImplSystem, ReadsOnly1023CharactersOfTheLine) {
    const std::string name = "VMware ESX 4";
    EXPECT_EQ(esxWith(std::string(1023 - name.size(), ' ') + name + "\n"), "true");
    EXPECT_EQ(esxWith(std::string(1023 - name.size(), ' ') + name + ".0 and more"), "true");
    EXPECT_EQ(esxWith(std::string(1024 - name.size(), ' ') + name + "\n"), "false");
    EXPECT_THAT(log(), ElementsAre(kUnrecognized));
}

TEST_F(LinuxImplSystem, RejectsAnUnreadableRelease) {
    std::filesystem::create_directories(layer_ / "etc/vmware-release");
    EXPECT_EQ(ask("isESXSystem"), "false");
    EXPECT_THAT(log(), ElementsAre(kUnrecognized));
}

TEST_F(LinuxImplSystem, RejectsADanglingLink) {
    makeFolderOf(layer_ / "etc/vmware-release");
    std::filesystem::create_symlink("/nowhere/at/all", layer_ / "etc/vmware-release");
    EXPECT_EQ(ask("isESXSystem"), "false");
    EXPECT_THAT(log(), IsEmpty());
}

// USB storage.

constexpr const char* kStart = " CLinuxImpl::isUSBblacklistedusingConfFile Start ";
constexpr const char* kOpening =
    " CLinuxImpl::isUSBblacklistedusingConfFile opening conf file /etc/modprobe.d/blacklist.conf \n";
constexpr const char* kNoFile = " CLinuxImpl::isUSBblacklistedusingConfFile FILE DOES NOT EXIST \n";
constexpr const char* kFile = " CLinuxImpl::isUSBblacklistedusingConfFile blacklist FILE EXIST \n";
constexpr const char* kCommented =
    " CLinuxImpl::isUSBblacklistedusingConfFile blacklist usb_storage is commented";
constexpr const char* kException = " CLinuxImpl::isUSBblacklistedusingConfFile exception occured";
constexpr const char* kEnd = " CLinuxImpl::isUSBblacklistedusingConfFile End";

TEST_F(LinuxImplSystem, NeverRefusesUsbStorageItself) {
    setFile("etc/modprobe.d/blacklist.conf", "blacklist usb_storage\n");
    EXPECT_EQ(ask("isUSBblacklisted"), "false");
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(LinuxImplSystem, FindsNothingWithoutABlacklist) {
    makeFolderOf(layer_ / "etc/modprobe.d/x");
    std::filesystem::create_symlink("/nowhere/at/all", layer_ / "etc/modprobe.d/blacklist.conf");
    EXPECT_EQ(ask("isUSBblacklistedusingConfFile"), "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kNoFile, kEnd));
}

TEST_F(LinuxImplSystem, FindsNothingInAnEmptyBlacklist) {
    EXPECT_EQ(blacklistedWith(""), "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kEnd));
}

TEST_F(LinuxImplSystem, FindsAnActiveLine) {
    EXPECT_EQ(
        blacklistedWith("# modules\nblacklist pcspkr\nblacklist usb_storage\n# blacklist usb_storage\n"),
        "true");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kEnd));
}

TEST_F(LinuxImplSystem, ReadsALastLineWithoutANewline) {
    EXPECT_EQ(blacklistedWith("blacklist pcspkr\nblacklist usb_storage"), "true");
}

TEST_F(LinuxImplSystem, FindsTheWordsAnywhereInALineInAnyCase) {
    EXPECT_EQ(blacklistedWith("Blacklist USB_Storage\n"), "true");
    EXPECT_EQ(blacklistedWith("blacklist usb_storage_extra\n"), "true");
    EXPECT_EQ(blacklistedWith("options x blacklist usb_storage\n"), "true");
    EXPECT_EQ(blacklistedWith("  \tblacklist usb_storage\n"), "true");
    EXPECT_EQ(blacklistedWith("blacklist usb_storage # not now\n"), "true");
}

TEST_F(LinuxImplSystem, IgnoresOtherLines) {
    EXPECT_EQ(
        blacklistedWith("blacklist usb-storage\nblacklist  usb_storage\nusb_storage\nblacklist usb_storag\n"),
        "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kEnd));
}

TEST_F(LinuxImplSystem, LogsAndIgnoresACommentedLine) {
    EXPECT_EQ(blacklistedWith("#blacklist usb_storage\n"), "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kCommented, kEnd));
}

TEST_F(LinuxImplSystem, IgnoresACommentAfterBlanks) {
    EXPECT_EQ(blacklistedWith("  # blacklist usb_storage\n\t#blacklist usb_storage"), "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kCommented, kCommented, kEnd));
}

TEST_F(LinuxImplSystem, FindsAnActiveLineAfterACommentedOne) {
    EXPECT_EQ(blacklistedWith("#blacklist usb_storage\nblacklist usb_storage\n"), "true");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kCommented, kEnd));
}

TEST_F(LinuxImplSystem, LogsAndContainsAnExceptionOfTheLibrary) {
    environment_["FAILING_STRING_CALL"] = "1";
    EXPECT_EQ(blacklistedWith("blacklist usb_storage\n"), "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kException, kEnd));
}

TEST_F(LinuxImplSystem, StopsAtAnExceptionAfterACommentedLine) {
    environment_["FAILING_STRING_CALL"] = "4";  // lower and trim the first line, lower the second, trim it
    EXPECT_EQ(blacklistedWith("#blacklist usb_storage\nblacklist usb_storage\nblacklist usb_storage\n"),
              "false");
    EXPECT_THAT(log(), ElementsAre(kStart, kOpening, kFile, kCommented, kException, kEnd));
}

}  // namespace
}  // namespace test
