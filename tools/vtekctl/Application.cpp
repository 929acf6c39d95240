#include "Application.h"

#include <unistd.h>

#include <exception>
#include <iostream>
#include <map>

namespace tools {

namespace {

/** A declared command that may turn out to be the chosen one. */
struct Declared {
    CLI::App* app;
    std::unique_ptr<Command> command;
};

std::vector<Declared> declareCommands(CLI::App& app) {
    std::map<std::string, CLI::App*> groups;
    std::vector<Declared> declared;
    for (const auto& info : commandTable()) {
        CLI::App* parent = &app;
        if (*info.group != '\0') {
            CLI::App*& group = groups[info.group];
            if (group == nullptr) {
                group = app.add_subcommand(info.group, std::string("the controller's ") + info.group);
                group->require_subcommand(1);
            }
            parent = group;
        }
        CLI::App* own = parent->add_subcommand(info.name, info.summary);
        declared.push_back({own, info.make()});
        declared.back().command->define(*own);
    }
    return declared;
}

int report(const vtek::Error& error) {
    const int number = static_cast<int>(error.number);
    std::cerr << "vtekctl: " << error.message << " (error " << number << ")\n";
    std::cerr << "vtekctl: to do: " << vtek::errorInfo(error.number).remedy << '\n';
    return error.number == vtek::ErrorNumber::InvalidArgument ? kUsage : kRefused;
}

int dispatch(const std::vector<Declared>& declared, const Context& context) {
    for (const auto& [app, command] : declared) {
        if (app->parsed()) {
            const auto status = command->run(context);
            std::cout.flush();
            return status ? kDone : report(status.error());
        }
    }
    return kUsage;
}

}  // namespace

vtek::Result<vtek::Root> Context::openRoot() const {
    return vtek::Root::open(rootPath, geteuid());
}

int runApplication(int argc, char** argv) {
    CLI::App app("Administers the simulated platform library of a lab chassis.", "vtekctl");
    Context context{vtek::rootPathFromEnvironment()};
    app.add_option("--root", context.rootPath, "the root folder; else $VTEK_ROOT, else /var/lib/vtek");
    app.set_version_flag("--version", "vtekctl " QRX_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 1 refused or failed, 2 wrong command line; `run` ends as its command does.");
    const auto declared = declareCommands(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        return app.exit(failure) == 0 ? kDone : kUsage;
    }
    try {
        return dispatch(declared, context);
    } catch (const std::exception& failure) {
        return report({vtek::ErrorNumber::Internal, failure.what()});
    }
}

}  // namespace tools
