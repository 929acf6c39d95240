#include "Lab.h"
#include "base/Users.h"
#include "chassis/Store.h"
#include "install/Repository.h"
#include "install/Update.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using test::Format;
using test::Lab;
using test::UpdateOutcome;
using testing::ElementsAre;
using testing::IsEmpty;
using vtek::ErrorNumber;

const UpdateOutcome kDone{"done"};
const UpdateOutcome kNoCopy{"add", ErrorNumber::CopyFailed};

/** Expects that an update fails as given and changes nothing in the root. */
void expectRefused(const Lab& lab, const UpdateOutcome& expected,
                   const std::function<void(const std::string&)>& before = {}) {
    const auto untouched = lab.snapshot();
    EXPECT_EQ(lab.update(before), expected);
    EXPECT_EQ(lab.snapshot(), untouched);
}

/** Whether a descriptor is closed, or is /dev/null, which SQLite opens in place of a closed one. */
bool isQuiet(int fd) {
    std::error_code none;
    const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), none);
    return none || target == "/dev/null";
}

void append(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::app) << bytes;
}

void flipBit(const std::filesystem::path& file, std::streamoff at) {
    std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
    stream.seekg(at);
    const int byte = stream.get();
    stream.seekp(at);
    stream.put(static_cast<char>(byte ^ 1));
}

/** A change of the payload's file. */
struct Change {
    const char* name;
    void (*apply)(const std::filesystem::path& payload);
};

constexpr Change kChanges[] = {
    {"truncated", [](const auto& payload) { std::filesystem::resize_file(payload, 5000); }},
    {"extended", [](const auto& payload) { append(payload, "more"); }},
    {"first byte", [](const auto& payload) { flipBit(payload, 0); }},
    {"last byte",
     [](const auto& payload) {
         flipBit(payload, static_cast<std::streamoff>(std::filesystem::file_size(payload)) - 1);
     }},
};

/** Before each step of an update: no copy can be made during the check, but later. */
void letNoFileGrowDuringCheck(const std::string& step) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = step == "check" ? 0 : limit.rlim_max;
    setrlimit(RLIMIT_FSIZE, &limit);
}

TEST(Update, InstallsFilesVersionAndHistory) {
    const Lab lab;
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_EQ(lab.version(), "2.00");
    const auto chassis = lab.rootPath() / "repository/1/Chassis";
    EXPECT_EQ(test::readFile(chassis / "main.bin"), std::string(100000, 'm'));
    EXPECT_EQ(test::readFile(chassis / "sub/readme.txt"), "hello");
    EXPECT_EQ(test::readFile(chassis / "fw.fwp"), test::readFile(lab.payload()));
    const auto history = lab.history();
    ASSERT_EQ(history.size(), 1U);
    EXPECT_EQ(history[0].outcome, "updated");
    EXPECT_EQ(history[0].generation, 1);
    EXPECT_EQ(history[0].fromVersion, "1.00");
    EXPECT_EQ(history[0].toVersion, "2.00");
    EXPECT_EQ(history[0].signer, "CN=Test Signer");
    EXPECT_EQ(history[0].payloadDigest, lab.snapshot()["repository/1/Chassis/fw.fwp"]);
    EXPECT_FALSE(history[0].override);
    EXPECT_EQ(history[0].realUser, vtek::realUser());
    EXPECT_EQ(history[0].loginUser, vtek::loginUser());
}

TEST(Update, LeavesNothingInStaging) {
    const Lab lab;
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "staging"));
}

TEST(Update, AcceptsEveryEnabledArchiveFormat) {
    for (const Format format : {Format::Tar, Format::TarGz, Format::Zip, Format::ZipStored}) {
        const Lab lab;
        lab.sign(lab.archive(format));
        EXPECT_EQ(lab.update(), kDone) << static_cast<int>(format);
        EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/sub/readme.txt"), "hello");
    }
}

TEST(Update, RefusesEveryDisabledArchiveFormat) {
    for (const Format format : {Format::Cpio, Format::TarBzip2}) {
        const Lab lab;
        lab.sign(lab.archive(format));
        expectRefused(lab, {"check", ErrorNumber::ArchiveInvalid});
    }
}

