#include "CommandTree.h"

namespace tools {
namespace {

bool isShown(const CLI::Option& option) {
    return !option.get_group().empty();
}

/** The tool, the group or the command that the parsed words lead to. */
const CLI::App& innermost(const CLI::App& app) {
    const std::vector<CLI::App*> parsed = app.get_subcommands();
    return parsed.empty() ? app : innermost(*parsed.back());
}

std::string namesOfCommands(const CLI::App& app) {
    std::string names;
    for (const CLI::App* command : commandsOf(app)) {
        names += (names.empty() ? "" : ", ") + command->get_name();
    }
    return names;
}

}  // namespace

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app) {
    return app.get_options(
        [](const CLI::Option* option) { return option->nonpositional() && isShown(*option); });
}

std::vector<const CLI::Option*> operandsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::vector<std::string> namesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::string valueOf(const CLI::Option& option) {
    const std::string type = option.get_items_expected_max() == 0 ? "" : option.get_type_name();
    return type.substr(0, type.find(':'));  // behind it stand the bounds of a number
}

std::string parseFailure(const CLI::App& tool, const CLI::ParseError& error) {
    const CLI::App& app = innermost(tool);
    if (error.get_name() != "RequiredError" || commandsOf(app).empty()) {
        return error.what();
    }
    const std::vector<std::string> words = app.remaining();
    const std::string choice = "; " + fullName(app) + " has " + namesOfCommands(app);
    return (words.empty() ? "no command" : "no such command: " + words.front()) + choice;
}

std::string fullName(const CLI::App& app) {
    const CLI::App* const parent = app.get_parent();
    return parent == nullptr ? app.get_name() : fullName(*parent) + " " + app.get_name();
}

}  // namespace tools
