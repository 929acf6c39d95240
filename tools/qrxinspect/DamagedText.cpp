#include "DamagedText.h"

#include "base/Printable.h"

#include <algorithm>

namespace qrxinspect {
namespace {

constexpr std::size_t kShownBytes = std::size_t{64} * 1024;  // no real report is longer

}  // namespace

std::string damagedText(std::string_view text, std::string_view indent) {
    std::string shown;
    std::string_view rest = text.substr(0, kShownBytes);
    while (!rest.empty()) {
        const std::size_t length = std::min(rest.find('\n'), rest.size());
        shown.append(indent).append(vtek::toPrintable(rest.substr(0, length))) += '\n';
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    if (text.size() > kShownBytes) {
        shown.append(indent) += "... and " + std::to_string(text.size() - kShownBytes) + " bytes more\n";
    }
    return shown;
}

}  // namespace qrxinspect
