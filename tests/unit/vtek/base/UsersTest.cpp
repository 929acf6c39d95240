#include "TempDir.h"
#include "base/Users.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <string>

namespace {

std::string described(uid_t user) {
    const passwd* record = getpwuid(user);
    const std::string number = std::to_string(user);
    return record == nullptr ? number : std::string(record->pw_name) + " (" + number + ")";
}

TEST(Users, ReportsNameAndNumberOfRealUser) {
    EXPECT_EQ(vtek::realUser(), described(getuid()));
}

TEST(Users, ReportsNumberOfUserWithoutName) {
    constexpr uid_t kStranger = 12345;
    if (geteuid() != 0) {
        GTEST_SKIP() << "skipped: only root can become an unknown user";
    }
    ASSERT_EQ(getpwuid(kStranger), nullptr);
    EXPECT_EXIT(_exit(setuid(kStranger) == 0 && vtek::realUser() == "12345" ? 0 : 1),
                testing::ExitedWithCode(0), "");
}

TEST(Users, ReportsLoginUserOrUnknown) {
    const std::string text = test::readFile("/proc/self/loginuid");
    EXPECT_EQ(vtek::loginUser(),
              text == "4294967295" ? "unknown" : described(static_cast<uid_t>(std::stoul(text))));
}

}  // namespace
