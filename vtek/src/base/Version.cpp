#include "base/Version.h"

#include <algorithm>

namespace vtek {

namespace {

// Not std::isdigit and std::isalpha: those depend on the locale.
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isSkipped(char c) {
    return !isDigit(c) && !isLetter(c) && std::string_view("-.~^").find(c) == std::string_view::npos;
}

/** Takes the longest prefix of such characters off a text. */
template <class Predicate>
std::string_view takeWhile(std::string_view& text, Predicate holds) {
    const auto end = std::find_if_not(text.begin(), text.end(), holds);
    const std::string_view prefix = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(prefix.size());
    return prefix;
}

/** Takes a separator off both texts; a text with it is lower than one without. */
std::weak_ordering takeSeparator(char separator, std::string_view& left, std::string_view& right) {
    const bool leftHas = left.starts_with(separator);
    const bool rightHas = right.starts_with(separator);
    if (leftHas && rightHas) {
        left.remove_prefix(1);
        right.remove_prefix(1);
    }
    return rightHas <=> leftHas;
}

/** Takes the leading numbers. No number is lower than any, even than 0. The numbers can have any length. */
std::weak_ordering takeNumber(std::string_view& left, std::string_view& right) {
    std::string_view leftNumber = takeWhile(left, isDigit);
    std::string_view rightNumber = takeWhile(right, isDigit);
    if (leftNumber.empty() != rightNumber.empty()) {
        return rightNumber.empty() <=> leftNumber.empty();
    }
    const auto isZero = [](char c) { return c == '0'; };
    takeWhile(leftNumber, isZero);
    takeWhile(rightNumber, isZero);
    const auto bySize = leftNumber.size() <=> rightNumber.size();
    return bySize != 0 ? bySize : leftNumber <=> rightNumber;
}

/** Takes the leading words, in ASCII's order; the start of a word is lower than the word. */
std::weak_ordering takeWord(std::string_view& left, std::string_view& right) {
    const std::string_view leftWord = takeWhile(left, isLetter);
    const std::string_view rightWord = takeWhile(right, isLetter);
    return leftWord <=> rightWord;
}

std::weak_ordering takePart(std::string_view& left, std::string_view& right) {
    const auto startsWithDigit = [](std::string_view text) { return !text.empty() && isDigit(text.front()); };
    return startsWithDigit(left) || startsWithDigit(right) ? takeNumber(left, right) : takeWord(left, right);
}

}  // namespace

std::weak_ordering operator<=>(Version left, Version right) {
    std::string_view leftRest = left.text_;
    std::string_view rightRest = right.text_;
    for (;;) {
        takeWhile(leftRest, isSkipped);
        takeWhile(rightRest, isSkipped);
        // Before the end of a text, and unlike the other separators: 2.0~rc1 is below 2.0.
        if (const auto order = takeSeparator('~', leftRest, rightRest); order != 0) {
            return order;
        }
        if (leftRest.empty() || rightRest.empty()) {
            return rightRest.empty() <=> leftRest.empty();
        }
        for (const char separator : {'-', '^', '.'}) {
            if (const auto order = takeSeparator(separator, leftRest, rightRest); order != 0) {
                return order;
            }
        }
        if (const auto order = takePart(leftRest, rightRest); order != 0) {
            return order;
        }
    }
}

}  // namespace vtek
