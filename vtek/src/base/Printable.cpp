#include "base/Printable.h"

#include "base/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace vtek {
namespace {

/** Whether a byte of valid UTF-8 begins a character. */
bool startsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0u) != 0x80;
}

bool between(std::uint32_t code, std::uint32_t first, std::uint32_t last) {
    return first <= code && code <= last;
}

/** Control characters, and the invisible ones that turn the direction, join or break lines. */
bool steers(std::uint32_t code) {
    return code < 0x20 || between(code, 0x7F, 0x9F) || code == 0x061C || between(code, 0x200B, 0x200F) ||
           between(code, 0x2028, 0x202E) || between(code, 0x2060, 0x206F) || code == 0xFEFF ||
           between(code, 0xE0000, 0xE007F);
}

std::string hexadecimal(const char* format, std::uint32_t value) {
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, static_cast<unsigned int>(value));
    return buffer.data();
}

std::string escaped(std::uint32_t code) {
    switch (code) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return hexadecimal(code < 0x80 ? "\\x%02x" : "\\u%04x", code);
    }
}

}  // namespace

std::string toPrintable(std::string_view text) {
    std::string printable;
    printable.reserve(text.size());
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        if (character.length == 0) {
            printable += hexadecimal("\\x%02x", static_cast<unsigned char>(text.front()));
            text.remove_prefix(1);
            continue;
        }
        if (steers(character.code)) {
            printable += escaped(character.code);
        } else {
            printable += text.substr(0, character.length);
        }
        text.remove_prefix(character.length);
    }
    return printable;
}

std::size_t columnsOf(std::string_view printable) {
    return static_cast<std::size_t>(std::count_if(printable.begin(), printable.end(), startsCharacter));
}

std::string firstColumns(std::string_view printable, std::size_t columns) {
    const auto end = std::find_if(printable.begin(), printable.end(),
                                  [&](char c) { return startsCharacter(c) && columns-- == 0; });
    return {printable.begin(), end};
}

}  // namespace vtek
