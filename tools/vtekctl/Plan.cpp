#include "Plan.h"

#include "authoring/PackageDescription.h"
#include "chassis/Inventory.h"
#include "install/PayloadCheck.h"
#include "install/Repository.h"
#include "install/Update.h"
#include "ipmi/Ipmi.h"
#include "payload/Payload.h"
#include <vtek/permission.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace vtekctl {
namespace {

namespace permission = vtek::permission;
using vtek::Error;
using vtek::ErrorNumber;
using vtek::Result;
using vtek::Status;

constexpr const char* kDestination = "Chassis/";  // where the program puts the payload in a generation

/** Discards everything that is unpacked. */
class Nowhere : public vtek::UnpackTarget {
public:
    bool makeFolders(const std::string&) override { return true; }
    vtek::UniqueFd createFile(const std::string&) override {
        return vtek::openAt(vtek::kWorkingFolder, "/dev/null", O_WRONLY);
    }
};

/** Tries the steps in order; each uses the results of the earlier ones. */
class Planner {
public:
    Planner(const Result<vtek::Root>& root, const std::string& folder, std::time_t now)
        : root_(root), folderName_(folder), now_(now) {}

    Plan run() {
        for (const Step& step : kSteps) {
            plan_.steps.push_back(attempt(step));
        }
        return std::move(plan_);
    }

private:
    struct Step {
        const char* name;
        std::vector<std::string_view> needs;  ///< the steps that must have passed
        Result<std::string> (Planner::*work)();
    };
    static const std::vector<Step> kSteps;

    PlanStep attempt(const Step& step) {
        const bool ready =
            std::all_of(step.needs.begin(), step.needs.end(), [&](auto name) { return hasPassed(name); });
        if (!ready) {
            return {step.name, PlanStep::Outcome::NotTried, {}, {}};
        }
        const auto found = (this->*step.work)();
        if (!found) {
            return {step.name, PlanStep::Outcome::Failed, found.error().message, found.error()};
        }
        return {step.name, PlanStep::Outcome::Passed, *found, {}};
    }

    bool hasPassed(std::string_view name) const {
        return std::any_of(plan_.steps.begin(), plan_.steps.end(), [&](const PlanStep& step) {
            return step.name == name && step.outcome == PlanStep::Outcome::Passed;
        });
    }

    Result<std::string> openChassis() {
        if (!root_) {
            return root_.error();
        }
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(*root_, vtek::Store::Mode::Read));
        VTEK_TRY(store.checkIntegrity());
        VTEK_ASSIGN(settings_, loadSettings(store));
        store_.emplace(std::move(store));
        return root_->path();
    }

    /** Like the program, takes every failure to answer as permission. */
    Result<std::string> askPermission() {
        _EsmIPMICmdIoctlReq block = permission::request();
        unsigned char* const message = block.bytes + permission::kMessageAt;
        const auto answer = exchange(vtek::Bytes(message, message + permission::kRequestLength));
        if (!answer) {
            return "no answer, which is permission: " + answer.error().message;
        }
        const std::uint8_t completion = vtek::storeResponse(*answer, message, permission::kAnswerLength);
        if (completion != 0) {
            return "completion code " + std::to_string(completion) + ", which is permission";
        }
        switch (permission::decide(completion, block)) {
            case permission::Decision::Allowed:
                break;
            case permission::Decision::RefusedByMode:
                return Error{ErrorNumber::UpdateNotPermitted,
                             "the chassis is not set to be managed at the server"};
            case permission::Decision::RefusedByFlag:
                return Error{ErrorNumber::UpdateNotPermitted,
                             "the chassis does not let servers update shared components"};
        }
        return std::string("permitted");
    }

    Result<vtek::Bytes> exchange(const vtek::Bytes& request) const {
        VTEK_ASSIGN(const auto transport, vtek::openIpmi(*settings_));
        return transport->exchange(static_cast<std::uint8_t>(SHARED_COMPONENT_UPDATE), request);
    }

    Result<std::string> checkRepository() {
        if (settings_->repositoryKind == NO_WYND) {
            return Error{ErrorNumber::RepositoryAbsent, "this chassis is set to have no repository"};
        }
        for (const char* name :
             {vtek::kStateFile, vtek::kLockFile, vtek::kStagingFolder, vtek::kRepositoryFolder, "."}) {
            // The first update makes the lock file; everything else is there, or an earlier step has failed.
            if (faccessat(root_->folder(), name, W_OK, AT_EACCESS) != 0 && errno != ENOENT) {
                return vtek::systemError(ErrorNumber::RepositoryUnwritable, std::string("write to ") + name);
            }
        }
        for (const char* name : {vtek::kStagingFolder, vtek::kRepositoryFolder}) {
            VTEK_ASSIGN(const auto folder, root_->openFolder(name, ErrorNumber::RepositoryUnwritable));
        }
        VTEK_TRY(root_->checkFile(vtek::kLockFile, vtek::Root::Presence::Optional,
                                  ErrorNumber::RepositoryUnwritable));
        return "kind " + std::to_string(settings_->repositoryKind);
    }

