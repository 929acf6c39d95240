#include "BaseUtils.h"
#include "LinuxImpl.h"
#include "Qrxinspect.h"
#include "common/PrintJson.h"
#include "common/TextTable.h"

namespace qrxinspect {
namespace {

/** One fact about the host: its name in JSON, its name for people, and what was found. */
struct Fact {
    const char* key;
    const char* name;
    bool found;
};

std::vector<Fact> factsAbout(CLinuxImpl& platform) {
    return {{"esx", "ESX service console", platform.isESXSystem()},
            {"esxi", "ESXi", platform.isESXiSystem()},
            {"usbStorageBlacklisted", "USB storage blacklisted", platform.isUSBblacklistedusingConfFile()},
            {"hardwareLibrary", "Hardware library", platform.isTOLVInstalled()},
            {"agentHardwareLibrary", "Hardware library of an agent", platform.isKOBATOLVInstalled()}};
}

void printFactsAsJson(std::ostream& out, const std::vector<Fact>& facts) {
    nlohmann::ordered_json json;
    for (const Fact& fact : facts) {
        json[fact.key] = fact.found;
    }
    tools::printJson(out, json);
}

void printFacts(const Console& console, const std::vector<Fact>& facts) {
    tools::TextTable table;
    for (const Fact& fact : facts) {
        table.addRow({fact.name, fact.found ? "yes" : "no"});
    }
    console.print(table);
}

class HostCommand : public tools::Command {
public:
    void define(Options& options) override { options.flag("--json", json_, "Print JSON"); }

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_TRY(checkMarkerFile());
        CLinuxImpl platform;
        const std::vector<Fact> facts = factsAbout(platform);
        json_ ? printFactsAsJson(console.out, facts) : printFacts(console, facts);
        return ExitStatus::Success;
    }

private:
    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeHost() {
    return std::make_unique<HostCommand>();
}

}  // namespace qrxinspect
