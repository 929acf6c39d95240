#include "Command.h"
#include "TextTable.h"
#include "base/Users.h"
#include "chassis/Settings.h"

#include <iostream>

namespace tools {

namespace {

class SetCommand : public Command {
public:
    void define(Options& options) override {
        options.value("name", name_, "the setting; without it all settings are explained");
        given_ = options.value("value", value_, "its new value").needs(options.named("name"));
    }

    vtek::Status run(const Context& context) override {
        if (name_.empty()) {
            explain();
            return {};
        }
        if (!given_.isGiven()) {
            return vtek::Error{vtek::ErrorNumber::InvalidArgument, "give a value for " + name_};
        }
        VTEK_ASSIGN(const vtek::Root root, context.openRoot());
        VTEK_ASSIGN(vtek::Store store, vtek::Store::open(root, vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        VTEK_TRY(changeSetting(store, name_, value_));
        if (name_ == "allow-version" && !value_.empty()) {
            VTEK_TRY(recordOverride(store));
        }
        return transaction.commit();
    }

private:
    static void explain() {
        TextTable table({"SETTING", "DEFAULT", "TAKES", "MEANING"});
        for (const auto& info : vtek::settingTable()) {
            table.addRow({std::string(info.name), std::string(info.initial), std::string(info.form),
                          std::string(info.meaning)});
        }
        std::cout << table;
    }

    /** Waiving the version floor is on record from the moment on which it is granted. */
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

std::unique_ptr<Command> makeSet() {
    return std::make_unique<SetCommand>();
}

}  // namespace tools
