#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test {

/** Where one of a program's standard descriptors leads. */
struct Redirect {
    enum class Kind {
        Capture,         // kept and returned (output), or empty (input)
        Closed,          // not open at all
        File,            // the file `path`, which must exist
        ReaderlessPipe,  // a pipe whose reading end is gone
    };
    Kind kind = Kind::Capture;
    std::filesystem::path path = {};
};

/** One run of a whole program. */
struct Command {
    std::vector<std::string> arguments;                // the program's path first, then its arguments
    std::filesystem::path workingDirectory{};          // empty: the caller's
    std::map<std::string, std::string> environment{};  // set over the caller's environment
    Redirect input{};
    Redirect output{};
    Redirect error{};
    bool removeWorkingDirectory = false;  // the folder is gone by the time that the program starts
    std::chrono::seconds deadline{60};    // killed after it
};

/** How the run ended. */
struct Outcome {
    std::optional<int> exitStatus;  // empty when a signal ended it
    int signal = 0;                 // the signal that ended it, else 0
    bool timedOut = false;          // killed at the deadline
    std::string output;             // what was captured of standard output
    std::string error;              // what was captured of standard error
};

/**
 * Runs a program to its end.
 *
 * The program starts with the default action for every signal, including SIGPIPE. Throws std::system_error
 * when it cannot be started.
 */
Outcome run(const Command& command);

}  // namespace test
