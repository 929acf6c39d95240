#include "Command.h"

#include <unistd.h>

#include <iostream>

namespace tools {

namespace {

class InitCommand : public Command {
public:
    void define(Options&) override {}

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(const vtek::Root root, vtek::Root::create(context.rootPath, geteuid()));
        VTEK_TRY(vtek::Store::create(root));
        std::cout << "made the simulated chassis " << root.path() << '\n';
        return {};
    }
};

}  // namespace

std::unique_ptr<Command> makeInit() {
    return std::make_unique<InitCommand>();
}

}  // namespace tools
