#pragma once

#include "Logger.h"

#include <concepts>
#include <initializer_list>
#include <string>
#include <string_view>

/**
 * Writes the debug log for one source file: every line carries the file's path and the line of the call.
 *
 * The text is built only while the log is on, so a disabled log costs one test. A text of several pieces is
 * passed as a list of views, or as a function that returns it if a piece must be computed first.
 */
class CLogSource {
public:
    /** sourceFile is the path for the lines; it must outlive the object, as a literal does. */
    constexpr explicit CLogSource(const char* sourceFile) : m_pSourceFile(sourceFile) {}

    void operator()(std::string_view text, unsigned int line = __builtin_LINE()) const {
        (*this)({text}, line);
    }

    void operator()(std::initializer_list<std::string_view> pieces,
                    unsigned int line = __builtin_LINE()) const {
        (*this)(
            [pieces] {
                std::string text;
                for (const std::string_view piece : pieces) {
                    text += piece;
                }
                return text;
            },
            line);
    }

    template <std::invocable MakeText>
    void operator()(const MakeText& makeText, unsigned int line = __builtin_LINE()) const {
        CLogger* const logger = CLogger::GetInstance();
        if (logger->isEnabled()) {
            logger->log(m_pSourceFile, line, makeText());
        }
    }

private:
    const char* m_pSourceFile;
};
