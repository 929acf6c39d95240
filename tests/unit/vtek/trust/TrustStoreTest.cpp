#include "Lab.h"
#include "trust/TrustStore.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using test::kDay;
using test::kNow;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;

const UpdateOutcome kDone{"done"};

/** Gives up user 0 for good, and takes a folder with its content along. */
void becomeOwner(const std::filesystem::path& folder) {
    constexpr uid_t kStranger = 12345;
    bool done = chown(folder.c_str(), kStranger, kStranger) == 0;
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
        done = done && chown(item.path().c_str(), kStranger, kStranger) == 0;
    }
    if (!done || setuid(kStranger) != 0) {
        std::abort();
    }
}

TEST(TrustStore, RefusesEmptyStore) {
    const Lab lab;
    std::filesystem::remove(lab.rootPath() / "trust/authority.pem");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable}));
    std::filesystem::remove(lab.rootPath() / "trust");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable}));
}

TEST(TrustStore, RefusesRevocationListAlone) {
    Lab lab;
    lab.trust("authority.pem", test::makeList(lab.authority(), kNow - kDay, kNow + kDay));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable}));
}

TEST(TrustStore, RefusesFileThatIsNotCertificate) {
    Lab lab;
    const std::string good = vtek::toPem(lab.authority().certificate.get());
    const std::string key = vtek::toPem(lab.authority().key.get());
    for (const std::string& content : {std::string(), std::string("junk"), key, good + key,
                                       good.substr(0, good.size() / 2), test::patched(good, "M", "!")}) {
        lab.trust("extra.pem", content);
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable})) << content;
    }
    std::filesystem::remove(lab.rootPath() / "trust/extra.pem");
    EXPECT_EQ(lab.update(), kDone);
}

TEST(TrustStore, RefusesOtherWriters) {
    using std::filesystem::perm_options;
    using std::filesystem::perms;
    const Lab lab;
    const auto trust = lab.rootPath() / "trust";
    for (const auto& path : {trust, trust / "authority.pem"}) {
        for (const perms open : {perms::group_write, perms::others_write}) {
            std::filesystem::permissions(path, open, perm_options::add);
            EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable})) << path;
            std::filesystem::permissions(path, open, perm_options::remove);
        }
    }
    EXPECT_EQ(lab.update(), kDone);
}

TEST(TrustStore, RefusesUnreadableFile) {
    const Lab lab;
    std::filesystem::permissions(lab.rootPath() / "trust/authority.pem", std::filesystem::perms::none);
    EXPECT_EXIT(
        {
            if (geteuid() == 0) {
                becomeOwner(lab.rootPath().parent_path());
            }
            _exit(lab.update() == UpdateOutcome{"check", ErrorNumber::TrustUnusable} ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(TrustStore, RefusesSymlinks) {
    const Lab lab;
    const auto trust = lab.rootPath() / "trust";
    std::filesystem::create_symlink("authority.pem", trust / "link.pem");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable}));
    std::filesystem::remove(trust / "link.pem");
    std::filesystem::rename(trust, lab.aside() / "trust");
    std::filesystem::create_directory_symlink(lab.aside() / "trust", trust);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::TrustUnusable}));
}

TEST(TrustStore, RefusesFifo) {
    Lab lab;
    const std::string pipe = (lab.rootPath() / "trust/pipe.pem").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto reader = vtek::openAt(vtek::kWorkingFolder, pipe, O_RDONLY | O_NONBLOCK);
    test::writeFile(pipe,
                    vtek::toPem(lab.authority().certificate.get()));  // stays in it while it has a reader
    const auto trust = loadTrustStore(lab.root());
    ASSERT_FALSE(trust);
    EXPECT_EQ(trust.error().number, ErrorNumber::TrustUnusable);
}

}  // namespace
