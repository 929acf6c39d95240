#include "CommandTree.h"
#include "Describe.h"

#include <cctype>

namespace tools {
namespace {

constexpr std::string_view kExitStatus = "Exit status: ";

/** The text with what scdoc would take for its own signs escaped. */
std::string escaped(std::string_view text) {
    std::string plain;
    for (const char c : text) {
        if (c == '_' || c == '*' || c == '\\') {
            plain += '\\';
        }
        plain += c;
    }
    return plain;
}

std::string sentence(const std::string& text) {
    std::string whole = escaped(text);
    whole.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(whole.front())));
    return whole.ends_with('.') ? whole : whole + '.';
}

std::string upper(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

/** " CONTENT", " [NAME]", " FILE..." */
std::string operandText(const CLI::Option& operand) {
    std::string name = upper(operand.get_name(true));
    if (operand.get_items_expected_max() > 1) {
        name += "...";
    }
    return operand.get_required() ? " " + name : " [" + name + "]";
}

std::string optionText(const CLI::Option& option) {
    std::string text;
    for (const std::string& name : namesOf(option)) {
        text += (text.empty() ? "*" : ", *") + name + "*";
    }
    const std::string value = valueOf(option);
    return text + (value.empty() ? "" : " _" + escaped(value) + "_") + "\n\t" +
           sentence(option.get_description()) + "\n\n";
}

std::string commandText(const CLI::App& command) {
    std::string title = "## " + fullName(command);
    std::string details;
    for (const CLI::Option* operand : operandsOf(command)) {
        title += operandText(*operand);
        details +=
            "_" + upper(operand->get_name(true)) + "_\n\t" + sentence(operand->get_description()) + "\n\n";
    }
    for (const CLI::Option* option : optionsOf(command)) {
        if (option != command.get_help_ptr()) {
            details += optionText(*option);
        }
    }
    const std::string footer = command.get_footer();
    return title + "\n\n" + sentence(command.get_description()) + "\n\n" + details +
           (footer.empty() ? "" : escaped(footer) + "\n\n");
}

std::string commandTexts(const CLI::App& app) {
    std::string text;
    for (const CLI::App* command : commandsOf(app)) {
        text += commandsOf(*command).empty() ? commandText(*command) : commandTexts(*command);
    }
    return text;
}

}  // namespace

std::string manualText(const CLI::App& tool) {
    std::string text = "# OPTIONS\n\n";
    for (const CLI::Option* option : optionsOf(tool)) {
        text += optionText(*option);
    }
    text += "# COMMANDS\n\n" + commandTexts(tool);
    const std::string footer = tool.get_footer();
    return text + "# EXIT STATUS\n\n" + escaped(std::string_view(footer).substr(kExitStatus.size()));
}

}  // namespace tools
