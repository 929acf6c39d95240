#pragma once

#include "Options.h"
#include "base/Result.h"
#include "base/Root.h"
#include "chassis/Store.h"

#include <memory>
#include <string>
#include <vector>

namespace tools {

/** What every command gets: which root it works on. */
struct Context {
    std::string rootPath;

    vtek::Result<vtek::Root> openRoot() const;
};

/** One command of vtekctl: its options, and what it does. */
class Command {
public:
    virtual ~Command() = default;

    /** Declares the options; called once, before parsing. */
    virtual void define(Options& options) = 0;

    /** Does the work; data goes to standard output. */
    virtual vtek::Status run(const Context& context) = 0;
};

/** One row of the command table. */
struct CommandInfo {
    const char* group;  ///< "inventory" for `vtekctl inventory import`; empty for a command of its own
    const char* name;
    const char* summary;
    std::unique_ptr<Command> (*make)();
};

/** Every command; parsing, dispatch and help come from it. */
const std::vector<CommandInfo>& commandTable();

std::unique_ptr<Command> makeInit();
std::unique_ptr<Command> makeShow();
std::unique_ptr<Command> makeSet();
std::unique_ptr<Command> makeInventoryImport();
std::unique_ptr<Command> makeInventoryExport();
std::unique_ptr<Command> makeInventoryAdd();
std::unique_ptr<Command> makeInventoryRemove();
std::unique_ptr<Command> makeTrustAdd();
std::unique_ptr<Command> makeTrustList();
std::unique_ptr<Command> makeTrustRemove();
std::unique_ptr<Command> makeKeygen();
std::unique_ptr<Command> makeSign();
std::unique_ptr<Command> makePack();
std::unique_ptr<Command> makeVerify();
std::unique_ptr<Command> makeHistory();
std::unique_ptr<Command> makeRollback();
std::unique_ptr<Command> makeRecover();
std::unique_ptr<Command> makeRun();

}  // namespace tools
