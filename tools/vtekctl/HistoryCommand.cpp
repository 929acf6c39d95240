#include "Command.h"
#include "PrintJson.h"
#include "TextTable.h"

#include <iostream>

namespace tools {

namespace {

class HistoryCommand : public Command {
public:
    void define(Options& options) override { options.flag("--json", json_, "print JSON"); }

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Read));
        VTEK_ASSIGN(const auto entries, store.history());
        if (json_) {
            printAsJson(entries);
        } else {
            print(entries);
        }
        return {};
    }

private:
    static void printAsJson(const std::vector<vtek::HistoryEntry>& entries) {
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
        printJson(std::cout, json);
    }

    static void print(const std::vector<vtek::HistoryEntry>& entries) {
        TextTable table({"TIME", "OUTCOME", "GENERATION", "COMPONENT", "FROM", "TO", "OVERRIDE", "USER",
                         "LOGIN", "SIGNER"});
        for (const auto& entry : entries) {
            table.addRow({entry.time, entry.outcome, std::to_string(entry.generation), entry.componentId,
                          entry.fromVersion, entry.toVersion, entry.override ? "yes" : "no", entry.realUser,
                          entry.loginUser, entry.signer});
        }
        std::cout << table;
    }

    bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> makeHistory() {
    return std::make_unique<HistoryCommand>();
}

}  // namespace tools
