#include "BaseUtils.h"
#include "Commands.h"
#include "Json.h"
#include "LinuxImpl.h"
#include "TextTable.h"

namespace tools {
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
    printJson(out, json);
}

void printFacts(std::ostream& out, const std::vector<Fact>& facts) {
    TextTable table;
    for (const Fact& fact : facts) {
        table.addRow({fact.name, fact.found ? "yes" : "no"});
    }
    out << table;
}

}  // namespace

ExitStatus runHost(const Arguments& arguments, const Console& console) {
    if (const std::optional<Problem> problem = checkMarkerFile()) {
        console.tell(problem->message);
        return ExitStatus::BadInput;
    }
    CLinuxImpl platform;
    const std::vector<Fact> facts = factsAbout(platform);
    arguments.json ? printFactsAsJson(console.out, facts) : printFacts(console.out, facts);
    return ExitStatus::Success;
}

}  // namespace tools
