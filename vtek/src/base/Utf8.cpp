#include "base/Utf8.h"

#include <array>

namespace vtek {
namespace {

std::uint32_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

}  // namespace

Utf8Character firstCharacter(std::string_view text) {
    const std::uint32_t lead = byteAt(text, 0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return {};
    }
    std::uint32_t code = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(text, i) & 0xC0u) != 0x80) {
            return {};
        }
        code = code << 6 | (byteAt(text, i) & 0x3Fu);
    }
    constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kSmallest[length] || surrogate || code > 0x10FFFF ? Utf8Character{}
                                                                    : Utf8Character{code, length};
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = firstCharacter(text).length;
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace vtek
