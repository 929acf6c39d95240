#pragma once

#include "Logger.h"

#include <concepts>
#include <initializer_list>
#include <string>
#include <string_view>

/**
 * The debug log as one source file writes to it: every line carries the file's path and the line of the call.
 *
 * A text is put together only while the log is on, so a disabled log costs one test. Texts of several pieces
 * are given as a list of views, or as a function that makes the text where a piece has to be computed first.
 */
class CLogSource {
public:
    /** sourceFile is the path that the lines name; it must outlive the object (a literal does). */
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
