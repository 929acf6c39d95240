#include "common/Describe.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace tools {
namespace {

constexpr std::string_view kExitStatus = "Exit status: ";

/** The text with scdoc's markup characters escaped. */
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
std::string operandText(const OptionText& operand) {
    const std::string name = upper(operand.names.front()) + (operand.isRepeatable ? "..." : "");
    return operand.isRequired ? " " + name : " [" + name + "]";
}

std::string optionText(const OptionText& option) {
    std::string text;
    for (const std::string& name : option.names) {
        text += (text.empty() ? "*" : ", *") + name + "*";
    }
    return text + (option.value.empty() ? "" : " _" + escaped(option.value) + "_") + "\n\t" +
           sentence(option.help) + "\n\n";
}

/** Every command has --help; the page says so once, among the tool's options. */
bool isHelp(const OptionText& option) {
    return std::find(option.names.begin(), option.names.end(), "--help") != option.names.end();
}

std::string commandText(const CommandTree& command) {
    std::string title = "## " + command.fullName;
    std::string details;
    for (const OptionText& operand : command.operands) {
        title += operandText(operand);
        details.append("_").append(upper(operand.names.front())).append("_\n\t");
        details.append(sentence(operand.help)).append("\n\n");
    }
    for (const OptionText& option : command.options) {
        details += isHelp(option) ? "" : optionText(option);
    }
    return title + "\n\n" + sentence(command.summary) + "\n\n" + details +
           (command.footer.empty() ? "" : escaped(command.footer) + "\n\n");
}

std::string commandTexts(const CommandTree& tree) {
    std::string text;
    for (const CommandTree& command : tree.commands) {
        text += command.commands.empty() ? commandText(command) : commandTexts(command);
    }
    return text;
}

}  // namespace

std::string manualText(const CommandTree& tool) {
    std::string text = "# OPTIONS\n\n";
    for (const OptionText& option : tool.options) {
        text += optionText(option);
    }
    return text + "# COMMANDS\n\n" + commandTexts(tool) + "# EXIT STATUS\n\n" +
           escaped(std::string_view(tool.footer).substr(kExitStatus.size()));
}

}  // namespace tools
