/**
 * Runs the cases named on the command line: whole runs of the program against hand-written texts.
 *
 * README.md in this folder says how a case is laid out.
 */

#include "LogText.h"
#include "Workplace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/** The content of each file below a folder, by its path from there. */
using Files = std::map<std::string, std::string>;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

Files filesBelow(const fs::path& folder) {
    Files files;
    if (!fs::exists(folder)) {
        return files;
    }
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_directory()) {
            files[entry.path().lexically_relative(folder)] = test::readFile(entry.path());
        }
    }
    return files;
}

class CaseTest : public testing::Test {
public:
    explicit CaseTest(fs::path folder) : folder_(std::move(folder)) {}

    void TestBody() override {
        place_.takeCase(folder_.filename());
        const test::Outcome outcome = run(place_.command(linesOf(expected(folder_ / "arguments"))));

        ASSERT_FALSE(outcome.timedOut);
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_EQ(outcome.exitStatus, std::stoi(test::readFile(folder_ / "expected/status")));
        EXPECT_EQ(outcome.output, expected(folder_ / "expected/stdout"));
        EXPECT_EQ(place_.calls(), expected(folder_ / "expected/calls"));
        checkErrors(outcome.error);
        checkFiles();
    }

private:
    /** The text of a file of the case, with the working directory in its place; empty when there is no such
     * file. */
    std::string expected(const fs::path& file) const { return fs::exists(file) ? place_.expected(file) : ""; }

    void checkErrors(const std::string& error) const {
        const std::vector<std::string> fragments = linesOf(expected(folder_ / "expected/stderr"));
        if (fragments.empty()) {
            EXPECT_EQ(error, "");
        }
        for (const std::string& fragment : fragments) {
            EXPECT_NE(error.find(fragment), std::string::npos) << fragment << "\nis not in\n" << error;
        }
    }

    /** The run leaves what it found and what it is expected to write, and nothing else. */
    void checkFiles() const {
        Files wanted = filesBelow(folder_ / "input");
        for (const auto& [name, content] : filesBelow(folder_ / "expected/after")) {
            wanted[name] = test::replaceAll(content, "@WORK@", place_.directory());
        }
        Files found = filesBelow(place_.directory());
        for (auto& [name, content] : found) {
            content = test::maskLog(content);
            EXPECT_TRUE(wanted.contains(name)) << "unexpected file " << name << ":\n" << content;
        }
        for (const auto& [name, content] : wanted) {
            EXPECT_TRUE(found.contains(name)) << "no file " << name;
            EXPECT_EQ(found[name], content) << "in the file " << name;
        }
    }

    const fs::path folder_;
    test::Workplace place_;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    for (const std::string& name : std::vector<std::string>(argv + 1, argv + argc)) {
        const fs::path folder = test::caseFolder(name);
        if (!fs::exists(folder / "arguments") || !fs::exists(folder / "expected/status")) {
            std::cerr << "not a case: " << folder << '\n';
            return EXIT_FAILURE;
        }
        testing::RegisterTest("Case", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [folder]() -> testing::Test* { return new CaseTest(folder); });
    }
    if (argc < 2) {
        std::cerr << "usage: " << argv[0] << " CASE...\n";
        return EXIT_FAILURE;
    }
    return RUN_ALL_TESTS();
}
