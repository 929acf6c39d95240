#include <vtek/vtek.h>

#include <algorithm>

namespace {

constexpr const char* kWhiteSpace = " \t\n\v\f\r";

char toLowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

std::string CStringUtils::toLowerCase(const std::string& text) {
    std::string lower(text.size(), '\0');
    std::transform(text.begin(), text.end(), lower.begin(), toLowerAscii);
    return lower;
}

std::string CStringUtils::trim_string(const std::string& text) {
    const auto first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}