    Result<std::string> readPackage() {
        folder_ = vtek::openAt(vtek::kWorkingFolder, folderName_, O_RDONLY | O_DIRECTORY);
        if (!folder_) {
            return vtek::systemError(ErrorNumber::PackageUnreadable, "open " + folderName_);
        }
        VTEK_ASSIGN(package_, vtek::readPackageDescription(folder_.get(), "package.xml",
                                                           ErrorNumber::PackageUnreadable));
        return "component " + package_->componentId + " version " + package_->version;
    }

    Result<std::string> lookUpComponent() {
        VTEK_ASSIGN(const auto installed, vtek::Inventory(store_->database()).version(package_->componentId));
        if (!installed) {
            return Error{ErrorNumber::ComponentUnknown,
                         "the controller's inventory has no component " + package_->componentId};
        }
        return "version " + *installed + " is installed";
    }

    Result<std::string> findPayload() {
        VTEK_ASSIGN(payload_, vtek::findPayload(folder_.get()));
        payloadSize_ = payload_->size;
        return payload_->name + ", " + std::to_string(payloadSize_) + " bytes";
    }

    /** The library checks signature and policy in one call; the number of an error says which one failed. */
    Result<std::string> checkSignature() {
        checked_.emplace(checkPayload(*root_, *store_, std::move(*payload_), folder_.get(), now_));
        if (*checked_) {
            return "signed by " + (*checked_)->signature.signer;
        }
        const Error& error = (*checked_).error();
        // A payload that is too large is refused before its signature is read.
        if (error.number < ErrorNumber::ManifestInvalid || error.number == ErrorNumber::ArchiveTooLarge) {
            return error;
        }
        return std::string("holds");
    }

    Result<std::string> checkPolicy() {
        if (!*checked_) {
            return (*checked_).error();
        }
        const vtek::Manifest& manifest = (*checked_)->manifest;
        const std::string fit =
            (*checked_)->fit == vtek::Fit::ByOverride ? ", below the floor but allowed once" : "";
        return "component " + manifest.componentId + " version " + manifest.version + fit;
    }

    Result<std::string> unpack() {
        const vtek::CheckedPayload& checked = **checked_;
        const std::string destination = kDestination + checked.payload.name;
        VTEK_TRY(vtek::checkDestination(destination));
        Nowhere nowhere;
        vtek::Progress progress("unpack", checked.payload.signedLength);
        VTEK_ASSIGN(const auto content,
                    unpackChecked(checked, checked.payload.file.get(), nowhere, destination,
                                  settings_->unpack, [&](std::uint64_t bytes) { progress.add(bytes); }));
        unpackedBytes_ = content.bytes;
        return std::to_string(content.files) + " files, " + std::to_string(content.bytes) + " bytes";
    }

    Result<std::string> checkSpace() {
        const std::uint64_t bytes = std::max(vtek::spaceToStart(payloadSize_), payloadSize_ + unpackedBytes_);
        VTEK_TRY(vtek::requireSpace(*root_, bytes));
        return std::to_string(bytes) + " bytes are needed, and free";
    }

    const Result<vtek::Root>& root_;
    const std::string& folderName_;
    std::time_t now_;
    Plan plan_;

    std::optional<vtek::Settings> settings_;
    std::optional<vtek::Store> store_;
    vtek::UniqueFd folder_;
    std::optional<vtek::PackageDescription> package_;
    std::optional<vtek::SignedFile> payload_;
    std::uint64_t payloadSize_ = 0;
    std::optional<Result<vtek::CheckedPayload>> checked_;
    std::uint64_t unpackedBytes_ = 0;
};

const std::vector<Planner::Step> Planner::kSteps{
    {"chassis", {}, &Planner::openChassis},
    {"permission", {"chassis"}, &Planner::askPermission},
    {"repository", {"chassis"}, &Planner::checkRepository},
    {"package", {}, &Planner::readPackage},
    {"inventory", {"chassis", "package"}, &Planner::lookUpComponent},
    {"payload", {"package"}, &Planner::findPayload},
    {"signature", {"chassis", "payload"}, &Planner::checkSignature},
    {"policy", {"signature"}, &Planner::checkPolicy},
    {"unpack", {"policy"}, &Planner::unpack},
    {"space", {"repository", "payload"}, &Planner::checkSpace},
};

}  // namespace

const PlanStep* Plan::firstFailure() const {
    const auto failed = std::find_if(steps.begin(), steps.end(), [](const PlanStep& step) {
        return step.outcome == PlanStep::Outcome::Failed;
    });
    return failed == steps.end() ? nullptr : &*failed;
}

Plan planUpdate(const Result<vtek::Root>& root, const std::string& folder, std::time_t now) {
    return Planner(root, folder, now).run();
}

}  // namespace vtekctl
