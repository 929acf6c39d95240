#pragma once

#include "base/Root.h"
#include "common/Command.h"

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>

namespace vtekctl {

using tools::Console;
using tools::ExitStatus;
using tools::Option;
using tools::Options;

/** The simulated chassis that a run is about: --root, else $VTEK_ROOT, else the default. */
struct Chassis {
    std::string rootPath;

    vtek::Result<vtek::Root> openRoot() const;
};

/** A command that works on the chassis. */
class ChassisCommand : public tools::Command {
public:
    /** @param chassis  must outlive the command; complete when the command line is parsed */
    explicit ChassisCommand(const Chassis& chassis) : chassis_(chassis) {}

protected:
    const Chassis& chassis() const { return chassis_; }

private:
    const Chassis& chassis_;
};

std::unique_ptr<tools::Command> makeInit(const Chassis& chassis);
std::unique_ptr<tools::Command> makeShow(const Chassis& chassis);
std::unique_ptr<tools::Command> makeSet(const Chassis& chassis);
std::unique_ptr<tools::Command> makeInventoryImport(const Chassis& chassis);
std::unique_ptr<tools::Command> makeInventoryExport(const Chassis& chassis);
std::unique_ptr<tools::Command> makeInventoryAdd(const Chassis& chassis);
std::unique_ptr<tools::Command> makeInventoryRemove(const Chassis& chassis);
std::unique_ptr<tools::Command> makeTrustAdd(const Chassis& chassis);
std::unique_ptr<tools::Command> makeTrustList(const Chassis& chassis);
std::unique_ptr<tools::Command> makeTrustRemove(const Chassis& chassis);
std::unique_ptr<tools::Command> makeKeygen();
std::unique_ptr<tools::Command> makeSign();
std::unique_ptr<tools::Command> makePack();
std::unique_ptr<tools::Command> makeVerify(const Chassis& chassis);
std::unique_ptr<tools::Command> makeHistory(const Chassis& chassis);
std::unique_ptr<tools::Command> makeRollback(const Chassis& chassis);
std::unique_ptr<tools::Command> makeRecover(const Chassis& chassis);
std::unique_ptr<tools::Command> makeRun(const Chassis& chassis);

/** The whole tool. @return the exit status */
int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

/**
 * Finds a folder that ships with vtekctl, starting from the executable's own folder.
 *
 * @param installed, built  the folder in an installation and in a build, relative to the executable's
 * @param file              what the folder must contain
 */
vtek::Result<std::filesystem::path> shippedFolder(const char* installed, const char* built, const char* file);

}  // namespace vtekctl
