#include "CommandTable.h"

#include <array>

namespace tools {

std::span<const Command> commandTable() {
    static const std::array<Command, 5> kCommands{{
        {"package",
         "Show what an update package's package.xml says",
         Operands::OptionalFolder,
         "The package's folder; the working directory by default",
         {Flag::Check, Flag::Json},
         runPackage},
        {"result",
         "Show what a report says; the exit status tells the outcome",
         Operands::OneFile,
         "The report of an inventory, of an update, or of both",
         {Flag::Json},
         runResult},
        {"report",
         "Sum up many reports",
         Operands::Files,
         "The reports",
         {Flag::Json, Flag::Html},
         runReport},
        {"plugin",
         "Show the inventory plug-in that a PIEConfig file names",
         Operands::OneFile,
         "The plug-in configuration",
         {Flag::Json},
         runPlugin},
        {"host",
         "Show what the platform layer finds on this host",
         Operands::None,
         "",
         {Flag::Json},
         runHost},
    }};
    return kCommands;
}

}  // namespace tools
