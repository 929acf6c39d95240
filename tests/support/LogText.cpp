#include "LogText.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <stdexcept>

namespace test {
namespace {

constexpr std::string_view kStampShape = "[dddd-dd-ddTdd:dd:dd] : ";
constexpr std::string_view kMaskedStamp = "[yyyy-mm-ddThh:mm:ss] : ";
constexpr std::string_view kMaskedNumber = "nnnnn";

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool startsWithStamp(std::string_view line) {
    return line.size() >= kStampShape.size() &&
           std::equal(kStampShape.begin(), kStampShape.end(), line.begin(),
                      [](char shape, char c) { return shape == 'd' ? isDigit(c) : shape == c; });
}

/** The fields of an entry's first line, padding included. */
struct Fields {
    std::string_view source;
    std::string_view number;
    std::string_view message;
};

std::optional<Fields> split(std::string_view line) {
    if (!startsWithStamp(line)) {
        return std::nullopt;
    }
    line.remove_prefix(kStampShape.size());
    const std::size_t sourceEnd = line.find(':');
    const std::size_t numberEnd =
        line.find(": ", sourceEnd == std::string_view::npos ? sourceEnd : sourceEnd + 1);
    if (numberEnd == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view number = line.substr(sourceEnd + 1, numberEnd - sourceEnd - 1);
    const std::size_t digits = number.find_first_not_of(' ');
    if (number.size() < kMaskedNumber.size() || digits == std::string_view::npos ||
        !std::all_of(number.begin() + static_cast<std::ptrdiff_t>(digits), number.end(), isDigit)) {
        return std::nullopt;
    }
    return Fields{line.substr(0, sourceEnd), number, line.substr(numberEnd + 2)};
}

std::string_view withoutPadding(std::string_view field) {
    return field.substr(std::min(field.find_first_not_of(' '), field.size()));
}

/** Calls `use` for each line, without its newline; a last line without one counts too. */
template <typename Use>
void forEachLine(std::string_view text, Use use) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        use(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

}  // namespace

std::vector<LogLine> parseLog(std::string_view text) {
    std::vector<LogLine> entries;
    forEachLine(text, [&entries](std::string_view line) {
        if (const auto fields = split(line)) {
            entries.push_back({std::string(withoutPadding(fields->source)),
                               static_cast<unsigned>(std::stoul(std::string(withoutPadding(fields->number)))),
                               std::string(fields->message)});
        } else if (entries.empty()) {
            throw std::runtime_error("not an entry of a log: " + std::string(line));
        } else {
            entries.back().message.append("\n").append(line);
        }
    });
    return entries;
}

std::string maskLog(std::string_view text) {
    std::string masked;
    forEachLine(text, [&masked](std::string_view line) {
        if (const auto fields = split(line)) {
            masked.append(kMaskedStamp).append(fields->source).append(":");
            masked.append(fields->number.size() == kMaskedNumber.size() ? kMaskedNumber : fields->number);
            masked.append(": ").append(fields->message);
        } else {
            masked.append(line);
        }
        masked.append("\n");
    });
    if (!text.empty() && text.back() != '\n') {
        masked.pop_back();
    }
    return masked;
}

}  // namespace test
