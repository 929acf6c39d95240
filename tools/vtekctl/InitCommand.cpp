#include "Vtekctl.h"
#include "chassis/Store.h"

#include <unistd.h>

namespace vtekctl {
namespace {

class InitCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options&) override {}

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const vtek::Root root, vtek::Root::create(chassis().rootPath, geteuid()));
        VTEK_TRY(vtek::Store::create(root));
        console.print("made the simulated chassis " + root.path());
        return ExitStatus::Success;
    }
};

}  // namespace

std::unique_ptr<tools::Command> makeInit(const Chassis& chassis) {
    return std::make_unique<InitCommand>(chassis);
}

}  // namespace vtekctl
