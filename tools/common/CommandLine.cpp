#include "common/CommandLine.h"

#include "common/Describe.h"
#include "common/Suggestion.h"

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

/** "a", "a and b", "a, b and c" */
std::string enumerated(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 < words.size() ? ", " : " and ") + words[i];
    }
    return text;
}

std::string didYouMean(const std::string& typed, const std::vector<std::string>& words) {
    const std::string meant = similarWord(typed, words);
    return meant.empty() ? "" : ", did you mean " + meant + "?";
}

/** The first word that no parser has taken; empty if there is none. The parser's own list has another order.
 */
std::string firstUnknown(const CLI::App& tool, const std::vector<std::string>& typed) {
    const std::vector<std::string> unknown = tool.remaining(true);
    const auto first = std::find_first_of(typed.begin(), typed.end(), unknown.begin(), unknown.end());
    return first == typed.end() ? "" : *first;
}

/** For a missing or unknown command: those that exist. */
std::string commandProblem(const CLI::App& app, const std::string& unknown) {
    std::vector<std::string> names;
    for (const CLI::App* command : commandsOf(app)) {
        names.push_back(command->get_name());
    }
    const std::string problem =
        unknown.empty() ? "no command" : "no such command: " + unknown + didYouMean(unknown, names);
    return problem + (problem.ends_with('?') ? " " : "; ") + fullName(app) + " has " +
           CLI::detail::join(names, ", ");
}

/** All that is required and missing, not only what the parser has found first. */
std::string requirementProblem(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_required() && option->count() == 0) {
            names.push_back(namesOf(*option).back());
        }
    }
    return enumerated(names) + (names.size() == 1 ? " is required" : " are required");
}

/** The parser's words about what it does not know, and a similar option. */
std::string extrasProblem(const CLI::App& app, const CLI::ParseError& error, const std::string& unknown) {
    std::vector<std::string> names;
    for (const CLI::App* known = &app; known != nullptr; known = known->get_parent()) {
        for (const OptionText& option : treeOf(*known).options) {
            names.insert(names.end(), option.names.begin(), option.names.end());
        }
    }
    return error.what() + didYouMean(unknown, names);
}

std::string problemOf(const CLI::App& tool, const CLI::ParseError& error,
                      const std::vector<std::string>& typed) {
    const CLI::App& app = innermost(tool);
    const std::string unknown = firstUnknown(tool, typed);
    if (error.get_name() == "RequiredError") {
        return commandsOf(app).empty() ? requirementProblem(app) : commandProblem(app, unknown);
    }
    const bool isExtra = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    return isExtra ? extrasProblem(app, error, unknown) : error.what();
}

/** The words after the tool's name; `help add` becomes `add --help`. */
std::vector<std::string> wordsOf(int argc, const char* const* argv) {
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    return words;
}

}  // namespace

CommandLine::CommandLine(const Tool& tool) : app_(std::make_unique<CLI::App>(tool.description, tool.name)) {
    app_->require_subcommand(1);
    app_->fallthrough();  // the tool's own options may also stand after the command
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
    const std::vector<std::string> words = wordsOf(argc, argv);
    try {
        app_->parse(std::vector<std::string>(words.rbegin(), words.rend()));  // it takes the last one first
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) {
            return {.problem = problemOf(*app_, error, words)};
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
