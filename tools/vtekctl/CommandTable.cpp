#include "Command.h"

namespace tools {

const std::vector<CommandInfo>& commandTable() {
    static const std::vector<CommandInfo> table{
        {"", "init", "make a root: one simulated chassis", makeInit},
        {"", "show", "show settings, inventory and the firmware in force", makeShow},
        {"", "set", "change a setting, or list all settings", makeSet},
        {"inventory", "import", "replace the controller's inventory by an SVMInventory document",
         makeInventoryImport},
        {"inventory", "export", "write the controller's inventory as an SVMInventory document",
         makeInventoryExport},
        {"inventory", "add", "add a device to the controller's inventory", makeInventoryAdd},
        {"inventory", "remove", "remove a component from the controller's inventory", makeInventoryRemove},
        {"trust", "add", "trust the authorities and revocation lists of a PEM file", makeTrustAdd},
        {"trust", "list", "list what is trusted", makeTrustList},
        {"trust", "remove", "stop trusting a file of the trust store", makeTrustRemove},
        {"", "keygen", "make a lab authority, its revocation list and a signer", makeKeygen},
        {"", "sign", "make a signed payload of a folder or an archive", makeSign},
        {"", "pack", "make a whole update package, and a reproducible archive of it", makePack},
        {"", "verify", "tell whether a payload, or a whole package, would be installed", makeVerify},
        {"", "history", "show what was installed, when and by whom", makeHistory},
        {"", "rollback", "put the previous firmware in force again", makeRollback},
        {"", "recover", "clear what a process that died has left behind", makeRecover},
        {"", "run", "run a program with this root and the stand-in library", makeRun},
    };
    return table;
}

}  // namespace tools
