#include "Vtekctl.h"
#include "base/Users.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"
#include "common/InputFile.h"
#include "common/Suggestion.h"
#include "common/TextTable.h"

#include <algorithm>
#include <vector>

namespace vtekctl {
namespace {

class SetCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("name", name_, "the setting; without it, all settings are explained").takes("SETTING");
        given_ = options.value("value", value_, "its new value").needs(options.named("name"));
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        if (name_.empty()) {
            explain(console);
            return ExitStatus::Success;
        }
        if (!given_.isGiven()) {
            return tools::inputError("give a value for " + name_,
                                     "`vtekctl set` says what each setting takes");
        }
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        if (const std::string meant = similarName(); !meant.empty()) {
            return tools::inputError("there is no setting '" + name_ + "'", "did you mean " + meant + "?");
        }
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

    /** The setting that was meant, if there is none of this name. */
    std::string similarName() const {
        std::vector<std::string> names;
        for (const auto& info : vtek::settingTable()) {
            names.emplace_back(info.name);
        }
        return std::find(names.begin(), names.end(), name_) == names.end() ? tools::similarWord(name_, names)
                                                                           : "";
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
