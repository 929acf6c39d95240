#include "MemoryFile.h"
#include "PIEConfigInfo.h"
#include "Qrxinspect.h"
#include "XmlDocument.h"
#include "common/InputFile.h"
#include "common/PrintJson.h"
#include "common/TextTable.h"

namespace qrxinspect {
namespace {

/** The text of a configuration: its reader takes any XML, so the root element is checked before. */
vtek::Result<std::string> readConfiguration(const std::string& path) {
    VTEK_ASSIGN(std::string text, tools::readInput(path, ""));
    VTEK_ASSIGN(const XmlDocPtr document, parseDocumentOf(text, "PIEConfig"));
    return text;
}

/** The document, which the reader leaves to its caller. */
XmlDocPtr documentOf(CPIEConfigInfo& configuration) {
    const XPathObjectPtr root = configuration.GetNodeSet("/");
    return XmlDocPtr(root ? nodesOf(root)[0]->doc : nullptr);
}

void printPlugin(const Console& console, CPIEConfigInfo& configuration) {
    tools::TextTable table;
    table.addRow({"Command", configuration.GetInventoryCommand()});
    table.addRow({"Output file", configuration.GetInventoryCommandOutFileName()});
    table.addRow({"Time-out", std::to_string(configuration.GetInventoryTimeout())});
    console.print(table);
}

void printPluginAsJson(std::ostream& out, CPIEConfigInfo& configuration) {
    tools::printJson(out, {{"command", configuration.GetInventoryCommand()},
                           {"outputFile", configuration.GetInventoryCommandOutFileName()},
                           {"timeout", configuration.GetInventoryTimeout()}});
}

class PluginCommand : public tools::Command {
public:
    void define(Options& options) override {
        options.value("FILE", file_, "The plug-in configuration").required().takes("FILE");
        options.flag("--json", json_, "Print JSON");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        const vtek::Result<std::string> text = readConfiguration(file_);
        if (!text) {
            return tools::inputError(file_ + ": " + text.error().message);
        }
        const MemoryFile copy(*text);
        CPIEConfigInfo configuration;
        const bool found = configuration.Init(copy.path());
        const XmlDocPtr document = documentOf(configuration);
        if (!found) {
            console.report(file_ + ": names no inventory plug-in with a command and an output file");
            return ExitStatus::Failure;
        }
        json_ ? printPluginAsJson(console.out, configuration) : printPlugin(console, configuration);
        return ExitStatus::Success;
    }

private:
    std::string file_;
    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makePlugin() {
    return std::make_unique<PluginCommand>();
}

}  // namespace qrxinspect