TEST(Update, InstallsSamePayloadAgain) {
    const Lab lab;
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_EQ(lab.version(), "2.00");
}

TEST(Update, KeepsOneOldGeneration) {
    const Lab lab;
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(lab.update(), kDone);
    }
    std::vector<std::string> kept;
    for (const auto& item : std::filesystem::directory_iterator(lab.rootPath() / "repository")) {
        kept.push_back(item.path().filename().string());
    }
    EXPECT_THAT(kept, testing::UnorderedElementsAre("3", "4"));
}

TEST(Update, LeavesNoTraceIfDestroyedAfterAnyStep) {
    const Lab lab;
    const auto untouched = lab.snapshot();
    for (const std::string last : {"start", "add", "unpack", "commit"}) {
        struct Stop {};
        EXPECT_THROW(lab.update([&](const std::string& step) {
            if (step == last) {
                throw Stop();
            }
        }),
                     Stop);
        EXPECT_EQ(lab.snapshot(), untouched) << last;
    }
}

TEST(Update, RefusesStepsOutOfOrder) {
    const Lab lab;
    const vtek::Root root = lab.root();
    vtek::Update update(root, vtek::kWorkingFolder, test::kNow);
    EXPECT_EQ(update.start().error().number, ErrorNumber::OutOfOrder);
    EXPECT_EQ(update.add("Chassis/fw.fwp").error().number, ErrorNumber::OutOfOrder);
    EXPECT_EQ(update.unpack().error().number, ErrorNumber::OutOfOrder);
    EXPECT_EQ(update.commit().error().number, ErrorNumber::OutOfOrder);
}

TEST(Update, RefusesRepeatedSteps) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const vtek::UniqueFd folder = vtek::openAt(vtek::kWorkingFolder, lab.package().string(), O_RDONLY);
    vtek::Update update(root, folder.get(), test::kNow);
    ASSERT_TRUE(update.check());
    EXPECT_EQ(update.check().error().number, ErrorNumber::OutOfOrder);
    ASSERT_TRUE(update.start());
    EXPECT_EQ(update.start().error().number, ErrorNumber::OutOfOrder);
    ASSERT_TRUE(update.add("Chassis/fw.fwp"));
    EXPECT_EQ(update.add("Chassis/other.fwp").error().number, ErrorNumber::OutOfOrder);
    ASSERT_TRUE(update.unpack());
    EXPECT_EQ(update.unpack().error().number, ErrorNumber::OutOfOrder);
    ASSERT_TRUE(update.commit());
    EXPECT_EQ(update.commit().error().number, ErrorNumber::OutOfOrder);
    EXPECT_TRUE(vtek::Repository::open(root)) << "the lock is released after the commit";
}

TEST(Update, RefusesEmptyOrForeignDestination) {
    for (const std::string destination :
         {"", "/etc/fw.fwp", "../fw.fwp", "Chassis/../../fw.fwp", "Chassis/"}) {
        const Lab lab;
        const vtek::Root root = lab.root();
        const vtek::UniqueFd folder = vtek::openAt(vtek::kWorkingFolder, lab.package().string(), O_RDONLY);
        vtek::Update update(root, folder.get(), test::kNow);
        ASSERT_TRUE(update.check());
        ASSERT_TRUE(update.start());
        EXPECT_EQ(update.add(destination).error().number, ErrorNumber::DestinationInvalid) << destination;
    }
}

// The payload changes during the update.

TEST(Update, IgnoresPayloadReplacedAfterCheck) {
    for (const std::string moment : {"start", "add", "unpack", "commit"}) {
        const Lab lab;
        const std::string verified = test::readFile(lab.payload());
        const auto replace = [&](const std::string& step) {
            if (step == moment) {
                test::writeFile(lab.aside() / "evil.fwp", "evil");
                std::filesystem::rename(lab.aside() / "evil.fwp", lab.payload());
            }
        };
        EXPECT_EQ(lab.update(replace), kDone) << moment;
        EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/fw.fwp"), verified);
    }
}

TEST(Update, IgnoresSymlinkInPlaceOfCheckedPayload) {
    const Lab lab;
    const auto replace = [&](const std::string& step) {
        if (step == "add") {
            std::filesystem::remove(lab.payload());
            std::filesystem::create_symlink("/etc/passwd", lab.payload());
        }
    };
    EXPECT_EQ(lab.update(replace), kDone);
}

