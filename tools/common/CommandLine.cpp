#include "common/CommandLine.h"

#include "common/Describe.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace tools {
namespace {

std::string fullName(const CLI::App& app) {
    const CLI::App* const parent = app.get_parent();
    return parent == nullptr ? app.get_name() : fullName(*parent) + " " + app.get_name();
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/** What an option takes; empty for a flag. */
std::string valueOf(const CLI::Option& option) {
    const std::string type = option.get_items_expected_max() == 0 ? "" : option.get_type_name();
    return type.substr(0, type.find(':'));  // the bounds of a number follow the colon
}

std::vector<std::string> namesOf(const CLI::Option& option) {
    if (option.get_positional()) {
        return {option.get_name(true)};
    }
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

OptionText textOf(const CLI::Option& option) {
    return {namesOf(option), valueOf(option), option.get_description(), option.get_required(),
            option.get_items_expected_max() > 1};
}

CommandTree treeOf(const CLI::App& app) {
    CommandTree tree{app.get_name(), fullName(app), app.get_description(), app.get_footer(), {}, {}, {}};
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            tree.operands.push_back(textOf(*option));
        } else if (!option->get_group().empty()) {  // hidden options have no group
            tree.options.push_back(textOf(*option));
        }
    }
    for (const CLI::App* command : commandsOf(app)) {
        tree.commands.push_back(treeOf(*command));
    }
    return tree;
}

/** The tool, the group or the command that the parsed words lead to. */
const CLI::App& innermost(const CLI::App& app) {
    const std::vector<CLI::App*> parsed = app.get_subcommands();
    return parsed.empty() ? app : innermost(*parsed.back());
}

/** The parser's words; for a missing or unknown command, those that exist. */
std::string problemOf(const CLI::App& tool, const CLI::ParseError& error) {
    const CLI::App& app = innermost(tool);
    if (error.get_name() != "RequiredError" || commandsOf(app).empty()) {
        return error.what();
    }
    std::string names;
    for (const CLI::App* command : commandsOf(app)) {
        names += (names.empty() ? "" : ", ") + command->get_name();
    }
    const std::vector<std::string> words = app.remaining();
    return (words.empty() ? "no command" : "no such command: " + words.front()) + "; " + fullName(app) +
           " has " + names;
}

}  // namespace

CommandLine::CommandLine(const Tool& tool) : app_(std::make_unique<CLI::App>(tool.description, tool.name)) {
    app_->require_subcommand(1);
    app_->footer(tool.exitStatuses);
    if (tool.define) {
        Options options(*app_);
        tool.define(options);
    }
    app_->set_version_flag("--version", std::string(tool.name) + " " + tool.version);
    addDescribe();
    for (const CommandInfo& info : tool.commands) {
        CLI::App& parent = *info.group == '\0' ? *app_ : groupNamed(tool, info.group);
        CLI::App* const app = parent.add_subcommand(info.name, info.summary);
        Options options(*app);
        info.command->define(options);
        commands_.emplace_back(app, info.command.get());
    }
}

CommandLine::~CommandLine() = default;

void CommandLine::addDescribe() {
    const auto describe = [this](const std::string& form) {
        // Like --version: the answer ends the parsing, whatever else the command line holds.
        throw CLI::CallForVersion(form == "bash" ? bashCompletion(tree()) : manualText(tree()),
                                  static_cast<int>(CLI::ExitCodes::Success));
    };
    app_->add_option_function<std::string>("--describe", describe, "bash or scdoc")
        ->check(CLI::IsMember({"bash", "scdoc"}))
        ->group("")
        ->trigger_on_parse();
}

/** The group's parser; made when its first command is. */
CLI::App& CommandLine::groupNamed(const Tool& tool, const std::string& name) {
    const std::vector<CLI::App*> made =
        app_->get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    if (!made.empty()) {
        return *made.front();
    }
    const auto info = std::find_if(tool.groups.begin(), tool.groups.end(),
                                   [&](const CommandGroup& group) { return group.name == name; });
    CLI::App* const group = app_->add_subcommand(info->name, info->summary);
    group->require_subcommand(1);
    return *group;
}

Request CommandLine::parse(int argc, const char* const* argv) {
    try {
        app_->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) {
            return {.problem = problemOf(*app_, error)};
        }
        // Asking for help or the version ends the parsing as an error does.
        std::ostringstream answer;
        app_->exit(error, answer, answer);
        return {.answer = answer.str()};
    }
    const auto chosen = std::find_if(commands_.begin(), commands_.end(),
                                     [](const auto& command) { return command.first->parsed(); });
    return {.command = chosen->second};
}

CommandTree CommandLine::tree() const {
    return treeOf(*app_);
}

}  // namespace tools
