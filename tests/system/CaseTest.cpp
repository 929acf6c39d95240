/**
 * Runs the cases named on the command line: whole runs of the program against hand-written texts.
 *
 * README.md in this folder describes the format of a case.
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

/** The content of each file, by its path from the working directory. */
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
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_directory()) {
            files[entry.path().lexically_relative(folder)] = test::readFile(entry.path());
        }
    }
    return files;
}

class CaseTest : public testing::Test {
public:
    explicit CaseTest(std::string name) : name_(std::move(name)) {}

    void TestBody() override {
        case_ = place_.takeCase(name_);
        const test::Outcome outcome = run(place_.command(linesOf(section("arguments"))));

        ASSERT_FALSE(outcome.timedOut);
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_EQ(outcome.exitStatus, std::stoi(section("status")));
        EXPECT_EQ(outcome.output, section("stdout"));
        EXPECT_EQ(place_.calls(), section("calls"));
        checkErrors(outcome.error);
        checkFiles();
    }

private:
    /** The content of a section; empty when the case does not have it. */
    std::string section(const std::string& name) const {
        const auto found = case_.find(name);
        return found == case_.end() ? "" : found->second;
    }

    /** The content of each section in this folder. */
    Files sectionsBelow(const std::string& folder) const {
        Files files;
        for (const auto& [name, content] : case_) {
            if (name.starts_with(folder)) {
                files[name.substr(folder.size())] = content;
            }
        }
        return files;
    }

    void checkErrors(const std::string& error) const {
        const std::vector<std::string> fragments = linesOf(section("stderr"));
        if (fragments.empty()) {
            EXPECT_EQ(error, "");
        }
        for (const std::string& fragment : fragments) {
            EXPECT_NE(error.find(fragment), std::string::npos) << fragment << "\nis not in\n" << error;
        }
    }

    /** The run leaves the input and the expected files, and nothing else. */
    void checkFiles() const {
        Files wanted = sectionsBelow("after/");
        wanted.merge(sectionsBelow("input/"));
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

    const std::string name_;
    test::Workplace place_;
    test::Case case_;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    for (const std::string& name : std::vector<std::string>(argv + 1, argv + argc)) {
        testing::RegisterTest("Case", name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [name]() -> testing::Test* { return new CaseTest(name); });
    }
    if (argc < 2) {
        std::cerr << "usage: " << argv[0] << " CASE...\n";
        return EXIT_FAILURE;
    }
    return RUN_ALL_TESTS();
}