TEST(Update, RefusesSymlinkAsPayload) {
    const Lab lab;
    std::filesystem::rename(lab.payload(), lab.aside() / "fw.fwp");
    std::filesystem::create_symlink(lab.aside() / "fw.fwp", lab.payload());
    expectRefused(lab, {"check", ErrorNumber::PayloadUnreadable});
}

TEST(Update, InstallsVerifiedBytesOfPayloadThatChanges) {
    for (const std::string moment : {"start", "add", "unpack", "commit"}) {
        for (const auto& [name, change] : kChanges) {
            SCOPED_TRACE(moment + ", " + name);
            const Lab lab;
            const std::string verified = test::readFile(lab.payload());
            EXPECT_EQ(lab.update([&](const std::string& step) {
                if (step == moment) {
                    change(lab.payload());
                }
            }),
                      kDone);
            EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/fw.fwp"), verified);
        }
    }
}

// No copy could be made during the check.

TEST(Update, CopiesUnderLockWithoutCopyFromCheck) {
    const Lab lab;
    EXPECT_EQ(lab.update(letNoFileGrowDuringCheck), kDone);
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/fw.fwp"), test::readFile(lab.payload()));
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/sub/readme.txt"), "hello");
}

TEST(Update, VerifiesAgainWhatIsCopiedUnderLock) {
    const Lab lab;
    const std::string payload = test::readFile(lab.payload());
    for (const auto& [name, change] : kChanges) {
        SCOPED_TRACE(name);
        lab.write(payload);
        const auto changeBeforeCopy = [&](const std::string& step) {
            letNoFileGrowDuringCheck(step);
            if (step == "add") {
                change(lab.payload());
            }
        };
        // The signature and what follows it are in memory since the check.
        if (std::string(name) == "extended" || std::string(name) == "last byte") {
            EXPECT_EQ(lab.update(changeBeforeCopy), kDone);
            EXPECT_EQ(lab.snapshot()["repository/1/Chassis/fw.fwp"], lab.history().back().payloadDigest);
            continue;
        }
        expectRefused(lab, {"add", ErrorNumber::SignatureMismatch}, changeBeforeCopy);
    }
}

TEST(Update, RefusesFlippedBitAnywhere) {
    const Lab lab;
    const std::string payload = test::readFile(lab.payload());
    const auto size = static_cast<std::streamoff>(payload.size());
    for (std::streamoff at = 0; at < size; at += size / 40) {
        lab.write(payload);
        flipBit(lab.payload(), at);
        const auto untouched = lab.snapshot();
        EXPECT_EQ(lab.update().step, "check") << at;
        EXPECT_EQ(lab.snapshot(), untouched);
    }
}

TEST(Update, RefusesSeveralPayloadsOrNone) {
    const Lab lab;
    test::writeFile(lab.package() / "other.fwp", "other");
    expectRefused(lab, {"check", ErrorNumber::PayloadAmbiguous});
    std::filesystem::remove(lab.package() / "other.fwp");
    std::filesystem::remove(lab.payload());
    expectRefused(lab, {"check", ErrorNumber::PayloadMissing});
}

TEST(Update, RefusesFifoOrFolderAsPayload) {
    const Lab lab;
    std::filesystem::remove(lab.payload());
    ASSERT_EQ(mkfifo(lab.payload().c_str(), 0644), 0);
    expectRefused(lab, {"check", ErrorNumber::PayloadUnreadable});
    std::filesystem::remove(lab.payload());
    std::filesystem::create_directory(lab.payload());
    expectRefused(lab, {"check", ErrorNumber::PayloadUnreadable});
}

// package.xml

TEST(Update, RefusesLargePackageXmlBeforeReadingIt) {
    const Lab lab;
    const auto grow = [&] {
        std::filesystem::resize_file(lab.package() / "package.xml", std::uintmax_t{1} << 40);
    };
    EXPECT_EQ(lab.update([&](const std::string& step) {
        if (step == "commit") {
            grow();
        }
    }),
              (UpdateOutcome{"commit", ErrorNumber::PackageChanged}));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::PackageUnreadable}));
}

