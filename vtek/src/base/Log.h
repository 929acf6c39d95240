#pragma once

#include "base/Result.h"
#include "base/Root.h"

#include <string>

namespace vtek {

/**
 * The library's log, log/vtek.log in a root: one line per message, limited in size. Messages that cannot be
 * written are dropped, because a log must not stop an update; failures then go to reportFailure.
 */
class Log {
public:
    /** @param root  must outlive the log; null drops every line, for a process that has no usable root */
    explicit Log(const Root* root) : root_(root) {}

    /** Writes a message with the caller's source file and line; toPrintable escapes both. */
    void write(const std::string& sourceFile, unsigned int line, const std::string& message);

    /** Writes why a call failed and how to fix it. If the log cannot be written, as on a read-only mount or a
     * full disk, calls reportFailure. */
    void failure(const char* call, const Error& error);

private:
    bool writeLine(const std::string& line);
    void open();
    bool isFull() const;

    const Root* root_;
    UniqueFd file_;
};

/** Writes why a call failed to standard error and the system log, for when the root's log cannot be
 * written. */
void reportFailure(const char* call, const Error& error);

}  // namespace vtek
