#include "common/PrintJson.h"

namespace tools {

void printJson(std::ostream& out, const nlohmann::ordered_json& value) {
    constexpr int kIndent = 2;
    constexpr bool kAsciiOnly = true;
    out << value.dump(kIndent, ' ', kAsciiOnly, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace tools
