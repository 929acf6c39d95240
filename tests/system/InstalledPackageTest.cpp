/** The program as an update package carries it. */

#include "Workplace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const char* kBanner = "RVK_VERSION = 14.11.00 (BLD_001)";

/** Runs a tool to its end and returns what it prints; a failing tool fails the test. */
std::string outputOf(const std::vector<std::string>& arguments) {
    test::Command command;
    command.arguments = arguments;
    command.deadline = std::chrono::minutes(5);
    const test::Outcome outcome = run(command);
    EXPECT_EQ(outcome.exitStatus, 0) << arguments.front() << ":\n" << outcome.output << outcome.error;
    return outcome.output;
}

std::string dynamicSection(const fs::path& file) {
    return outputOf({READELF, "--dynamic", "--wide", file});
}

bool hasRunPath(const fs::path& file) {
    const std::string section = dynamicSection(file);
    return section.find("(RUNPATH)") != std::string::npos || section.find("(RPATH)") != std::string::npos;
}

class InstalledPackage : public testing::Test {
protected:
    InstalledPackage() {
        outputOf({CMAKE, "--install", BUILD_FOLDER, "--component", "package", "--prefix", package_.path()});
    }

    fs::path program() const { return package_ / "qrxupdate"; }

    test::TempDir package_;
};

TEST_F(InstalledPackage, HoldsOnlyProgramAndDescription) {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(package_.path())) {
        names.insert(entry.path().lexically_relative(package_.path()));
    }
    EXPECT_EQ(names, (std::set<std::string>{"package.xml", "qrxupdate"}));
}

TEST_F(InstalledPackage, HasNoRunPath) {
    EXPECT_TRUE(hasRunPath(test::program()))
        << "the build tree's own program finds the stand-in by its RUNPATH";
    EXPECT_FALSE(hasRunPath(program()));
}

TEST_F(InstalledPackage, NeedsPlatformLibraryByName) {
    EXPECT_NE(dynamicSection(program()).find("Shared library: [libvtek.so.0]"), std::string::npos);
}

TEST_F(InstalledPackage, FailsWithLoaderMessageWithoutPlatformLibrary) {
    test::Command command;
    command.arguments = {program(), "-i", "-d", "-o", "report.xml"};
    command.workingDirectory = package_.path();
    command.environment = {{"LD_LIBRARY_PATH", ""}};
    const test::Outcome outcome = run(command);
    EXPECT_EQ(outcome.exitStatus, 127);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error,
              program().string() +
                  ": error while loading shared libraries: libvtek.so.0: cannot open shared object "
                  "file: No such file or directory\n");
    EXPECT_FALSE(fs::exists(package_ / "report.xml"));
}

TEST_F(InstalledPackage, RunsWithLibraryThatLoaderFinds) {
    test::Workplace place;
    const test::Case expected = place.takeCase("inventory-success");
    test::Command command = place.command({"-i"});
    command.arguments.front() = program();
    EXPECT_EQ(run(command).output, expected.at("after/report.xml"));
    EXPECT_EQ(place.calls(), expected.at("calls"));
}

TEST_F(InstalledPackage, KeepsVersionBannerWhenStripped) {
    EXPECT_NE(test::readFile(program()).find(kBanner), std::string::npos);
    const fs::path stripped = package_ / "stripped";
    outputOf({STRIP, "-o", stripped, program()});
    EXPECT_NE(test::readFile(stripped).find(kBanner), std::string::npos);
}

/** A separate release build, linked against a library that is not the stand-in. */
TEST(ReleaseBuild, KeepsVersionBannerAndRunsWithGivenLibrary) {
    const fs::path build = fs::path(BUILD_FOLDER) / "tests/system/release";
    outputOf({CMAKE, "-G", CMAKE_GENERATOR, "-S", SOURCE_FOLDER, "-B", build, "-DCMAKE_BUILD_TYPE=Release",
              "-DBUILD_TESTING=OFF", "-DCMAKE_CXX_COMPILER=" CXX_COMPILER, "-DCMAKE_CXX_FLAGS=" CXX_FLAGS,
              "-DVTEK_LIBRARY=" SCRIPTED_LIBRARY});
    outputOf({CMAKE, "--build", build, "--target", "qrxupdate"});
    const test::TempDir package;
    outputOf({CMAKE, "--install", build, "--component", "package", "--strip", "--prefix", package.path()});

    const fs::path program = package / "qrxupdate";
    EXPECT_NE(test::readFile(program).find(kBanner), std::string::npos);
    EXPECT_EQ(outputOf({READELF, "--symbols", program}).find(".symtab"), std::string::npos)
        << "it is stripped";
    EXPECT_NE(dynamicSection(program).find("Shared library: [libvtek.so.0]"), std::string::npos);
    EXPECT_FALSE(hasRunPath(program));

    test::Workplace place;
    const test::Case expected = place.takeCase("inventory-success");
    test::Command command = place.command({"-i"});
    command.arguments.front() = program;
    EXPECT_EQ(run(command).output, expected.at("after/report.xml"));
}

/** The program of the build folder, in a folder with a file that the loader must not take for a library. */
TEST(BuiltProgram, LoadsNoLibraryFromWorkingDirectory) {
    const test::Workplace place;
    ASSERT_TRUE(hasRunPath(test::program()));
    test::writeFile(place.directory() / "libxml2.so.2", "not a library");
    const test::Outcome outcome = run(place.command({"-h"}));
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitStatus, 0);
}

}  // namespace