TEST(Update, RefusesOtherPackageXml) {
    const Lab lab;
    append(lab.package() / "package.xml", " ");
    expectRefused(lab, {"check", ErrorNumber::PackageMismatch});
}

TEST(Update, RefusesUnreadablePackageXml) {
    const Lab lab;
    std::filesystem::remove(lab.package() / "package.xml");
    expectRefused(lab, {"check", ErrorNumber::PackageUnreadable});
    ASSERT_EQ(mkfifo((lab.package() / "package.xml").c_str(), 0644), 0);
    expectRefused(lab, {"check", ErrorNumber::PackageUnreadable});
}

TEST(Update, RefusesSymlinkAsPackageXml) {
    const Lab lab;
    std::filesystem::rename(lab.package() / "package.xml", lab.aside() / "package.xml");
    std::filesystem::create_symlink(lab.aside() / "package.xml", lab.package() / "package.xml");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::PackageUnreadable}));
}

TEST(Update, AcceptsEachListedChassisType) {
    const Lab lab;
    vtek::Manifest manifest = lab.manifest();
    manifest.chassisTypes = {"OTHER", "LAB-CHASSIS"};
    lab.sign(test::makeArchive(test::Format::Tar, {{"manifest.xml", vtek::formatManifest(manifest)}}));
    EXPECT_EQ(lab.update(), kDone);
}

TEST(Update, RefusesPackageXmlChangedBeforeCommit) {
    const Lab lab;
    expectRefused(lab, {"commit", ErrorNumber::PackageChanged}, [&](const std::string& step) {
        if (step == "commit") {
            append(lab.package() / "package.xml", " ");
        }
    });
}

// What the payload is for

TEST(Update, RefusesOtherComponent) {
    const Lab lab;
    auto manifest = lab.manifest();
    manifest.componentId = "99999";
    lab.sign(makeArchive(Format::Tar, {{"manifest.xml", formatManifest(manifest)}}));
    expectRefused(lab, {"check", ErrorNumber::ComponentUnknown});
}

TEST(Update, RefusesOtherChassisType) {
    const Lab lab;
    lab.set("chassis-type", "OTHER");
    expectRefused(lab, {"check", ErrorNumber::ChassisMismatch});
}

TEST(Update, RefusesArchiveWithoutManifestFirst) {
    const Lab lab;
    lab.sign(makeArchive(Format::Tar, {{"main.bin", "x"}, {"manifest.xml", formatManifest(lab.manifest())}}));
    expectRefused(lab, {"check", ErrorNumber::ManifestInvalid});
    lab.sign(makeArchive(Format::Tar, {{"other.xml", formatManifest(lab.manifest())}}));
    expectRefused(lab, {"check", ErrorNumber::ManifestInvalid});
    lab.sign(makeArchive(Format::Tar, {{"manifest.xml", "<VtekManifest/>"}}));
    expectRefused(lab, {"check", ErrorNumber::ManifestInvalid});
    lab.sign(makeArchive(Format::Tar, {{"manifest.xml", "", 'd'}}));
    expectRefused(lab, {"check", ErrorNumber::ManifestInvalid});
}

TEST(Update, RefusesVersionBelowFloor) {
    const Lab lab;
    lab.set("minimum-version", "2.01");
    expectRefused(lab, {"check", ErrorNumber::VersionBelowFloor});
    lab.set("minimum-version", "2.00");
    EXPECT_EQ(lab.update(), kDone);
}

TEST(Update, ComparesVersionsNumerically) {
    const Lab lab;
    lab.set("minimum-version", "10.0");
    expectRefused(lab, {"check", ErrorNumber::VersionBelowFloor});
}

TEST(Update, TakesNoLeadingZeroForFraction) {
    const Lab lab;  // version 2.00, equal to 2.0
    for (const char* floor : {"2.01", "2.1", "2.001"}) {
        lab.set("minimum-version", floor);
        expectRefused(lab, {"check", ErrorNumber::VersionBelowFloor});
    }
    for (const char* floor : {"2.0", "2.000", "2", "1.99", "2.0~rc1", ""}) {
        lab.set("minimum-version", floor);
        EXPECT_EQ(lab.update(), kDone) << floor;
    }
}

