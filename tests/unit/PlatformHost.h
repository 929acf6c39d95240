#pragma once

#include "LogText.h"
#include "Process.h"
#include "TempDir.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace test {

/**
 * A host of the platform's tests: files of its own in front of the machine's, a package folder with the
 * program that asks, and folders that the loader searches. Skips the test where the machine allows no mount
 * namespace.
 */
class PlatformHost : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(layer_);
        std::filesystem::create_directory(package_);
        std::filesystem::copy_file(QRX_PLATFORM_PROBE, package_ / "probe");
        const Outcome trial = run({{QRX_OVERLAY_ROOT, layer_.string(), "/bin/true"}});
        if (trial.exitStatus == 77) {
            GTEST_SKIP() << "skipped: needs root, or a mount namespace of a user: " << trial.error;
        }
        ASSERT_EQ(trial.exitStatus, 0) << trial.error;
    }

    /** Puts a file on the host; path without the leading slash. */
    void setFile(const std::string& path, std::string_view content) {
        makeFolderOf(layer_ / path);
        writeFile(layer_ / path, content);
    }

    void setLibrary(const std::string& path, const std::string& library) {
        makeFolderOf(layer_ / path);
        std::filesystem::copy_file(library, layer_ / path);
    }

    /** Puts a library where the loader finds it by its bare name. */
    void setAgentLibrary(const std::string& name, const std::string& library) {
        makeFolderOf(agent_ / name);
        std::filesystem::copy_file(library, agent_ / name);
        environment_["LD_LIBRARY_PATH"] = agent_.string();
    }

    /** What the host answers to uname. */
    void setSystemName(const std::string& name) {
        environment_["LD_PRELOAD"] = QRX_UNAME_LIBRARY;
        environment_["FAKE_SYSTEM"] = name;
        environment_["ASAN_OPTIONS"] = "verify_asan_link_order=0";
    }

    /** The answers to the operations, asked one after the other by one process. */
    std::vector<std::string> askAll(const std::vector<std::string>& operations) {
        Command command{{QRX_OVERLAY_ROOT, layer_.string(), (package_ / "probe").string(), logFile_.string()},
                        folder_.path(),
                        environment_};
        command.arguments.insert(command.arguments.end(), operations.begin(), operations.end());
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
        std::vector<std::string> answers;
        std::istringstream lines(outcome.output);
        for (std::string line; std::getline(lines, line);) {
            answers.push_back(line);
        }
        return answers;
    }

    std::string ask(const std::string& operation) {
        const std::vector<std::string> answers = askAll({operation});
        return answers.size() == 1 ? answers.front() : "not one answer";
    }

    /** What the last asking logged; every line is LinuxImpl's. */
    std::vector<std::string> log() const {
        std::vector<std::string> messages;
        for (const LogLine& line : parseLog(readFile(logFile_))) {
            EXPECT_EQ(line.source, "LinuxImpl");
            messages.push_back(line.message);
        }
        return messages;
    }

    static void makeFolderOf(const std::filesystem::path& file) {
        std::filesystem::create_directories(file.parent_path());
    }

    TempDir folder_;
    std::filesystem::path layer_ = folder_ / "layer";
    std::filesystem::path package_ = folder_ / "package";
    std::filesystem::path agent_ = folder_ / "agent";
    std::filesystem::path logFile_ = folder_ / "debug.log";
    std::map<std::string, std::string> environment_;
};

}  // namespace test
