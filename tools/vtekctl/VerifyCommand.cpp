#include "Plan.h"
#include "Vtekctl.h"
#include "base/File.h"
#include "chassis/Store.h"
#include "common/InputFile.h"
#include "common/PrintJson.h"
#include "common/TextTable.h"
#include "install/PayloadCheck.h"
#include "payload/Payload.h"

#include <fcntl.h>

#include <ctime>
#include <filesystem>

namespace vtekctl {
namespace {

const char* nameOf(PlanStep::Outcome outcome) {
    switch (outcome) {
        case PlanStep::Outcome::Passed:
            return "passed";
        case PlanStep::Outcome::Failed:
            return "failed";
        case PlanStep::Outcome::NotTried:
            break;
    }
    return "not tried";
}

nlohmann::ordered_json toJson(const PlanStep& step) {
    nlohmann::ordered_json json{
        {"step", step.name}, {"outcome", nameOf(step.outcome)}, {"finding", step.finding}};
    if (step.error) {
        json["error"] = step.error->number;
        json["remedy"] = remedyOf(*step.error);
    }
    return json;
}

class VerifyCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        const Option payload =
            options.value("payload", payload_, "the payload; its folder holds package.xml").takes("FILE");
        options
            .value("--plan", package_,
                   "instead of a payload: the folder of a whole package; tries every step of its update "
                   "and changes nothing")
            .excludes(payload)
            .takes("FOLDER");
        options.flag("--json", json_, "print JSON");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        if (!package_.empty()) {
            return plan(console);
        }
        if (payload_.empty()) {
            return tools::inputError("name a payload, or a package with --plan");
        }
        if (std::filesystem::is_directory(payload_)) {
            return vtek::Error{vtek::ErrorNumber::PayloadUnreadable, payload_ + " is a folder",
                               "try a whole package with `vtekctl verify --plan`"};
        }
        return verify(console);
    }

private:
    vtek::Result<ExitStatus> plan(const Console& console) const {
        const vtek::Result<vtek::Root> root = chassis().openRoot();
        const Plan plan = planUpdate(root, package_, std::time(nullptr));
        const PlanStep* failure = plan.firstFailure();
        if (json_) {
            nlohmann::ordered_json steps = nlohmann::ordered_json::array();
            for (const auto& step : plan.steps) {
                steps.push_back(toJson(step));
            }
            tools::printJson(console.out, {{"wouldSucceed", failure == nullptr}, {"steps", steps}});
        } else {
            tools::TextTable table({"STEP", "OUTCOME", "FINDING"});
            for (const auto& step : plan.steps) {
                table.addRow({step.name, nameOf(step.outcome), step.finding});
            }
            console.print(table);
            console.print(failure == nullptr ? "the update would succeed" : "the update would fail");
        }
        if (failure != nullptr) {
            return *failure->error;
        }
        return ExitStatus::Success;
    }

    vtek::Result<ExitStatus> verify(const Console& console) const {
        const std::filesystem::path path(payload_);
        const std::string folderName = path.has_parent_path() ? path.parent_path().string() : ".";
        const vtek::UniqueFd folder = vtek::openAt(vtek::kWorkingFolder, folderName, O_RDONLY | O_DIRECTORY);
        if (!folder) {
            return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "open " + folderName);
        }
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Read));
        VTEK_ASSIGN(vtek::SignedFile payload, vtek::openPayload(folder.get(), path.filename().string()));
        VTEK_ASSIGN(const auto checked,
                    checkPayload(root, store, std::move(payload), folder.get(), std::time(nullptr)));
        print(console, checked);
        return ExitStatus::Success;
    }

    void print(const Console& console, const vtek::CheckedPayload& checked) const {
        const auto& [payload, signature, manifest, fit] = checked;
        const bool override = fit == vtek::Fit::ByOverride;
        if (json_) {
            tools::printJson(console.out, {{"componentID", manifest.componentId},
                                           {"version", manifest.version},
                                           {"chassisTypes", manifest.chassisTypes},
                                           {"signer", signature.signer},
                                           {"payloadDigest", signature.digest},
                                           {"override", override}});
            return;
        }
        console.print(payload.name + " would be installed: component " + manifest.componentId + " version " +
                      manifest.version + ", signed by " + signature.signer +
                      (override ? ", below the version floor but allowed once" : ""));
    }

    std::string payload_;
    std::string package_;
    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeVerify(const Chassis& chassis) {
    return std::make_unique<VerifyCommand>(chassis);
}

}  // namespace vtekctl
