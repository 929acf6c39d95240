#include "Command.h"
#include "File.h"
#include "PayloadCheck.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>

#include <ctime>
#include <filesystem>
#include <iostream>

namespace tools {

namespace {

using vtek::Status;

class VerifyCommand : public Command {
public:
    void define(CLI::App& app) override {
        app.add_option("payload", payload_, "the payload; its folder holds package.xml")->required();
        app.add_flag("--json", json_, "print JSON");
    }

    Status run(const Context& context) override {
        const std::filesystem::path path(payload_);
        const std::string folderName = path.has_parent_path() ? path.parent_path().string() : ".";
        const vtek::UniqueFd folder = vtek::openAt(vtek::kWorkingFolder, folderName, O_RDONLY | O_DIRECTORY);
        if (!folder) {
            return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "open " + folderName);
        }
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Read));
        VTEK_ASSIGN(vtek::Payload payload, vtek::openPayload(folder.get(), path.filename().string()));
        VTEK_ASSIGN(const auto checked,
                    checkPayload(root, store, std::move(payload), folder.get(), std::time(nullptr)));
        print(checked);
        return {};
    }

private:
    void print(const vtek::CheckedPayload& checked) const {
        const auto& [payload, signature, manifest, fit] = checked;
        const bool override = fit == vtek::Fit::ByOverride;
        if (json_) {
            std::cout << nlohmann::json{{"componentID", manifest.componentId},
                                        {"version", manifest.version},
                                        {"chassisTypes", manifest.chassisTypes},
                                        {"signer", signature.signer},
                                        {"payloadDigest", signature.digest},
                                        {"override", override}}
                             .dump(2)
                      << '\n';
            return;
        }
        std::cout << payload.name << " would be installed: component " << manifest.componentId << " version "
                  << manifest.version << ", signed by " << signature.signer
                  << (override ? ", below the version floor but allowed once" : "") << '\n';
    }

    std::string payload_;
    bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> makeVerify() {
    return std::make_unique<VerifyCommand>();
}

}  // namespace tools
