#include "Commands.h"
#include "InputFile.h"
#include "Json.h"
#include "MemoryFile.h"
#include "PIEConfigInfo.h"
#include "TextTable.h"
#include "XmlDocument.h"

namespace tools {
namespace {

/** The text of the configuration, once it is known to be one. */
Result<std::string> readConfiguration(const std::string& path) {
    Result<std::string> text = readInput(path);
    if (!text) {
        return text;
    }
    const Result<XmlDocPtr> document = parseDocumentOf(*text, "PIEConfig");
    if (!document) {
        return document.problem();
    }
    return text;
}

void printPlugin(std::ostream& out, CPIEConfigInfo& configuration) {
    TextTable table;
    table.addRow({"Command", configuration.GetInventoryCommand()});
    table.addRow({"Output file", configuration.GetInventoryCommandOutFileName()});
    table.addRow({"Time-out", std::to_string(configuration.GetInventoryTimeout())});
    out << table;
}

void printPluginAsJson(std::ostream& out, CPIEConfigInfo& configuration) {
    printJson(out, {{"command", configuration.GetInventoryCommand()},
                    {"outputFile", configuration.GetInventoryCommandOutFileName()},
                    {"timeout", configuration.GetInventoryTimeout()}});
}

}  // namespace

ExitStatus runPlugin(const Arguments& arguments, const Console& console) {
    const std::string& path = arguments.operands.front();
    const Result<std::string> text = readConfiguration(path);
    if (!text) {
        console.tell(path + ": " + text.problem().message);
        return ExitStatus::BadInput;
    }
    const MemoryFile file(*text);
    CPIEConfigInfo configuration;
    if (!configuration.Init(file.path())) {
        console.tell(path + ": names no inventory plug-in with a command and an output file");
        return ExitStatus::Finding;
    }
    arguments.json ? printPluginAsJson(console.out, configuration) : printPlugin(console.out, configuration);
    return ExitStatus::Success;
}

}  // namespace tools
