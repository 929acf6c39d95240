#pragma once

#include "Result.h"
#include "Root.h"

#include <string>

namespace vtek {

/**
 * The library's own log, log/vtek.log of a root: one line per message, bounded in size. What cannot be
 * written is dropped: a log must not stop an update.
 */
class Log {
public:
    /** @param root  null drops every line; else it must live as long as the log */
    explicit Log(const Root* root) : root_(root) {}

    /** Writes a caller's line with its place in the source; line breaks and control characters in the message
     * are shown as "?". */
    void write(const std::string& sourceFile, unsigned int line, const std::string& message);

    /** Writes why a call failed, and what to do about it. */
    void failure(const char* call, const Error& error);

private:
    void writeLine(const std::string& line);
    void open();
    bool isFull() const;

    const Root* root_;
    UniqueFd file_;
};

/** Tells standard error and the system's log why there is no root, whose own log cannot be used then. */
void reportUnusableRoot(const Error& error);

}  // namespace vtek
