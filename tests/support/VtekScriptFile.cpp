#include "VtekScriptFile.h"

#include "TempDir.h"

#include <map>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

using Values = std::map<std::string, std::string>;

Values readValues(std::istream& in) {
    Values values;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t blank = line.find(' ');
        if (blank == std::string::npos ||
            !values.emplace(line.substr(0, blank), line.substr(blank + 1)).second) {
            throw std::runtime_error("no value, or a second one: " + line);
        }
    }
    return values;
}

void convert(const std::string& text, bool& value) {
    if (text != "true" && text != "false") {
        throw std::runtime_error("neither true nor false: " + text);
    }
    value = text == "true";
}

void convert(const std::string& text, int& value) {
    std::size_t used = 0;
    value = std::stoi(text, &used, 0);
    if (used != text.size()) {
        throw std::runtime_error("not a number: " + text);
    }
}

void convert(const std::string& text, unsigned char& value) {
    int number = 0;
    convert(text, number);
    if (number < 0 || number > 255) {
        throw std::runtime_error("not a byte: " + text);
    }
    value = static_cast<unsigned char>(number);
}

void convert(const std::string& text, std::string& value) {
    value = text;
}

void convert(const std::string& text, std::optional<std::array<unsigned char, 12>>& answer) {
    if (text == "none") {
        answer.reset();
        return;
    }
    std::istringstream in(text);
    for (unsigned char& byte : answer.emplace()) {
        std::string digits;
        in >> digits;
        convert("0x" + digits, byte);
    }
    if (std::string more; in >> more) {
        throw std::runtime_error("more than 12 bytes: " + text);
    }
}

/** Moves the value of `name`, if there is one, into `member`. */
template <typename Member>
void take(Values& values, const char* name, Member& member) {
    if (const auto entry = values.extract(name)) {
        convert(entry.mapped(), member);
    }
}

}  // namespace

VtekScript readVtekScript(const std::filesystem::path& file) {
    std::istringstream in(readFile(file));
    Values values = readValues(in);
    VtekScript script;
    take(values, "constructorThrows", script.constructorThrows);
    take(values, "successAfterConstruction", script.successAfterConstruction);
    take(values, "successAfterInit", script.successAfterInit);
    take(values, "kind", script.kind);
    take(values, "queryResult", script.queryResult);
    if (const auto entry = values.extract("inventory")) {
        script.inventory = readFile(file.parent_path() / entry.mapped());
    }
    take(values, "payloadSigned", script.payloadSigned);
    take(values, "payloadPath", script.payloadPath);
    take(values, "startCopyFile", script.startCopyFile);
    take(values, "addFile", script.addFile);
    take(values, "completeSignedUnzip", script.completeSignedUnzip);
    take(values, "endCopyFile", script.endCopyFile);
    take(values, "error", script.error);
    take(values, "ipmiCompletion", script.ipmiCompletion);
    take(values, "ipmiAnswer", script.ipmiAnswer);
    if (!values.empty()) {
        throw std::runtime_error(file.string() + ": unknown name " + values.begin()->first);
    }
    return script;
}

}  // namespace test
