#include "PayloadRecipe.h"
#include "StagingFolder.h"
#include "Vtekctl.h"
#include "common/InputFile.h"
#include "payload/Payload.h"

namespace vtekctl {
namespace {

constexpr const char* kMade = "made";

class SignCommand : public tools::Command {
public:
    void define(Options& options) override {
        recipe_.define(options);
        recipe_.defineManifest(options);
        options.value("-o,--output", output_, "the payload to make, *.fwp; an existing one is replaced")
            .required()
            .takes("FILE");
        options
            .flag("--unsigned", unsigned_,
                  "make only the archive, to be signed elsewhere; the same command with --signature "
                  "then makes the payload")
            .excludes(options.named("--certificate"))
            .excludes(options.named("--signature"));
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        if (!unsigned_ && !output_.ends_with(vtek::kPayloadSuffix)) {
            return tools::inputError("'" + output_ + "' does not end in .fwp",
                                     "name the payload *.fwp: an update finds it by that");
        }
        VTEK_ASSIGN(const auto signingTime, sourceDateEpoch());
        VTEK_ASSIGN(const vtek::Manifest manifest, recipe_.manifestFor(recipe_.packageFile()));
        VTEK_ASSIGN(const StagingFolder staging, StagingFolder::nextTo(output_));
        VTEK_TRY(unsigned_ ? recipe_.makeArchive(staging.path(), kMade, manifest)
                           : recipe_.makePayload(staging.path(), kMade, manifest, signingTime));
        VTEK_TRY(publish(staging / kMade, output_, Existing::Replaced));
        console.print("made " + output_);
        return ExitStatus::Success;
    }

private:
    PayloadRecipe recipe_;
    std::string output_;
    bool unsigned_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeSign() {
    return std::make_unique<SignCommand>();
}

}  // namespace vtekctl
