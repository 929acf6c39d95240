#pragma once

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <iosfwd>

namespace test {

/** Whose functions fail: those of the C library that read and change files, or those of SQLite, OpenSSL,
 * libarchive or libxml2. */
enum class Calls { Files, Database, Crypto, Archive, Xml };
void PrintTo(Calls calls, std::ostream* out);

/**
 * Runs a piece of work repeatedly; in each run its next call to a library fails. The loop ends with a run in
 * which nothing fails:
 *
 *   FailingCalls failing(Calls::Files);
 *   do {
 *       const bool done = failing.in([&] { return work(); });
 *       EXPECT_TRUE(done || failing.happened());
 *   } while (failing.happened());
 *
 * A program that uses this has the libraries' functions replaced, and makes nothing durable.
 */
class FailingCalls {
public:
    /** @param error  errno after a failure */
    explicit FailingCalls(Calls calls, int error = EIO) : calls_(calls), error_(error) {}

    /** Runs the work with its next call failing, and returns its result. */
    template <class Work>
    auto in(Work work) {
        const Failure failure(*this);
        return work();
    }

    /** Whether a call failed in the last run. */
    bool happened() const { return happened_; }

    /** The function that failed in the last run; "nothing" if none did. */
    const char* name() const { return name_; }

    /**
     * Whether this call is the one that fails; for the replaced functions.
     *
     * @param caller  the address that the call returns to
     * @param callee  the library's own function; a library's calls to itself never fail
     */
    static bool isNow(const void* caller, Calls calls, const char* name, const void* callee = nullptr);

private:
    /** While it lives, the next call fails. */
    class Failure {
    public:
        explicit Failure(FailingCalls& owner);
        ~Failure();
        Failure(const Failure&) = delete;
        Failure& operator=(const Failure&) = delete;
    };

    Calls calls_;
    int error_;
    int number_ = 0;
    std::atomic<int> left_ = 0;  ///< calls until the one that fails, in whatever thread
    bool happened_ = false;
    const char* name_ = "nothing";
};

/** Returns `failure` if this call fails, else the result of the library's own function `name`. */
template <class Function, class Failure, class... Arguments>
auto failOrCall(const void* caller, Calls calls, const char* name, Failure failure, Arguments... arguments) {
    const auto own = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
    using Outcome = decltype(own(arguments...));
    return FailingCalls::isNow(caller, calls, name, reinterpret_cast<const void*>(own))
               ? static_cast<Outcome>(failure)
               : own(arguments...);
}

}  // namespace test

/** The body of a replaced function: returns `failure` if this call fails, else calls the library's own. */
#define FAIL_OR_CALL(function, calls, failure, ...)                                                         \
    return test::failOrCall<decltype(function)>(__builtin_return_address(0), test::Calls::calls, #function, \
                                                failure __VA_OPT__(, ) __VA_ARGS__)
