/** package.xml in the shapes that a case cannot hold: huge, fetching, or not there at all. */

#include "LogText.h"
#include "TrapServer.h"
#include "Workplace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kHuge = 50'000'000;
constexpr std::chrono::seconds kLongEnough{3};  // for a program that does not wait

class PackageDescription : public testing::Test {
protected:
    void writePackage(const std::string& text) { test::writeFile(place_.directory() / "package.xml", text); }

    /** An inventory and an update of this package end like those of a malformed one. */
    void expectRefused(const std::string& package) {
        for (const auto& [option, name] :
             {std::pair{"-i", "package-malformed-inventory"}, std::pair{"-u", "package-malformed-update"}}) {
            test::Workplace place;
            const test::Case expected = place.takeCase(name);
            test::writeFile(place.directory() / "package.xml", package);
            const test::Outcome outcome = run(place.command({"-d", option, "-o", "report.xml"}));
            EXPECT_EQ(outcome.exitStatus, 0);
            EXPECT_EQ(test::readFile(place.directory() / "report.xml"), expected.at("after/report.xml"));
            EXPECT_EQ(place.log(), expected.at("after/debug.log"));
        }
    }

    void makeFifo(const std::string& name) {
        ASSERT_EQ(mkfifo((place_.directory() / name).c_str(), 0600), 0);
    }

    test::Workplace place_;
};

TEST_F(PackageDescription, Refuses50MegabytesOfJunk) {
    expectRefused(std::string(kHuge, 'x'));
}

TEST_F(PackageDescription, Refuses50MegabytesOfTextInOneElement) {
    expectRefused("<SoftwareComponent vendorVersion=\"1\"><Note>" + std::string(kHuge, 'x') +
                  "</Note></SoftwareComponent>");
}

TEST_F(PackageDescription, Refuses50MegabytesOfZeroBytes) {
    expectRefused(std::string(kHuge, '\0'));
}

/** A description that refers to files at `url` in every way that XML has. */
std::string fetchingPackage(const std::string& url) {
    return "<?xml version=\"1.0\"?>\n"
           "<!DOCTYPE SoftwareComponent SYSTEM \"" +
           url +
           "package.dtd\" [\n"
           "  <!ENTITY % parameters SYSTEM \"" +
           url +
           "parameters.ent\">\n"
           "  %parameters;\n"
           "  <!ENTITY text SYSTEM \"" +
           url +
           "text.xml\">\n"
           "]>\n"
           "<SoftwareComponent vendorVersion=\"1.40.200\" xmlns:xi=\"http://www.w3.org/2001/XInclude\">\n"
           "  <ComponentType value=\"FRMW\"/>\n"
           "  <SupportedDevices>\n"
           "    <Device componentID=\"25227\"><Display>&text;</Display></Device>\n"
           "  </SupportedDevices>\n"
           "  <xi:include href=\"" +
           url +
           "included.xml\"/>\n"
           "</SoftwareComponent>\n";
}

TEST_F(PackageDescription, FetchesNothingFromNetwork) {
    test::TrapServer server;
    const test::Case expected = place_.takeCase("both-in-one-file");
    writePackage(fetchingPackage(server.url()));
    const test::Outcome outcome = run(place_.command({"-i", "-u", "-o", "report.xml"}));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(test::readFile(place_.directory() / "report.xml"), expected.at("after/report.xml"));
    EXPECT_FALSE(server.wasAsked());
}

/** Opening a FIFO waits for its other end, which nobody opens: a program that reads one of these files does
 * not return. */
TEST_F(PackageDescription, ReadsNoOtherFile) {
    const test::Case expected = place_.takeCase("both-in-one-file");
    for (const char* name : {"package.dtd", "parameters.ent", "text.xml", "included.xml"}) {
        makeFifo(name);
    }
    writePackage(fetchingPackage(""));
    test::Command command = place_.command({"-i", "-u", "-o", "report.xml"});
    command.deadline = std::chrono::seconds(10);
    const test::Outcome outcome = run(command);
    EXPECT_FALSE(outcome.timedOut);
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(test::readFile(place_.directory() / "report.xml"), expected.at("after/report.xml"));
}

/** The two traps above catch a reader that fetches. */
TEST_F(PackageDescription, CatchesReaderThatFetches) {
    test::TrapServer server;
    writePackage(fetchingPackage(server.url()));
    test::Command command;
    command.arguments = {XMLLINT, "--noent", "--loaddtd", "package.xml"};
    command.workingDirectory = place_.directory();
    run(command);
    EXPECT_TRUE(server.wasAsked());

    makeFifo("package.dtd");
    writePackage(fetchingPackage(""));
    command.deadline = kLongEnough;
    EXPECT_TRUE(run(command).timedOut);
}

