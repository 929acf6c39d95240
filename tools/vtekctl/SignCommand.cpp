#include "Command.h"
#include "PayloadRecipe.h"
#include "Workshop.h"

#include <iostream>

namespace tools {

namespace {

constexpr const char* kMade = "made";

class SignCommand : public Command {
public:
    void define(Options& options) override {
        recipe_.define(options);
        recipe_.defineManifest(options);
        options.value("-o,--output", output_, "the payload to make, *.fwp; replaced when it is there")
            .required()
            .takes("FILE");
        options
            .flag("--unsigned", unsigned_,
                  "make the archive alone, to be signed elsewhere; the same line with --signature then "
                  "makes the payload")
            .excludes(options.named("--certificate"))
            .excludes(options.named("--signature"));
    }

    vtek::Status run(const Context&) override {
        VTEK_ASSIGN(const auto signingTime, sourceDateEpoch());
        VTEK_ASSIGN(const vtek::Manifest manifest, recipe_.manifestFor(recipe_.packageFile()));
        VTEK_ASSIGN(const Workshop workshop, Workshop::beside(output_));
        VTEK_TRY(unsigned_ ? recipe_.makeArchive(workshop.path(), kMade, manifest)
                           : recipe_.makePayload(workshop.path(), kMade, manifest, signingTime));
        VTEK_TRY(publish(workshop / kMade, output_, Existing::Replaced));
        std::cout << "made " << output_ << '\n';
        return {};
    }

private:
    PayloadRecipe recipe_;
    std::string output_;
    bool unsigned_ = false;
};

}  // namespace

std::unique_ptr<Command> makeSign() {
    return std::make_unique<SignCommand>();
}

}  // namespace tools
