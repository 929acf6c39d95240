#pragma once

#include <string>
#include <utility>
#include <variant>

namespace tools {

/** Why an input cannot be used: one line for the user. */
struct Problem {
    std::string message;
};

/** A value, or the reason why there is none. */
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Problem problem) : content_(std::in_place_index<1>, std::move(problem)) {}

    explicit operator bool() const { return content_.index() == 0; }

    T& operator*() { return std::get<0>(content_); }
    const T& operator*() const { return std::get<0>(content_); }
    const T* operator->() const { return &std::get<0>(content_); }

    const Problem& problem() const { return std::get<1>(content_); }

private:
    std::variant<T, Problem> content_;
};

}  // namespace tools
