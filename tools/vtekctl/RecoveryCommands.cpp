#include "Vtekctl.h"
#include "install/Repository.h"

namespace vtekctl {
namespace {

class RollbackCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options&) override {}

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(vtek::Repository repository, vtek::Repository::open(root));
        VTEK_ASSIGN(const vtek::Generation undone, repository.rollBack());
        console.print("component " + undone.componentId + " is back from " + undone.version + " to " +
                      undone.replacedVersion);
        return ExitStatus::Success;
    }
};

class RecoverCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options&) override {}

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(const vtek::Repository repository, vtek::Repository::open(root));
        console.out << "removed " << repository.recovered() << " leftovers\n";
        return ExitStatus::Success;
    }
};

}  // namespace

std::unique_ptr<tools::Command> makeRollback(const Chassis& chassis) {
    return std::make_unique<RollbackCommand>(chassis);
}

std::unique_ptr<tools::Command> makeRecover(const Chassis& chassis) {
    return std::make_unique<RecoverCommand>(chassis);
}

}  // namespace vtekctl
