#pragma once

#include "ChildProcess.h"
#include "LogText.h"
#include "QRXManager.h"
#include "TempDir.h"

#include <algorithm>
#include <string>
#include <vector>

namespace test {

/** How one run of the manager ended. */
struct ManagerOutcome {
    std::optional<int> result;  // of UpdateInventory; empty when the process died
    std::string output;         // standard output
    std::string error;          // standard error
};

/** A folder in which the manager runs, each time in a process of its own, whose log is still off. */
class ManagerRun {
public:
    std::filesystem::path operator/(std::string_view name) const { return folder_ / name; }
    bool holds(std::string_view name) const { return std::filesystem::exists(folder_ / name); }

    /** Runs `body` in the folder; its result is that of the manager. */
    template <typename Body>
    ManagerOutcome inFolder(Body body) const {
        const Outcome outcome = runInChild([&] {
            std::filesystem::current_path(folder_.path());
            return body();
        });
        return {outcome.exitStatus, outcome.output, outcome.error};
    }

    /** The debug log's messages that the manager itself wrote. */
    std::vector<std::string> ownMessages(std::string_view log) const {
        std::vector<std::string> own;
        for (const LogLine& line : parseLog(readFile(folder_ / log))) {
            if (line.source == "QRXManager") {
                own.push_back(line.message);
            }
        }
        return own;
    }

    /** All of the debug log's messages. */
    std::vector<std::string> messages(std::string_view log) const {
        std::vector<std::string> all;
        for (const LogLine& line : parseLog(readFile(folder_ / log))) {
            all.push_back(line.message);
        }
        return all;
    }

private:
    TempDir folder_;
};

/** Calls UpdateInventory with these arguments after the program's name. */
inline int updateInventory(CQRXManager& manager, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "qrxupdate");
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    return manager.UpdateInventory(static_cast<int>(arguments.size()), argv.data());
}

}  // namespace test
