#pragma once

#include "base/Errors.h"

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vtek {

/** A failure: the number that getVTEKError returns, and one line for the log. */
struct Error {
    ErrorNumber number;
    std::string message;
    std::string remedy = {};  ///< how to fix it, where this failure needs other words than its number
};

/** How to fix a failure: its own remedy, else that of its number. */
std::string remedyOf(const Error& error);

/** A value, or the error that prevented it. */
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

    explicit operator bool() const { return content_.index() == 0; }

    T& operator*() { return std::get<0>(content_); }
    const T& operator*() const { return std::get<0>(content_); }
    T* operator->() { return &std::get<0>(content_); }
    const T* operator->() const { return &std::get<0>(content_); }

    const Error& error() const { return std::get<1>(content_); }

private:
    std::variant<T, Error> content_;
};

/** Success, or an error. */
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error) : error_(std::move(error)) {}

    explicit operator bool() const { return !error_; }
    const Error& error() const { return *error_; }

private:
    std::optional<Error> error_;
};

using Status = Result<void>;

/** Makes an error from errno: what was tried, then errno's text. An invalid argument gets a remedy that fits
 * errno. */
Error systemError(ErrorNumber number, const std::string& what);

/** Like systemError, for a change to the repository: NoSpace if disk or quota is full, else
 * RepositoryUnwritable. */
Error repositoryError(const std::string& what);

}  // namespace vtek

/** Returns from the function with the error if the Status is a failure. */
#define VTEK_TRY(expression)                         \
    do {                                             \
        if (auto status_ = (expression); !status_) { \
            return status_.error();                  \
        }                                            \
    } while (false)

#define VTEK_JOIN_(a, b) a##b
#define VTEK_JOIN(a, b) VTEK_JOIN_(a, b)
#define VTEK_ASSIGN_(holder, declaration, expression) \
    auto holder = (expression);                       \
    if (!holder) {                                    \
        return holder.error();                        \
    }                                                 \
    declaration = std::move(*holder)

/** Declares a variable with the value of a Result, or returns from the function with its error. */
#define VTEK_ASSIGN(declaration, expression) \
    VTEK_ASSIGN_(VTEK_JOIN(result_, __LINE__), declaration, expression)
