#include "Application.h"

#include "CommandTree.h"
#include "Describe.h"
#include "Printable.h"

#include <unistd.h>

#include <exception>
#include <iostream>
#include <map>

namespace tools {

namespace {

constexpr const char* kExitStatuses =
    "Exit status: 0 done; 1 refused or failed; 2 wrong command line, or a file that it names cannot be "
    "used;\n"
    "74 standard output could not be written. `run` ends as its command does.";

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
        Options options(*own);
        declared.back().command->define(options);
    }
    return declared;
}

int report(const vtek::Error& error) {
    const int number = static_cast<int>(error.number);
    std::cerr << "vtekctl: " << toPrintable(error.message) << " (error " << number << ")\n";
    std::cerr << "vtekctl: hint: " << vtek::errorInfo(error.number).remedy << '\n';
    return error.number == vtek::ErrorNumber::InvalidArgument ? kUsage : kRefused;
}

int dispatch(const std::vector<Declared>& declared, const Context& context) {
    for (const auto& [app, command] : declared) {
        if (app->parsed()) {
            const auto status = command->run(context);
            return status ? kDone : report(status.error());
        }
    }
    return kUsage;
}

/** Asking for help or the version ends the parsing as an error does. */
int answerParseError(const CLI::App& app, const CLI::ParseError& failure) {
    if (failure.get_exit_code() == 0) {
        app.exit(failure);
        return kDone;
    }
    std::cerr << "vtekctl: " << toPrintable(parseFailure(app, failure)) << " (see vtekctl --help)\n";
    return kUsage;
}

int parseAndRun(CLI::App& app, const Context& context, const std::vector<Declared>& declared, int argc,
                char** argv) {
    try {
        app.parse(argc, argv);
        return dispatch(declared, context);
    } catch (const CLI::ParseError& failure) {
        return answerParseError(app, failure);
    } catch (const std::exception& failure) {
        return report({vtek::ErrorNumber::Internal, failure.what()});
    }
}

}  // namespace

vtek::Result<vtek::Root> Context::openRoot() const {
    return vtek::Root::open(rootPath, geteuid());
}

int runApplication(int argc, char** argv) {
    CLI::App app("Administers the simulated platform library of a lab chassis.", "vtekctl");
    Context context{vtek::rootPathFromEnvironment()};
    app.add_option("--root", context.rootPath, "the root folder; else $VTEK_ROOT, else /var/lib/vtek")
        ->type_name("FOLDER");
    addDescribe(app);
    app.set_version_flag("--version", "vtekctl " QRX_VERSION);
    app.require_subcommand(1);
    app.footer(kExitStatuses);
    const auto declared = declareCommands(app);
    const int status = parseAndRun(app, context, declared, argc, argv);
    if (!std::cout.flush()) {
        std::cerr << "vtekctl: standard output could not be written\n";
        return kOutput;
    }
    return status;
}

}  // namespace tools
