#include "Command.h"
#include "install/Repository.h"

#include <iostream>

namespace tools {

namespace {

class RollbackCommand : public Command {
public:
    void define(Options&) override {}

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(vtek::Repository repository, vtek::Repository::open(root));
        VTEK_ASSIGN(const vtek::Generation undone, repository.rollBack());
        std::cout << "component " << undone.componentId << " is back from " << undone.version << " to "
                  << undone.replacedVersion << '\n';
        return {};
    }
};

class RecoverCommand : public Command {
public:
    void define(Options&) override {}

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(const vtek::Repository repository, vtek::Repository::open(root));
        std::cout << "removed " << repository.recovered() << " leftovers\n";
        return {};
    }
};

}  // namespace

std::unique_ptr<Command> makeRollback() {
    return std::make_unique<RollbackCommand>();
}

std::unique_ptr<Command> makeRecover() {
    return std::make_unique<RecoverCommand>();
}

}  // namespace tools
