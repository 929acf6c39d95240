#include "Command.h"
#include "Files.h"
#include "chassis/Inventory.h"

#include <iostream>

namespace tools {

namespace {

/** What the inventory commands share: a store that is open for them. */
vtek::Result<vtek::Store> openStore(const Context& context, vtek::Store::Mode mode) {
    VTEK_ASSIGN(const vtek::Root root, context.openRoot());
    return vtek::Store::open(root, mode);
}

class ImportCommand : public Command {
public:
    void define(Options& options) override {
        options.value("file", file_, "the document").required().takes("FILE");
    }

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(const vtek::UniqueFd file, openPlainFile(file_));
        VTEK_ASSIGN(vtek::Store store, openStore(context, vtek::Store::Mode::Write));
        VTEK_ASSIGN(const int count, vtek::Inventory(store.database()).import(file.get()));
        std::cout << "the inventory has " << count << " devices now\n";
        return {};
    }

private:
    std::string file_;
};

class ExportCommand : public Command {
public:
    void define(Options&) override {}

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(vtek::Store store, openStore(context, vtek::Store::Mode::Read));
        return vtek::Inventory(store.database()).write([](std::string_view piece) { std::cout << piece; });
    }
};

class AddCommand : public Command {
public:
    void define(Options& options) override {
        options.value("component", device_.componentId, "the component id").required();
        options.value("version", version_, "the installed version").required();
        options.value("--display", display_, "the device's name").showsDefault();
        options.value("--type", type_, "the application's component type").showsDefault();
        options.value("--application", application_, "the application's name").showsDefault();
    }

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(vtek::Store store, openStore(context, vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        device_.display = display_;
        device_.applications.push_back({type_, version_, application_});
        VTEK_TRY(vtek::Inventory(store.database()).add(device_));
        return transaction.commit();
    }

private:
    vtek::InventoryDevice device_;
    std::string version_;
    std::string type_ = "FRMW";
    std::string display_ = "QRX";
    std::string application_ = "QRX firmware";
};

class RemoveCommand : public Command {
public:
    void define(Options& options) override {
        options.value("component", component_, "the component id").required();
    }

    vtek::Status run(const Context& context) override {
        VTEK_ASSIGN(vtek::Store store, openStore(context, vtek::Store::Mode::Write));
        VTEK_ASSIGN(vtek::Transaction transaction, vtek::Transaction::begin(store.database()));
        VTEK_ASSIGN(const int count, vtek::Inventory(store.database()).remove(component_));
        if (count == 0) {
            return vtek::Error{vtek::ErrorNumber::ComponentUnknown,
                               "the inventory has no component " + component_};
        }
        return transaction.commit();
    }

private:
    std::string component_;
};

}  // namespace

std::unique_ptr<Command> makeInventoryImport() {
    return std::make_unique<ImportCommand>();
}

std::unique_ptr<Command> makeInventoryExport() {
    return std::make_unique<ExportCommand>();
}

std::unique_ptr<Command> makeInventoryAdd() {
    return std::make_unique<AddCommand>();
}

std::unique_ptr<Command> makeInventoryRemove() {
    return std::make_unique<RemoveCommand>();
}

}  // namespace tools
