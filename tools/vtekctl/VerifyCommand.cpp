#include "Command.h"
#include "Plan.h"
#include "PrintJson.h"
#include "TextTable.h"
#include "base/File.h"
#include "install/PayloadCheck.h"
#include "payload/Payload.h"

#include <fcntl.h>

#include <ctime>
#include <filesystem>
#include <iostream>

namespace tools {

namespace {

using vtek::Status;

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
        json["remedy"] = vtek::errorInfo(step.error->number).remedy;
    }
    return json;
}

class VerifyCommand : public Command {
public:
    void define(Options& options) override {
        const Option payload =
            options.value("payload", payload_, "the payload; its folder holds package.xml").takes("FILE");
        options
            .value("--plan", package_,
                   "instead of a payload: a whole package's folder; tries every step of its update and "
                   "changes nothing")
            .excludes(payload)
            .takes("FOLDER");
        options.flag("--json", json_, "print JSON");
    }

    Status run(const Context& context) override {
        if (!package_.empty()) {
            return plan(context);
        }
        if (payload_.empty()) {
            return vtek::Error{vtek::ErrorNumber::InvalidArgument,
                               "name a payload, or a package with --plan"};
        }
        return verify(context);
    }

private:
    Status plan(const Context& context) const {
        const vtek::Result<vtek::Root> root = context.openRoot();
        const Plan plan = planUpdate(root, package_, std::time(nullptr));
        const PlanStep* failure = plan.firstFailure();
        if (json_) {
            nlohmann::ordered_json steps = nlohmann::ordered_json::array();
            for (const auto& step : plan.steps) {
                steps.push_back(toJson(step));
            }
            printJson(std::cout, {{"wouldSucceed", failure == nullptr}, {"steps", steps}});
        } else {
            TextTable table({"STEP", "OUTCOME", "FINDING"});
            for (const auto& step : plan.steps) {
                table.addRow({step.name, nameOf(step.outcome), step.finding});
            }
            std::cout << table
                      << (failure == nullptr ? "the update would succeed\n" : "the update would fail\n");
        }
        return failure == nullptr ? Status() : Status(*failure->error);
    }

    Status verify(const Context& context) const {
        const std::filesystem::path path(payload_);
        const std::string folderName = path.has_parent_path() ? path.parent_path().string() : ".";
        const vtek::UniqueFd folder = vtek::openAt(vtek::kWorkingFolder, folderName, O_RDONLY | O_DIRECTORY);
        if (!folder) {
            return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "open " + folderName);
        }
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Read));
        VTEK_ASSIGN(vtek::SignedFile payload, vtek::openPayload(folder.get(), path.filename().string()));
        VTEK_ASSIGN(const auto checked,
                    checkPayload(root, store, std::move(payload), folder.get(), std::time(nullptr)));
        print(checked);
        return {};
    }

    void print(const vtek::CheckedPayload& checked) const {
        const auto& [payload, signature, manifest, fit] = checked;
        const bool override = fit == vtek::Fit::ByOverride;
        if (json_) {
            printJson(std::cout, {{"componentID", manifest.componentId},
                                  {"version", manifest.version},
                                  {"chassisTypes", manifest.chassisTypes},
                                  {"signer", signature.signer},
                                  {"payloadDigest", signature.digest},
                                  {"override", override}});
            return;
        }
        std::cout << payload.name << " would be installed: component " << manifest.componentId << " version "
                  << manifest.version << ", signed by " << signature.signer
                  << (override ? ", below the version floor but allowed once" : "") << '\n';
    }

    std::string payload_;
    std::string package_;
    bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> makeVerify() {
    return std::make_unique<VerifyCommand>();
}

}  // namespace tools
