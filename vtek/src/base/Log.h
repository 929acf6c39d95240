#pragma once

#include "base/Result.h"
#include "base/Root.h"

#include <string>

namespace vtek {

/**
 * The library's own log, log/vtek.log of a root: one line per message, bounded in size. A message that cannot
 * be written is dropped, since a log must not stop an update; a failure is told elsewhere then.
 */
class Log {
public:
    /** @param root  null, when tellFailure has said why, drops every line; else it must live as long as the
     * log
     */
    explicit Log(const Root* root) : root_(root) {}

    /** Writes a caller's line with its place in the source; line breaks and control characters in the message
     * are shown as "?". */
    void write(const std::string& sourceFile, unsigned int line, const std::string& message);

    /** Writes why a call failed, and what to do about it; to where tellFailure does when the file takes no
     * line, as on a read-only mount or a full disk. */
    void failure(const char* call, const Error& error);

private:
    bool writeLine(const std::string& line);
    void open();
    bool isFull() const;

    const Root* root_;
    UniqueFd file_;
};

/** Tells standard error and the system's log why a call failed when the root's own log cannot. */
void tellFailure(const char* call, const Error& error);

}  // namespace vtek
