#include "InspectRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace test {
namespace {

/** The blocks of the document that show a console. */
std::vector<std::string> consoleBlocks(const std::string& document) {
    const std::string begin = "```console\n";
    std::vector<std::string> blocks;
    std::size_t position = 0;
    while ((position = document.find(begin, position)) != std::string::npos) {
        const std::size_t start = position + begin.size();
        position = document.find("```", start);
        blocks.push_back(document.substr(start, position - start));
    }
    return blocks;
}

std::string quoted(std::string text) {
    for (std::size_t i = 0; (i = text.find('\'', i)) != std::string::npos; i += 4) {
        text.replace(i, 1, "'\\''");
    }
    return "'" + text + "'";
}

/** A script that runs the block's commands, each after printing it as a console shows it. */
std::string scriptOf(const std::string& block) {
    std::istringstream lines(block);
    std::string script;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("$ ")) {
            script +=
                "printf '%s\\n' " + quoted(line) + "\n(exit $status); " + line.substr(2) + "\nstatus=$?\n";
        }
    }
    return "exec 2>&1\nstatus=0\n" + script;
}

/** The files that the document's commands name. */
void writeFilesOfTheDocument(const TempDir& folder) {
    writeFile(folder / "report.xml",
              report::inventory("25227", "1.30.100") + report::update("25227", "1.40.200", "0"));
    writeFile(folder / "damaged.xml", report::failedUpdate("R&D"));
    writeFile(folder / "chassis-1.xml", report::inventory("25227", "1.30.100"));
    writeFile(folder / "chassis-2.xml", report::failedUpdate("Signing the Payload failed"));
    writeFile(folder / "package.xml",
              "<SoftwareComponent vendorVersion=\"1\">\n"
              "<ComponentType value=\"FRMW\"/>\n"
              "<SupportedDevices>\n"
              "<Device><Display>A</Display></Device>\n"
              "<Device componentID=\"1\"><Display>B</Display></Device>\n"
              "<Device componentID=\"1\"><Display>C</Display></Device>\n"
              "</SupportedDevices></SoftwareComponent>\n");
}

TEST(InspectDocument, EveryCommandPrintsWhatTheDocumentShows) {
    const TempDir folder;
    writeFilesOfTheDocument(folder);
    const std::string path =
        std::filesystem::path(inspectProgram()).parent_path().string() + ":" + getenv("PATH");
    const std::vector<std::string> blocks = consoleBlocks(readFile(DOCUMENT));
    EXPECT_EQ(blocks.size(), 5u);
    for (const std::string& block : blocks) {
        const Outcome outcome = run({.arguments = {"/bin/sh", "-c", scriptOf(block)},
                                     .workingDirectory = folder.path(),
                                     .environment = {{"PATH", path}}});
        EXPECT_EQ(outcome.output, block);
    }
}

}  // namespace
}  // namespace test
