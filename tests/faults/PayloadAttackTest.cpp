// The payload changes under the hands of the whole program, at every moment after the check.
#include "HookedProgram.h"

#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>
#include <ostream>
#include <string>
#include <tuple>

namespace {

using testing::HasSubstr;

struct Attack {
    const char* name;
    const char* command;  ///< run in the package's folder
};

void PrintTo(const Attack& attack, std::ostream* out) {
    *out << attack.name;
}

constexpr Attack kAttacks[] = {
    {"Truncated", "truncate --size 5000 fw.fwp"},
    {"Emptied", "truncate --size 0 fw.fwp"},
    {"Extended", "printf more >>fw.fwp"},
    {"WrittenTo", "printf evil | dd of=fw.fwp bs=1 seek=60000 conv=notrunc status=none"},
    {"Renamed", "printf evil >evil && mv evil fw.fwp"},
    {"LinkSwitched", "ln --symbolic --force /etc/passwd fw.fwp"},
    {"Removed", "rm fw.fwp"},
};

/** A call of the library; the attack happens before it. */
struct Moment {
    const char* call;
};

void PrintTo(const Moment& moment, std::ostream* out) {
    *out << "Before" << moment.call;
}

constexpr Moment kMoments[] = {{"StartCopyFile"}, {"AddFile"}, {"CompleteSignedUnzip"}, {"EndCopyFile"}};

class PayloadAttack : public testing::TestWithParam<std::tuple<Attack, Moment>> {};

INSTANTIATE_TEST_SUITE_P(All, PayloadAttack,
                         testing::Combine(testing::ValuesIn(kAttacks), testing::ValuesIn(kMoments)));

TEST_P(PayloadAttack, IsHarmless) {
    const auto& [attack, moment] = GetParam();
    const test::Lab lab(std::time(nullptr));
    const test::HookedProgram program(lab);
    const std::string verified = test::readFile(lab.payload());
    const auto outcome = program.run("-u", {{"STEP_BEFORE", moment.call}, {"STEP_RUN", attack.command}});
    const bool isChanged =
        !std::filesystem::exists(lab.payload()) || test::readFile(lab.payload()) != verified;
    ASSERT_TRUE(isChanged);
    EXPECT_THAT(outcome.output, HasSubstr("Update is successful"));
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/fw.fwp"), verified);
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/main.bin"), std::string(100000, 'm'));
    EXPECT_EQ(lab.version(), "2.00");
}

}  // namespace
