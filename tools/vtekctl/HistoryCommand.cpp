#include "Vtekctl.h"
#include "chassis/Store.h"
#include "common/PrintJson.h"
#include "common/TextTable.h"

namespace vtekctl {
namespace {

class HistoryCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override { options.flag("--json", json_, "print JSON"); }

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Read));
        VTEK_ASSIGN(const auto entries, store.history());
        if (json_) {
            printAsJson(console, entries);
        } else {
            print(console, entries);
        }
        return ExitStatus::Success;
    }

private:
    static void printAsJson(const Console& console, const std::vector<vtek::HistoryEntry>& entries) {
        nlohmann::ordered_json json = nlohmann::ordered_json::array();
        for (const auto& entry : entries) {
            json.push_back({{"time", entry.time},
                            {"outcome", entry.outcome},
                            {"generation", entry.generation},
                            {"componentID", entry.componentId},
                            {"fromVersion", entry.fromVersion},
                            {"toVersion", entry.toVersion},
                            {"signer", entry.signer},
                            {"payloadDigest", entry.payloadDigest},
                            {"override", entry.override},
                            {"realUser", entry.realUser},
                            {"loginUser", entry.loginUser}});
        }
        tools::printJson(console.out, {{"history", json}});
    }

    static void print(const Console& console, const std::vector<vtek::HistoryEntry>& entries) {
        tools::TextTable table({"TIME", "OUTCOME", "GENERATION", "COMPONENT", "FROM", "TO", "OVERRIDE",
                                "USER", "LOGIN", "SIGNER"});
        for (const auto& entry : entries) {
            table.addRow({entry.time, entry.outcome, std::to_string(entry.generation), entry.componentId,
                          entry.fromVersion, entry.toVersion, entry.override ? "yes" : "no", entry.realUser,
                          entry.loginUser, entry.signer});
        }
        console.print(table);
    }

    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeHistory(const Chassis& chassis) {
    return std::make_unique<HistoryCommand>(chassis);
}

}  // namespace vtekctl
