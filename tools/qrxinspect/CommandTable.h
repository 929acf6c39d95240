#pragma once

#include "Commands.h"

#include <span>
#include <string_view>
#include <vector>

namespace tools {

/** What a command takes beside its flags. */
enum class Operands { None, OptionalFolder, OneFile, Files };

enum class Flag { Check, Json, Html };

/** One command of the tool. Parsing, dispatch and help are made from these. */
struct Command {
    const char* name;
    const char* summary;
    Operands operands;
    const char* operandHelp;
    std::vector<Flag> flags;
    ExitStatus (*run)(const Arguments& arguments, const Console& console);
};

std::span<const Command> commandTable();

}  // namespace tools
