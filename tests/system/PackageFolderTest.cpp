/** Pipes and links: those in the package's folder, which may be traps, and those that the caller names. */

#include "LogText.h"
#include "Workplace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

class PackageFolder : public testing::Test {
protected:
    /** A chassis with an inventory, and the package that it needs. */
    void SetUp() override { expected_ = place_.takeCase("inventory-success"); }

    fs::path at(const std::string& name) const { return place_.directory() / name; }

    void makeFifo(const std::string& name) const {
        fs::remove(at(name));
        ASSERT_EQ(mkfifo(at(name).c_str(), 0600), 0);
    }

    /** Runs the program, which must not wait, and returns its report. */
    std::string reportOf(const std::vector<std::string>& arguments) const {
        test::Command command = place_.command(arguments);
        command.deadline = std::chrono::seconds(20);
        const test::Outcome outcome = run(command);
        EXPECT_FALSE(outcome.timedOut);
        EXPECT_EQ(outcome.exitStatus, 0);
        return outcome.output;
    }

    std::string report() const { return expected_.at("after/report.xml"); }
    std::string reportWithoutPackage(const std::string& name) const {
        return place_.readCase(name).at("after/report.xml");
    }

    test::Workplace place_;
    test::Case expected_;
};

TEST_F(PackageFolder, TakesFifoForMissingDescription) {
    makeFifo("package.xml");
    EXPECT_EQ(reportOf({"-i"}), reportWithoutPackage("package-malformed-inventory"));
    EXPECT_EQ(reportOf({"-u"}), reportWithoutPackage("package-malformed-update"));
}

TEST_F(PackageFolder, WaitsForNoWriterThatWritesNothing) {
    makeFifo("package.xml");
    const int writer = open(at("package.xml").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(reportOf({"-i"}), reportWithoutPackage("package-malformed-inventory"));
    EXPECT_EQ(reportOf({"-u"}), reportWithoutPackage("package-malformed-update"));
    close(writer);
}

TEST_F(PackageFolder, FollowsLinksThatTheCallerNames) {
    test::writeFile(at("log"), "old");
    test::writeFile(at("report"), "old");
    fs::create_symlink("log", at("log-link"));
    fs::create_symlink("report", at("report-link"));
    EXPECT_EQ(reportOf({"-i", "-d", "log-link", "-o", "report-link"}), "");
    EXPECT_EQ(test::readFile(at("report")), report());
    EXPECT_EQ(place_.log("log"), expected_.at("after/debug.log"));
}

TEST_F(PackageFolder, LogsToStandardErrorIfTheCallerNamesIt) {
    const test::Outcome outcome = run(place_.command({"-i", "-d", "/dev/stderr"}));
    EXPECT_EQ(outcome.output, report());
    EXPECT_EQ(test::maskLog(outcome.error), expected_.at("after/debug.log"));
}

TEST_F(PackageFolder, WaitsForTheReaderOfALogThatTheCallerNames) {
    makeFifo("log");
    auto outcome = std::async(std::launch::async, [this] { return reportOf({"-i", "-d", "log"}); });
    EXPECT_EQ(outcome.wait_for(std::chrono::seconds(2)), std::future_status::timeout);
    test::readFile(at("log"));  // opens the other end, and reads to the end
    EXPECT_EQ(outcome.get(), report());
}

}  // namespace
