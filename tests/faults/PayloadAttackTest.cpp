// The payload changes under the hands of the whole program: between the check and the copy, and after the
// copy.
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
    bool isSameFile;      ///< the file that was checked, or another one in its place
};

void PrintTo(const Attack& attack, std::ostream* out) {
    *out << attack.name;
}

constexpr Attack kAttacks[] = {
    {"Truncated", "truncate --size 5000 fw.fwp", true},
    {"Emptied", "truncate --size 0 fw.fwp", true},
    {"Extended", "printf more >>fw.fwp", true},
    {"WrittenTo", "printf evil | dd of=fw.fwp bs=1 seek=60000 conv=notrunc status=none", true},
    {"Renamed", "printf evil >evil && mv evil fw.fwp", false},
    {"LinkSwitched", "ln --symbolic --force /etc/passwd fw.fwp", false},
    {"Removed", "rm fw.fwp", false},
};

struct Moment {
    const char* before;  ///< the call
    bool isCopied;       ///< by then
};

void PrintTo(const Moment& moment, std::ostream* out) {
    *out << "Before" << moment.before;
}

constexpr Moment kMoments[] = {
    {"StartCopyFile", false}, {"AddFile", false}, {"CompleteSignedUnzip", true}, {"EndCopyFile", true}};

class PayloadAttack : public testing::TestWithParam<std::tuple<Attack, Moment>> {};

INSTANTIATE_TEST_SUITE_P(All, PayloadAttack,
                         testing::Combine(testing::ValuesIn(kAttacks), testing::ValuesIn(kMoments)));

TEST_P(PayloadAttack, IsRefusedOrHarmless) {
    const auto& [attack, moment] = GetParam();
    const test::Lab lab(std::time(nullptr));
    const test::HookedProgram program(lab);
    const std::string verified = test::readFile(lab.payload());
    const auto untouched = lab.snapshot();
    const auto outcome = program.run("-u", {{"STEP_BEFORE", moment.before}, {"STEP_RUN", attack.command}});
    const bool isChanged =
        !std::filesystem::exists(lab.payload()) || test::readFile(lab.payload()) != verified;
    ASSERT_TRUE(isChanged);
    if (attack.isSameFile && !moment.isCopied) {
        EXPECT_EQ(program.record(), "AddFile 501\n");
        EXPECT_EQ(lab.snapshot(), untouched);
        return;
    }
    EXPECT_THAT(outcome.output, HasSubstr("Update is successful"));
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/fw.fwp"), verified);
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/main.bin"), std::string(100000, 'm'));
    EXPECT_EQ(lab.version(), "2.00");
}

}  // namespace
