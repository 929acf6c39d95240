#include "CaseFile.h"

#include "TempDir.h"

#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace test {
namespace {

constexpr std::string_view kTitleStart = "-- ";
constexpr std::string_view kTitleEnd = " --\n";
constexpr std::string_view kNoNewline = "\\ No newline at end of file\n";

/** A case as its file says it. */
struct Text {
    std::string like;                  // the name of the other case; mostly empty
    std::vector<std::string> without;  // the other case's sections that this one does not have
    Case sections;                     // the case's own
};

/** The lines of a text, each with its newline, which the last one may lack. */
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size(); at += lines.back().size()) {
        const std::size_t end = text.find('\n', at);
        lines.push_back(text.substr(at, end == std::string::npos ? end : end + 1 - at));
    }
    return lines;
}

bool isTitle(const std::string& line) {
    return line.size() > kTitleStart.size() + kTitleEnd.size() && line.starts_with(kTitleStart) &&
           line.ends_with(kTitleEnd);
}

bool isSection(const std::string& name) {
    static const std::set<std::string> kNames = {"arguments", "library", "inventory.xml", "status",
                                                 "stdout",    "stderr",  "calls"};
    return kNames.contains(name) || name.starts_with("input/") || name.starts_with("after/");
}

/** Reads "like CASE", "without SECTION" or an empty line. */
void readHead(const std::string& line, Text& text) {
    std::istringstream words(line);
    std::string verb;
    std::string name;
    std::string more;
    words >> verb >> name >> more;
    if (verb == "like" && text.like.empty() && !name.empty() && more.empty()) {
        text.like = name;
    } else if (verb == "without" && !name.empty() && more.empty()) {
        text.without.push_back(name);
    } else if (!verb.empty()) {
        throw std::runtime_error("not a line of a case's head: " + line);
    }
}

Text parse(const std::string& content) {
    Text text;
    std::string* section = nullptr;  // the one that takes the next line
    for (const std::string& line : linesOf(content)) {
        if (isTitle(line)) {
            const std::string name =
                line.substr(kTitleStart.size(), line.size() - kTitleStart.size() - kTitleEnd.size());
            const auto [place, isNew] = text.sections.try_emplace(name);
            if (!isSection(name) || !isNew) {
                throw std::runtime_error("an unknown section, or a second one: " + name);
            }
            section = &place->second;
        } else if (text.sections.empty()) {
            readHead(line, text);
        } else if (section == nullptr) {
            throw std::runtime_error("a line after the end of a section: " + line);
        } else if (line == kNoNewline) {
            if (!section->ends_with('\n')) {
                throw std::runtime_error("a section without a line has no newline at its end anyway");
            }
            section->pop_back();
            section = nullptr;
        } else {
            *section += line;
        }
    }
    return text;
}

}  // namespace

Case readCase(const std::filesystem::path& file) try {
    Text text = parse(readFile(file));
    Case other;
    if (!text.like.empty()) {
        Text otherText = parse(readFile(file.parent_path() / (text.like + ".txt")));
        if (!otherText.like.empty()) {
            throw std::runtime_error(text.like + " is itself like another case");
        }
        other = std::move(otherText.sections);
    }
    for (const std::string& name : text.without) {
        if (text.sections.contains(name) || other.erase(name) == 0) {
            throw std::runtime_error("without a section that it has, or that the other case has not: " +
                                     name);
        }
    }
    for (const auto& [name, content] : text.sections) {
        if (const auto same = other.find(name); same != other.end() && same->second == content) {
            throw std::runtime_error("the same section as in the other case: " + name);
        }
    }
    text.sections.merge(other);
    if (!text.sections.contains("arguments") || !text.sections.contains("status")) {
        throw std::runtime_error("no arguments, or no status");
    }
    return text.sections;
} catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
}

}  // namespace test