TEST_F(PackageDescription, FetchesNothingForInventoryOfLibrary) {
    test::TrapServer server;
    const fs::path script = place_.directory() / "library";
    test::writeFile(
        place_.directory() / "inventory.xml",
        "<!DOCTYPE SVMInventory SYSTEM \"" + server.url() + "a.dtd\" [<!ENTITY x SYSTEM \"" + server.url() +
            "x\">]><SVMInventory><Device componentID=\"25227\"><Application version=\"1.30.100\"/>"
            "<Note>&x;</Note></Device></SVMInventory>");
    test::writeFile(script, "inventory inventory.xml\n");
    place_.takeCase("both-in-one-file");
    place_.useScript(script);
    const test::Outcome outcome = run(place_.command({"-i"}));
    EXPECT_EQ(outcome.output, place_.readCase("inventory-success").at("after/report.xml"));
    EXPECT_FALSE(server.wasAsked());
}

TEST_F(PackageDescription, TakesFifoForMissingPackage) {
    const test::Case expected = place_.takeCase("package-missing-inventory");
    makeFifo("package.xml");
    test::Command command = place_.command({"-d", "-i"});
    command.deadline = std::chrono::seconds(10);
    const test::Outcome outcome = run(command);
    EXPECT_FALSE(outcome.timedOut);
    EXPECT_EQ(outcome.output, expected.at("after/report.xml"));
    EXPECT_EQ(place_.log(), expected.at("after/debug.log"));
}

/** The files that the package reader and the platform layer open by themselves. */
TEST_F(PackageDescription, NeverWaitsForFifoAsMarkerOrLog) {
    const test::Case expected = place_.takeCase("inventory-success");
    test::Command command = place_.command({"-i"});
    command.deadline = std::chrono::seconds(10);
    for (const std::string fifo : {"enabledebug.txt", "baseutils_DBG.log"}) {
        makeFifo(fifo);
        const test::Outcome outcome = run(command);
        EXPECT_FALSE(outcome.timedOut) << fifo;
        EXPECT_EQ(outcome.output, expected.at("after/report.xml")) << fifo;
        fs::remove(place_.directory() / "enabledebug.txt");
        test::writeFile(place_.directory() / "enabledebug.txt", "");
    }
}

TEST_F(PackageDescription, KeepsTargetsOfLinksNamedLikeMarkerLogs) {
    place_.takeCase("inventory-success");
    const fs::path target = place_.directory() / "target";
    const fs::path log = place_.directory() / "baseutils_DBG.log";
    test::writeFile(place_.directory() / "enabledebug.txt", "");
    test::writeFile(target, "kept");
    fs::create_symlink(target, log);
    EXPECT_EQ(run(place_.command({"-i"})).exitStatus, 0);
    EXPECT_EQ(test::readFile(target), "kept");
    fs::remove(log);
    fs::create_hard_link(target, log);
    EXPECT_EQ(run(place_.command({"-i"})).exitStatus, 0);
    EXPECT_EQ(test::readFile(target), "kept");
}

/** An inventory without a description, in a folder whose name getCurrentDirectory returns as another. */
class MissingPackage : public PackageDescription {
protected:
    std::string logFrom(const std::string& directory) const {
        return test::replaceAll(expected_.at("after/debug.log"), place_.directory().string() + "/",
                                directory);
    }

    const test::Case expected_ = place_.takeCase("package-missing-inventory");
};

TEST_F(MissingPackage, ReadsRemovedWorkingDirectoryAsRoot) {
    ASSERT_FALSE(fs::exists("/package.xml") || fs::exists("/enabledebug.txt"));
    const test::TempDir logs;
    test::Command command = place_.command({"-i", "-d", logs / "debug.log"});
    command.removeWorkingDirectory = true;
    const test::Outcome outcome = run(command);
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, expected_.at("after/report.xml"));
    EXPECT_EQ(test::maskLog(test::readFile(logs / "debug.log")), logFrom("/"));
}

TEST_F(MissingPackage, LogsTwoSlashesInRootDirectory) {
    ASSERT_FALSE(fs::exists("/package.xml") || fs::exists("/enabledebug.txt"));
    test::Command command = place_.command({"-i", "-d", place_.directory() / "debug.log"});
    command.workingDirectory = "/";
    EXPECT_EQ(run(command).exitStatus, 0);
    EXPECT_EQ(place_.log(), logFrom("//"));
}

}  // namespace
