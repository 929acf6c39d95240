#include "InspectRun.h"

#include <gtest/gtest.h>

namespace test {
namespace {

std::string configurationWith(const std::string& plugins) {
    return "<PIEConfig><Plugins>" + plugins + "</Plugins></PIEConfig>";
}

constexpr const char* kInventoryPlugin =
    R"(<Plugin description="Inventory" type="0" timeout="30s"><CliToFile><Command>qrxupdate -i -o inv.xml</Command>)"
    R"(<Output>inv.xml</Output></CliToFile></Plugin>)";

Outcome pluginIn(const std::string& configuration, std::vector<std::string> flags = {}) {
    const TempDir folder;
    writeFile(folder / "PIEConfig.xml", configuration);
    flags.insert(flags.begin(), {"plugin", "PIEConfig.xml"});
    return inspect(folder.path(), flags);
}

TEST(InspectPlugin, ShowsTheInventoryPlugin) {
    const Outcome outcome = pluginIn(configurationWith(kInventoryPlugin));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "Command      qrxupdate -i -o inv.xml\n"
              "Output file  inv.xml\n"
              "Time-out     30\n");
}

TEST(InspectPlugin, PrintsJsonThatProgramsRead) {
    const Outcome outcome = pluginIn(configurationWith(kInventoryPlugin), {"--json"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(nlohmann::json::parse(outcome.output),
              nlohmann::json::parse(
                  R"({"format":1,"command":"qrxupdate -i -o inv.xml","outputFile":"inv.xml","timeout":30})"));
}

TEST(InspectPlugin, ReportsAMissingPlugin) {
    const Outcome outcome =
        pluginIn(configurationWith(R"(<Plugin description="Update" type="1" timeout="1"/>)"));
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error,
              "qrxinspect: PIEConfig.xml: names no inventory plug-in with a command and an output file\n");
}

TEST(InspectPlugin, EscapesAHostileCommand) {
    const Outcome outcome = pluginIn(
        configurationWith("<Plugin description=\"Inventory\" type=\"0\" timeout=\"1\"><CliToFile>"
                          "<Command>a\nrm\u202e</Command><Output>\u009b2J</Output></CliToFile></Plugin>"));
    EXPECT_EQ(outcome.output,
              "Command      a\\nrm\\u202e\n"
              "Output file  \\u009b2J\n"
              "Time-out     1\n");
}

}  // namespace
}  // namespace test
