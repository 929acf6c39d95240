#include "Qrxinspect.h"

#include "BaseUtils.h"
#include "common/Application.h"

namespace qrxinspect {
namespace {

constexpr const char* kExitStatuses =
    "Exit status: 0 all is well; 1 a failure is reported, something is suspicious, or there is no such "
    "plug-in;\n"
    "2 unreadable or damaged input; 64 wrong command line; 74 standard output could not be written.";

ExitStatus report(const vtek::Error& error, const Console& console) {
    console.report(error.message);
    return ExitStatus::BadInput;
}

}  // namespace

std::vector<tools::CommandInfo> commandTable() {
    return {
        {"", "package", "Show what an update package's package.xml says", makePackage()},
        {"", "result", "Show what a report says; the exit status is the outcome", makeResult()},
        {"", "report", "Sum up many reports", makeReport()},
        {"", "plugin", "Show the inventory plug-in that a PIEConfig file names", makePlugin()},
        {"", "host", "Show what the platform layer finds on this host", makeHost()},
    };
}

int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    const tools::Tool tool{
        .name = "qrxinspect",
        .version = QRX_VERSION,
        .description = "Inspects update packages, reports and the host. Writes nothing but its output.",
        .exitStatuses = kExitStatuses,
        .wrongCommandLine = ExitStatus::Usage,
        .report = report,
        .groups = {},
        .commands = commandTable(),
        .prepare = silenceBaseUtils,
    };
    return tools::runTool(tool, argc, argv, out, err);
}

}  // namespace qrxinspect
