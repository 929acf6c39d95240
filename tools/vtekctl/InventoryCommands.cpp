#include "Vtekctl.h"
#include "base/File.h"
#include "chassis/Inventory.h"
#include "chassis/Store.h"
#include "common/InputFile.h"

namespace vtekctl {
namespace {

vtek::Result<vtek::Store> openStore(const Chassis& chassis, vtek::Store::Mode mode) {
    VTEK_ASSIGN(const vtek::Root root, chassis.openRoot());
    return vtek::Store::open(root, mode);
}

class ImportCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("file", file_, "the document").required().takes("FILE");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const vtek::RegularFile file,
                    vtek::openRegularFile(vtek::kWorkingFolder, file_, vtek::Links::Followed, file_,
                                          vtek::ErrorNumber::InvalidArgument));
        VTEK_ASSIGN(vtek::Store store, openStore(chassis(), vtek::Store::Mode::Write));
        VTEK_ASSIGN(const int count, vtek::Inventory(store.database()).import(file.fd.get()));
        console.out << "the inventory has " << count << " devices now\n";
        return ExitStatus::Success;
    }

private:
    std::string file_;
};

class ExportCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options&) override {}

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(vtek::Store store, openStore(chassis(), vtek::Store::Mode::Read));
        VTEK_TRY(
            vtek::Inventory(store.database()).write([&](std::string_view piece) { console.out << piece; }));
        return ExitStatus::Success;
    }
};

class AddCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("component", device_.componentId, "the component id").required();
        options.value("version", version_, "the installed version").required();
        options.value("--display", display_, "the device's name").showsDefault();
        options.value("--type", type_, "the application's component type").showsDefault();
        options.value("--application", application_, "the application's name").showsDefault();
    }

    vtek::Result<ExitStatus> run(const Console&) override {
        VTEK_ASSIGN(vtek::Store store, openStore(chassis(), vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        vtek::Inventory inventory(store.database());
        VTEK_ASSIGN(const auto present, inventory.version(device_.componentId));
        if (present) {
            return tools::inputError("the inventory has component " + device_.componentId + " already",
                                     "remove it first with `vtekctl inventory remove`");
        }
        device_.display = display_;
        device_.applications.push_back({type_, version_, application_});
        VTEK_TRY(inventory.add(device_));
        VTEK_TRY(transaction.commit());
        return ExitStatus::Success;
    }

private:
    vtek::InventoryDevice device_;
    std::string version_;
    std::string type_ = "FRMW";
    std::string display_ = "QRX";
    std::string application_ = "QRX firmware";
};

class RemoveCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("component", component_, "the component id").required().takes("COMPONENT");
    }

    vtek::Result<ExitStatus> run(const Console&) override {
        VTEK_ASSIGN(vtek::Store store, openStore(chassis(), vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        VTEK_ASSIGN(const int count, vtek::Inventory(store.database()).remove(component_));
        if (count == 0) {
            return vtek::Error{vtek::ErrorNumber::ComponentUnknown,
                               "the inventory has no component " + component_};
        }
        VTEK_TRY(transaction.commit());
        return ExitStatus::Success;
    }

private:
    std::string component_;
};

}  // namespace

std::unique_ptr<tools::Command> makeInventoryImport(const Chassis& chassis) {
    return std::make_unique<ImportCommand>(chassis);
}

std::unique_ptr<tools::Command> makeInventoryExport(const Chassis& chassis) {
    return std::make_unique<ExportCommand>(chassis);
}

std::unique_ptr<tools::Command> makeInventoryAdd(const Chassis& chassis) {
    return std::make_unique<AddCommand>(chassis);
}

std::unique_ptr<tools::Command> makeInventoryRemove(const Chassis& chassis) {
    return std::make_unique<RemoveCommand>(chassis);
}

}  // namespace vtekctl
