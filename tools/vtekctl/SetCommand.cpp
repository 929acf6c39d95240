#include "Vtekctl.h"
#include "base/Users.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"
#include "common/InputFile.h"
#include "common/TextTable.h"

namespace vtekctl {
namespace {

class SetCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("name", name_, "the setting; without it, all settings are explained");
        given_ = options.value("value", value_, "its new value").needs(options.named("name"));
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        if (name_.empty()) {
            explain(console);
            return ExitStatus::Success;
        }
        if (!given_.isGiven()) {
            return tools::inputError("give a value for " + name_);
        }
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        VTEK_TRY(changeSetting(store, name_, value_));
        if (name_ == "allow-version" && !value_.empty()) {
            VTEK_TRY(recordOverride(store));
        }
        VTEK_TRY(transaction.commit());
        return ExitStatus::Success;
    }

private:
    static void explain(const Console& console) {
        tools::TextTable table({"SETTING", "DEFAULT", "TAKES", "MEANING"});
        for (const auto& info : vtek::settingTable()) {
            table.addRow({std::string(info.name), std::string(info.initial), std::string(info.form),
                          std::string(info.meaning)});
        }
        console.print(table);
    }

    /** An override is on record from the moment it is granted, used or not. */
    vtek::Status recordOverride(vtek::Store& store) const {
        vtek::HistoryEntry entry;
        entry.outcome = "override granted";
        VTEK_ASSIGN(entry.generation, store.currentGeneration());
        entry.toVersion = value_;
        entry.override = true;
        entry.realUser = vtek::realUser();
        entry.loginUser = vtek::loginUser();
        return store.appendHistory(entry);
    }

    std::string name_;
    std::string value_;
    Option given_;
};

}  // namespace

std::unique_ptr<tools::Command> makeSet(const Chassis& chassis) {
    return std::make_unique<SetCommand>(chassis);
}

}  // namespace vtekctl