TEST(Update, AllowsTextNotEveryEqualVersion) {
    const Lab lab;
    lab.set("minimum-version", "3.00");
    lab.set("allow-version", "2.0");
    expectRefused(lab, {"check", ErrorNumber::VersionBelowFloor});
}

TEST(Update, AcceptsOverrideOnceForOneVersion) {
    const Lab lab;
    lab.set("minimum-version", "3.00");
    lab.set("allow-version", "1.99");
    expectRefused(lab, {"check", ErrorNumber::VersionBelowFloor});
    lab.set("allow-version", "2.00");
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_TRUE(lab.history().back().override);
    expectRefused(lab, {"check", ErrorNumber::VersionBelowFloor});
}

TEST(Update, RefusesVersionIfFloorIsRaisedAfterCheck) {
    const Lab lab;
    EXPECT_EQ(lab.update([&](const std::string& step) {
        if (step == "commit") {
            lab.set("minimum-version", "3.00");
        }
    }),
              (UpdateOutcome{"commit", ErrorNumber::VersionBelowFloor}));
    EXPECT_EQ(lab.version(), "1.00");
    EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "repository"));
}

TEST(Update, RefusesComponentRemovedBeforeCommit) {
    const Lab lab;
    EXPECT_EQ(lab.update([&](const std::string& step) {
        if (step == "commit") {
            const vtek::Root root = lab.root();
            auto store = vtek::Store::open(root, vtek::Store::Mode::Write);
            ASSERT_TRUE(vtek::Inventory(store->database()).remove("25227"));
        }
    }),
              (UpdateOutcome{"commit", ErrorNumber::ComponentGone}));
    EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "repository"));
    EXPECT_TRUE(lab.history().empty());
}

// Hostile surroundings

TEST(Update, GrantsNoWriteAccessWithUmaskZero) {
    const Lab lab;
    const mode_t before = umask(0);
    EXPECT_EQ(lab.update([&](const std::string& step) {
        if (step == "commit") {
            EXPECT_EQ(std::filesystem::status(lab.rootPath() / "staging/1").permissions(),
                      std::filesystem::perms::owner_all);
        }
    }),
              kDone);
    umask(before);
    for (const auto& item : std::filesystem::recursive_directory_iterator(lab.rootPath())) {
        EXPECT_EQ(item.status().permissions() &
                      (std::filesystem::perms::group_write | std::filesystem::perms::others_write),
                  std::filesystem::perms::none)
            << item.path();
    }
}

TEST(Update, PublishesReadableFolderWithStrictUmask) {
    const Lab lab;
    const mode_t before = umask(077);
    EXPECT_EQ(lab.update(), kDone);
    umask(before);
    EXPECT_EQ(std::filesystem::status(lab.rootPath() / "repository/1").permissions(),
              std::filesystem::perms(0755));
}

TEST(Update, WritesNothingToClosedStandardStreams) {
    const Lab lab;
    EXPECT_EXIT(
        {
            close(0);
            close(1);
            close(2);
            const bool done = lab.update() == kDone;
            const bool quiet = isQuiet(0) && isQuiet(1) && isQuiet(2);
            _exit(done && quiet ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(lab.version(), "2.00");
}

TEST(Update, LeavesNothingWhenInterruptedBeforeUnpacking) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const Lab lab;
        const auto untouched = lab.snapshot();
        EXPECT_EXIT(lab.update([&](const std::string& step) {
            if (step == "unpack") {
                std::raise(signal);
            }
        }),
                    testing::KilledBySignal(signal), "");
        EXPECT_EQ(lab.snapshot(), untouched);
    }
}

TEST(Update, KeepsOldStateAtFileSizeLimit) {
    const Lab lab;
    const auto untouched = lab.snapshot();
    EXPECT_EXIT(
        {
            rlimit limit{};
            limit.rlim_cur = limit.rlim_max = 50000;
            setrlimit(RLIMIT_FSIZE, &limit);
            signal(SIGXFSZ, SIG_IGN);
            const bool refused = lab.update() == kNoCopy;
            _exit(refused ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(lab.snapshot(), untouched);
}

}  // namespace
