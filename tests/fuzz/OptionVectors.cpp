// Parses NUL-separated arguments and compares the result with the table of options.

#include "CommandLineParser.h"
#include "CoutCapture.h"
#include "Harness.h"

namespace test {
namespace {

constexpr std::size_t kUsageSize = 381;

/** The meaning of the arguments, by the table of options. */
struct Meaning {
    std::string debugFile = "debug.log";
    std::string outputFile;
    bool force = false, debug = false, inventory = false, update = false, verify = false;
    std::size_t usages = 0;
    std::size_t next = 0;  // the first word not read yet
};

bool isPlainFlag(const std::string& word, Meaning& meaning) {
    bool* const flag = word == "-u"   ? &meaning.update
                       : word == "-i" ? &meaning.inventory
                       : word == "-f" ? &meaning.force
                       : word == "-v" ? &meaning.verify
                       : word == "-d" ? &meaning.debug
                                      : nullptr;
    if (flag != nullptr) {
        *flag = true;
    }
    return flag != nullptr;
}

/** Adds the meaning of the words from meaning.next on; returns the parser's result. */
int read(const std::vector<std::string>& words, Meaning& meaning) {
    if (words.empty()) {
        ++meaning.usages;
        return 0;
    }
    for (; meaning.next < words.size(); ++meaning.next) {
        const std::string& word = words[meaning.next];
        const bool isLast = meaning.next + 1 == words.size();
        if (word == "-h" || (word != "-o" && !isPlainFlag(word, meaning))) {
            ++meaning.usages;
            return word == "-h" ? 1 : 0;
        }
        if (word == "-o" && isLast) {
            ++meaning.next;
            ++meaning.usages;
            return 0;
        }
        if (word == "-o") {
            meaning.outputFile = words[++meaning.next];
        } else if (word == "-d" && !isLast && !words[meaning.next + 1].starts_with('-')) {
            meaning.debugFile = words[++meaning.next];
        }
    }
    return 1;
}

void requireSame(CCommandLineParser& parser, const Meaning& meaning, const CoutCapture& output) {
    require(parser.getDebugFilename() == meaning.debugFile, "the debug file's name");
    require(parser.getOutputFileName() == meaning.outputFile, "the report file's name");
    require(parser.isForceMode() == meaning.force, "-f");
    require(parser.isDebug() == meaning.debug, "-d");
    require(parser.isInventory() == meaning.inventory, "-i");
    require(parser.isUpdate() == meaning.update, "-u");
    require(parser.isVerify() == meaning.verify, "-v");
    require(output.text().size() == meaning.usages * kUsageSize, "complete usage texts");
}

}  // namespace

void examine(std::string_view input) {
    const std::vector<std::string> words = split(input, '\0');
    std::vector<std::string> storage = words;
    std::string program = "qrxupdate";
    std::vector<char*> arguments{program.data()};
    for (std::string& word : storage) {
        arguments.push_back(word.data());
    }
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);

    const CoutCapture output;
    Meaning meaning;
    CCommandLineParser parser;
    require(parser.parseCLI(count, arguments.data()) == read(words, meaning), "the result");
    requireSame(parser, meaning, output);
    require(parser.parseCLI(count, arguments.data()) == read(words, meaning), "the result of a second call");
    requireSame(parser, meaning, output);
    require(storage == words, "unchanged arguments");
}

}  // namespace test
