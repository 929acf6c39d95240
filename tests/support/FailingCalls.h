#pragma once

#include <dlfcn.h>

#include <cerrno>
#include <iosfwd>

namespace test {

/** Whose functions fail: those of the C library that look at files and change them, the one that starts
 * threads, or those of a library. */
enum class Calls { Files, Threads, Database, Crypto, Archive, Xml };
void PrintTo(Calls calls, std::ostream* out);

/**
 * Lets a piece of work run again and again, each time with another one of its calls to a library failing, in
 * their order, as if a file, the disk or the memory did. The last run makes no more calls, and nothing fails
 * in it:
 *
 *   FailingCalls failing(Calls::Files);
 *   do {
 *       const bool done = failing.in([&] { return work(); });
 *       EXPECT_TRUE(done || failing.happened());
 *   } while (failing.happened());
 *
 * A test that uses this replaces the libraries' functions for its whole program, where nothing is ever made
 * durable.
 */
class FailingCalls {
public:
    /** @param error  what errno says of a failure */
    explicit FailingCalls(Calls calls, int error = EIO) : calls_(calls), error_(error) {}

    /** Does the work with its next call failing, and returns what it returns. */
    template <class Work>
    auto in(Work work) {
        const Failure failure(*this);
        return work();
    }

    /** Whether a call has failed in the last run. */
    bool happened() const { return happened_; }

    /** The function that has failed; "nothing" in the last run. */
    const char* name() const { return name_; }

    /**
     * Whether the call that is being made is the one; for the replaced functions.
     *
     * @param caller  where the call returns to
     * @param callee  the library's own function; what a library calls in itself is its own affair
     */
    static bool isNow(const void* caller, Calls calls, const char* name, const void* callee = nullptr);

private:
    /** The part of a run in which the call fails. */
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
    int left_ = 0;
    bool happened_ = false;
    const char* name_ = "nothing";
};

/** Calls the library's own function, or returns what it returns on a failure; for the replaced functions. */
template <class Function, class Failure, class... Arguments>
auto passed(const void* caller, Calls calls, const char* name, Failure failure, Arguments... arguments) {
    const auto own = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
    using Outcome = decltype(own(arguments...));
    return FailingCalls::isNow(caller, calls, name, reinterpret_cast<const void*>(own))
               ? static_cast<Outcome>(failure)
               : own(arguments...);
}

}  // namespace test
