#include "KnownMessages.h"

#include <PageParts.h>  // made from page/ and the administrator's guide by the build

#include <algorithm>
#include <sstream>

namespace qrxinspect {
namespace {

constexpr std::string_view kCellEnd = " |";
/** The guide names the tool behind a message that is not the program's own. */
constexpr std::string_view kOfThisTool = " from qrxinspect";

/** Takes the next cell from a row of a Markdown table, without its quotes. */
std::string takeCell(std::string_view& row) {
    const std::size_t end = row.find(kCellEnd);
    std::string cell(row.substr(1, end - 1));  // behind the blank
    row.remove_prefix(end + kCellEnd.size());
    std::erase(cell, '`');
    return cell;
}

KnownMessage messageIn(std::string_view row) {
    KnownMessage message;
    row.remove_prefix(1);  // the line at the left
    message.text = takeCell(row);
    if (message.text.ends_with(kOfThisTool)) {
        message.text.resize(message.text.size() - kOfThisTool.size());
    }
    message.cause = takeCell(row);
    message.cure = takeCell(row);
    return message;
}

std::vector<KnownMessage> readMessages() {
    std::vector<KnownMessage> messages;
    std::istringstream rows(kMessageRows);
    for (std::string row; std::getline(rows, row);) {
        messages.push_back(messageIn(row));
    }
    return messages;
}

}  // namespace

const std::vector<KnownMessage>& knownMessages() {
    static const std::vector<KnownMessage> messages = readMessages();
    return messages;
}

std::size_t placeOf(std::string_view message) {
    const std::vector<KnownMessage>& messages = knownMessages();
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [&](const KnownMessage& known) { return known.text == message; });
    return static_cast<std::size_t>(found - messages.begin());
}

}  // namespace qrxinspect
