#include "Vtekctl.h"
#include "chassis/Inventory.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"
#include "common/PrintJson.h"
#include "common/TextTable.h"

namespace vtekctl {
namespace {

constexpr const char* kSimulation = "SIMULATION: a stand-in for the platform's library, no real chassis";

/** Everything that `show` prints. */
struct State {
    std::string rootPath;
    std::int64_t current;
    std::optional<vtek::Generation> generation;
    std::vector<std::pair<std::string, std::string>> settings;
    std::vector<vtek::InventoryDevice> devices;
};

vtek::Result<State> readState(const Chassis& chassis) {
    VTEK_ASSIGN(const vtek::Root root, chassis.openRoot());
    VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Read));
    State state{root.path(), 0, {}, {}, {}};
    VTEK_ASSIGN(state.current, store.currentGeneration());
    VTEK_ASSIGN(state.generation, store.generation(state.current));
    VTEK_ASSIGN(const auto changed, store.settings());
    for (const auto& info : vtek::settingTable()) {
        state.settings.emplace_back(info.name, settingText(changed, info));
    }
    VTEK_TRY(vtek::Inventory(store.database()).forEach([&](const vtek::InventoryDevice& device) {
        state.devices.push_back(device);
    }));
    return state;
}

nlohmann::ordered_json orNull(const std::optional<std::string>& text) {
    return text ? nlohmann::ordered_json(*text) : nlohmann::ordered_json();
}

nlohmann::ordered_json toJson(const State& state) {
    nlohmann::ordered_json json{
        {"simulation", true}, {"root", state.rootPath}, {"generation", state.current}};
    if (state.generation) {
        json["firmware"] = {{"componentID", state.generation->componentId},
                            {"version", state.generation->version},
                            {"replacedVersion", state.generation->replacedVersion},
                            {"payloadDigest", state.generation->payloadDigest},
                            {"signer", state.generation->signer}};
    }
    for (const auto& [name, value] : state.settings) {
        json["settings"][name] = value;
    }
    json["inventory"] = nlohmann::ordered_json::array();
    for (const auto& device : state.devices) {
        nlohmann::ordered_json applications = nlohmann::ordered_json::array();
        for (const auto& application : device.applications) {
            applications.push_back({{"componentType", orNull(application.componentType)},
                                    {"version", orNull(application.version)},
                                    {"display", orNull(application.display)}});
        }
        json["inventory"].push_back({{"componentID", device.componentId},
                                     {"display", orNull(device.display)},
                                     {"applications", applications}});
    }
    return json;
}

void print(const Console& console, const State& state) {
    console.print(kSimulation);
    console.print("root: " + state.rootPath);
    std::string inForce = "generation in force: " + std::to_string(state.current);
    if (state.generation) {
        inForce += ", component " + state.generation->componentId + " version " + state.generation->version +
                   ", signed by " + state.generation->signer;
    }
    console.print(inForce);
    console.out << '\n';
    tools::TextTable settings({"SETTING", "VALUE"});
    for (const auto& [name, value] : state.settings) {
        settings.addRow({name, value});
    }
    tools::TextTable inventory({"COMPONENT", "VERSION", "TYPE", "DEVICE", "APPLICATION"});
    for (const auto& device : state.devices) {
        if (device.applications.empty()) {
            inventory.addRow({device.componentId, "", "", device.display.value_or(""), ""});
        }
        for (const auto& application : device.applications) {
            inventory.addRow({device.componentId, application.version.value_or(""),
                              application.componentType.value_or(""), device.display.value_or(""),
                              application.display.value_or("")});
        }
    }
    console.print(settings);
    console.out << '\n';
    console.print(inventory);
}

class ShowCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override { options.flag("--json", json_, "print JSON"); }

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const State state, readState(chassis()));
        if (json_) {
            tools::printJson(console.out, toJson(state));
        } else {
            print(console, state);
        }
        return ExitStatus::Success;
    }

private:
    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeShow(const Chassis& chassis) {
    return std::make_unique<ShowCommand>(chassis);
}

}  // namespace vtekctl
