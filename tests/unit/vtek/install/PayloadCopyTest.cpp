#include "Lab.h"
#include "install/PayloadCopy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace {

using test::Lab;
using vtek::PayloadCopy;

/** The chassis that a copy is made in, and the folder where it gets its name. */
class PayloadCopyTest : public testing::Test {
protected:
    PayloadCopyTest()
        : folder_(vtek::openAt(vtek::kWorkingFolder, (lab_.rootPath() / "staging").string(), O_RDONLY)),
          confined_(folder_.get()) {}

    std::filesystem::path staging() const { return lab_.rootPath() / "staging"; }

    Lab lab_;
    vtek::Root root_ = lab_.root();
    vtek::UniqueFd folder_;
    vtek::ConfinedFolder confined_;
};

TEST_F(PayloadCopyTest, GetsItsNameWithAllThatWasAppended) {
    PayloadCopy copy(root_, 1);
    copy.append("one, ");
    copy.append("two");
    EXPECT_TRUE(copy);
    EXPECT_TRUE(std::filesystem::is_empty(staging())) << "it has no name yet";
    EXPECT_TRUE(copy.nameIt(confined_, "copy"));
    EXPECT_EQ(test::readFile(staging() / "copy"), "one, two");
    EXPECT_FALSE(copy) << "there is only one";
}

TEST_F(PayloadCopyTest, IsEmptyWhereTooFewBytesAreFree) {
    EXPECT_FALSE(PayloadCopy(root_, std::uint64_t{1} << 60));
}

TEST_F(PayloadCopyTest, IsEmptyWithoutStagingFolder) {
    std::filesystem::remove(staging());
    PayloadCopy copy(root_, 1);
    copy.append("one");
    EXPECT_FALSE(copy);
}

TEST_F(PayloadCopyTest, StaysEmptyAfterFailedWrite) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{4, before.rlim_max};
    PayloadCopy copy(root_, 1);
    setrlimit(RLIMIT_FSIZE, &small);
    copy.append("too long");
    setrlimit(RLIMIT_FSIZE, &before);
    copy.append("more");
    EXPECT_FALSE(copy);
    EXPECT_FALSE(copy.nameIt(confined_, "copy"));
    EXPECT_TRUE(std::filesystem::is_empty(staging()));
}

TEST_F(PayloadCopyTest, GetsNoNameThatExists) {
    test::writeFile(staging() / "copy", "older");
    PayloadCopy copy(root_, 1);
    copy.append("newer");
    EXPECT_FALSE(copy.nameIt(confined_, "copy"));
    EXPECT_EQ(test::readFile(staging() / "copy"), "older");
}

}  // namespace
