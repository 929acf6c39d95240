#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrxinspect {

/** A message that a report may hold, and what the administrator's guide says of it. */
struct KnownMessage {
    std::string text;
    std::string cause;
    std::string cure;
};

/** The messages in the order of the guide. */
const std::vector<KnownMessage>& knownMessages();

/** The place of this message in the list, or the list's size. */
std::size_t placeOf(std::string_view message);

}  // namespace qrxinspect
