#pragma once

#include "common/Command.h"

#include <memory>
#include <ostream>

namespace qrxinspect {

using tools::Console;
using tools::ExitStatus;
using tools::Options;

std::unique_ptr<tools::Command> makePackage();
std::unique_ptr<tools::Command> makeResult();
std::unique_ptr<tools::Command> makeReport();
std::unique_ptr<tools::Command> makePlugin();
std::unique_ptr<tools::Command> makeHost();

/** Every command, in the order of help. */
std::vector<tools::CommandInfo> commandTable();

/** The whole tool. @return the exit status */
int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace qrxinspect
