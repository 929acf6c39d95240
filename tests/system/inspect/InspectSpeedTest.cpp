#include "InspectRun.h"

#include <gtest/gtest.h>

#include <chrono>

namespace test {
namespace {

constexpr int kReports = 2000;
constexpr double kAllowedShare = 0.1;

/** Runs the command in the folder and returns how long it took, in seconds. */
double secondsFor(const std::filesystem::path& folder, const std::string& shellCommand) {
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = run({.arguments = {"/bin/sh", "-c", shellCommand},
                                 .workingDirectory = folder,
                                 .deadline = std::chrono::seconds(300)});
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(InspectSpeed, ManyReportsTakeATenthOfALoopOverThem) {
    const TempDir folder;
    for (int i = 0; i < kReports; ++i) {
        writeFile(folder / ("chassis-" + std::to_string(i) + ".xml"), report::inventory("25227", "1.40.200"));
    }
    const double loop =
        secondsFor(folder.path(), "for f in *.xml; do " XMLLINT
                                  " --xpath 'string(//Application/@version)' $f; done >/dev/null");
    for (const std::string flag : {"", "--json", "--html"}) {
        const double once =
            secondsFor(folder.path(), inspectProgram() + " report " + flag + " *.xml >/dev/null");
        EXPECT_LE(once, kAllowedShare * loop) << "report " << flag;
        std::cout << "report " << flag << ": " << once << " s, loop: " << loop << " s\n";
    }
}

}  // namespace
}  // namespace test
