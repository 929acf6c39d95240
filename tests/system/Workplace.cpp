#include "Workplace.h"

#include "LogText.h"

#include <cstdlib>
#include <iterator>
#include <sstream>

namespace test {
namespace {

constexpr const char* kCallsFile = "calls";
constexpr std::string_view kInput = "input/";

/** A line of the library's own log without the number of its source line. */
std::string maskCall(const std::string& line) {
    const std::size_t colon = line.find(':');
    const std::size_t end = line.find(") ");
    if (!line.starts_with("logWyndMsg(") || colon == std::string::npos || end == std::string::npos) {
        return line;
    }
    return line.substr(0, colon + 1) + "nnnnn" + line.substr(end);
}

/** The command that starts the program: the words of QRX_PROGRAM_WRAPPER, mostly none. */
std::vector<std::string> wrapper() {
    const char* const words = std::getenv("QRX_PROGRAM_WRAPPER");
    std::istringstream in(words == nullptr ? "" : words);
    return {std::istream_iterator<std::string>(in), {}};
}

}  // namespace

std::string replaceAll(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
    return text;
}

std::filesystem::path program() {
    return QRX_PROGRAM;
}

Workplace::Workplace() : directory_(folder_ / "work") {
    std::filesystem::create_directory(directory_);
}

Case Workplace::readCase(const std::string& name) const {
    Case sections = test::readCase(std::filesystem::path(QRX_CASES) / (name + ".txt"));
    for (auto& [section, content] : sections) {
        content = replaceAll(std::move(content), "@WORK@", directory_);
    }
    return sections;
}

Case Workplace::takeCase(const std::string& name) {
    Case sections = readCase(name);
    for (const auto& [section, content] : sections) {
        if (section.starts_with(kInput)) {
            const std::filesystem::path file = directory_ / section.substr(kInput.size());
            std::filesystem::create_directories(file.parent_path());
            writeFile(file, content);
        } else if (section == "library" || section == "inventory.xml") {
            writeFile(folder_ / section, content);
        }
    }
    if (sections.contains("library")) {
        useScript(folder_ / "library");
    }
    return sections;
}

std::string Workplace::log(const std::string& name) const {
    return maskLog(readFile(directory_ / name));
}

Command Workplace::command(const std::vector<std::string>& arguments) const {
    Command command;
    command.arguments = wrapper();
    command.arguments.push_back(program());
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    command.workingDirectory = directory_;
    command.environment = {{"LD_LIBRARY_PATH", QRX_SCRIPTED_LIBRARY},
                           {"VTEK_DOUBLE_CALLS", folder_ / kCallsFile}};
    if (!script_.empty()) {
        command.environment["VTEK_DOUBLE_SCRIPT"] = script_;
    }
    return command;
}

std::string Workplace::calls() const {
    if (!std::filesystem::exists(folder_ / kCallsFile)) {
        return {};
    }
    std::istringstream in(readFile(folder_ / kCallsFile));
    std::string masked;
    for (std::string line; std::getline(in, line);) {
        masked += maskCall(line) + '\n';
    }
    return masked;
}

}  // namespace test
