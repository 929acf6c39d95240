#include "common/PrintJson.h"

namespace tools {

void printJson(std::ostream& out, const nlohmann::ordered_json& members) {
    nlohmann::ordered_json document{{"format", kJsonFormat}};
    document.update(members);
    constexpr int kIndent = 2;
    constexpr bool kAsciiOnly = true;
    out << document.dump(kIndent, ' ', kAsciiOnly, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace tools
