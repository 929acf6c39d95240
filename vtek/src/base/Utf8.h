#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vtek {

/** One character of a UTF-8 text; length 0 where the bytes are none. */
struct Utf8Character {
    std::uint32_t code = 0;
    std::size_t length = 0;  ///< bytes
};

/** The first character of a text that is not empty; refuses overlong forms, surrogates and what lies beyond.
 */
Utf8Character firstCharacter(std::string_view text);

/** Whether the whole text is UTF-8. */
bool isUtf8(std::string_view text);

}  // namespace vtek
