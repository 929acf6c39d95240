// Takes a completion value and twelve bytes of an answer, and compares the decision with the meaning of the
// answer.

#include "Harness.h"
#include "QRXInventory.h"
#include "VtekDouble.h"

#include <algorithm>
#include <cstdio>

namespace test {
namespace {

constexpr std::size_t kModeAt = 10;
constexpr std::size_t kFlagAt = 11;
constexpr std::size_t kAnswerSize = 12;

using Answer = std::array<unsigned char, kAnswerSize>;

int permission(unsigned char completion, const Answer& answer) {
    if (completion != 0 || (answer[kModeAt] == 2 && answer[kFlagAt] == 1)) {
        return 0;
    }
    return answer[kModeAt] == 2 ? 3 : 4;
}

std::string dump(const Answer& answer) {
    std::string text;
    for (const unsigned byte : answer) {
        std::array<char, 6> group{};
        std::snprintf(group.data(), group.size(), " 0x%02x", byte);
        text += group.data();
    }
    return text;
}

std::vector<std::string> libraryLog(unsigned char completion, const Answer& answer) {
    const std::string returned = "isQRXResetAllowed():: bRetVal = ";
    std::vector<std::string> lines{
        "Entered in isQRXResetAllowed()",
        " isQRXResetAllowed()::IPMIRequest[" + dump(answer) + "]",
        completion < returned.size() ? returned.substr(completion) : "",
        completion == 0 ? "isQRXResetAllowed()::IPMI command returns succes"
                        : "isQRXResetAllowed()::IPMI command does not return succes",
    };
    if (completion == 0 && permission(completion, answer) == 0) {
        lines.emplace_back("isQRXResetAllowed():: PM status is ");
    }
    return lines;
}

}  // namespace

void examine(std::string_view input) {
    workingFolder();
    VtekDouble library;
    // Made once and never deleted: as in the program, parts of it live until the process exits.
    static CQRXInventory* const inventory = new CQRXInventory;

    library.script.ipmiCompletion = input.empty() ? 0 : static_cast<unsigned char>(input.front());
    input.remove_prefix(std::min<std::size_t>(input.size(), 1));
    Answer answer{};
    std::copy_n(input.begin(), std::min(input.size(), kAnswerSize), answer.begin());
    library.script.ipmiAnswer = answer;

    require(inventory->isQRXResetAllowed() == permission(library.script.ipmiCompletion, answer),
            "the permission");
    require(library.libraryLogMessages() == libraryLog(library.script.ipmiCompletion, answer),
            "the library's log");
}

}  // namespace test
