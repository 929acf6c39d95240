#include "Vtekctl.h"

#include "common/Application.h"
#include "common/InputFile.h"

#include <unistd.h>

#include <cstdlib>

namespace vtekctl {
namespace {

namespace fs = std::filesystem;

constexpr const char* kExitStatuses =
    "Exit status: 0 done; 1 refused or failed; 2 wrong command line, or a file that it names cannot be "
    "used;\n"
    "74 standard output could not be written. `run` ends as its command does.";

ExitStatus report(const vtek::Error& error, const Console& console) {
    const int number = static_cast<int>(error.number);
    console.report(error.message + " (error " + std::to_string(number) + ")");
    console.report("hint: " + remedyOf(error));
    return error.number == vtek::ErrorNumber::InvalidArgument ? ExitStatus::BadInput : ExitStatus::Failure;
}

/** Every command, in the order of help. */
std::vector<tools::CommandInfo> commandTable(const Chassis& chassis) {
    return {
        {"", "init", "make a root: one simulated chassis", makeInit(chassis)},
        {"", "show", "show settings, inventory and the firmware in force", makeShow(chassis)},
        {"", "set", "change a setting, or list all settings", makeSet(chassis)},
        {"inventory", "import", "replace the controller's inventory by an SVMInventory document",
         makeInventoryImport(chassis)},
        {"inventory", "export", "write the controller's inventory as an SVMInventory document",
         makeInventoryExport(chassis)},
        {"inventory", "add", "add a device to the controller's inventory", makeInventoryAdd(chassis)},
        {"inventory", "remove", "remove a component from the controller's inventory",
         makeInventoryRemove(chassis)},
        {"trust", "add", "trust the authorities and revocation lists of a PEM file", makeTrustAdd(chassis)},
        {"trust", "list", "list what is trusted", makeTrustList(chassis)},
        {"trust", "remove", "stop trusting a file of the trust store", makeTrustRemove(chassis)},
        {"", "keygen", "make a lab authority, its revocation list and a signer", makeKeygen()},
        {"", "sign", "make a signed payload from a folder or an archive", makeSign()},
        {"", "pack", "make a whole update package, and a reproducible archive of it", makePack()},
        {"", "verify", "check whether a payload, or a whole package, would be installed",
         makeVerify(chassis)},
        {"", "history", "show what was installed, when and by whom", makeHistory(chassis)},
        {"", "rollback", "put the previous firmware in force again", makeRollback(chassis)},
        {"", "recover", "remove what a process that died left behind", makeRecover(chassis)},
        {"", "run", "run a program with this root and the stand-in library", makeRun(chassis)},
    };
}

}  // namespace

vtek::Result<vtek::Root> Chassis::openRoot() const {
    return vtek::Root::open(rootPath, geteuid());
}

int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Chassis chassis{vtek::rootPathFromEnvironment()};
    bool isQuiet = false;
    const auto defineOptions = [&](Options& options) {
        options.value("--root", chassis.rootPath, "the root folder; else $VTEK_ROOT, else /var/lib/vtek")
            .takes("FOLDER");
        options.flag("--quiet", isQuiet, "show no progress on a terminal");
    };
    // The library reads the variable, also in the program that `run` starts.
    const auto applyQuiet = [&]() -> vtek::Status {
        if (isQuiet) {
            setenv("VTEK_QUIET", "1", 1);
        }
        return {};
    };
    const tools::Tool tool{
        .name = "vtekctl",
        .version = QRX_VERSION,
        .description = "Administers the simulated platform library of a lab chassis.",
        .exitStatuses = kExitStatuses,
        .wrongCommandLine = ExitStatus::BadInput,
        .report = report,
        .groups = {{"inventory", "the controller's inventory"}, {"trust", "the controller's trust store"}},
        .commands = commandTable(chassis),
        .define = defineOptions,
        .prepare = applyQuiet,
    };
    return tools::runTool(tool, argc, argv, out, err);
}

vtek::Result<fs::path> shippedFolder(const char* installed, const char* built, const char* file) {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* folder : {installed, built}) {
        const fs::path candidate = (here / folder).lexically_normal();
        if (fs::exists(candidate / file)) {
            return candidate;
        }
    }
    return tools::inputError(std::string("no ") + file + " in " +
                             (here / installed).lexically_normal().string());
}

}  // namespace vtekctl
