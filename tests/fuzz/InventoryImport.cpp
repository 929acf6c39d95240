// Imports an inventory document as vtekctl does.

#include "Harness.h"
#include "TempDir.h"
#include "base/File.h"
#include "chassis/Inventory.h"
#include "chassis/InventoryReader.h"

#include <fcntl.h>

namespace test {
namespace {

using vtek::InventoryDevice;

bool sameDevice(const InventoryDevice& one, const InventoryDevice& other) {
    if (one.componentId != other.componentId || one.display != other.display ||
        one.applications.size() != other.applications.size()) {
        return false;
    }
    for (std::size_t i = 0; i < one.applications.size(); ++i) {
        const auto& left = one.applications[i];
        const auto& right = other.applications[i];
        if (left.componentType != right.componentType || left.version != right.version ||
            left.display != right.display) {
            return false;
        }
    }
    return true;
}

/** The devices of a document; nothing if it is refused. */
std::optional<std::vector<InventoryDevice>> devicesOf(std::string_view document) {
    const std::filesystem::path file = workingFolder() / "inventory.xml";
    writeFile(file, document);
    const vtek::UniqueFd fd = vtek::openAt(vtek::kWorkingFolder, file.string(), O_RDONLY);
    auto reader = vtek::InventoryReader::open(fd.get());
    std::vector<InventoryDevice> devices;
    while (reader) {
        auto device = reader->next();
        if (!device) {
            require(!device.error().message.empty(), "a reason for a refusal");
            return std::nullopt;
        }
        if (!*device) {
            return devices;
        }
        devices.push_back(std::move(**device));
    }
    return std::nullopt;
}

vtek::Database emptyInventory() {
    auto database = vtek::Database::open(":memory:", vtek::Database::Access::Create);
    require(static_cast<bool>(database), "a database in memory");
    require(
        static_cast<bool>(database->execute(
            "CREATE TABLE device (id INTEGER PRIMARY KEY, component_id TEXT NOT NULL, display TEXT) STRICT;"
            "CREATE TABLE application (id INTEGER PRIMARY KEY, device INTEGER NOT NULL,"
            "component_type TEXT, version TEXT, display TEXT) STRICT;")),
        "its tables");
    return std::move(*database);
}

std::string writtenAgain(const std::vector<InventoryDevice>& devices) {
    vtek::Database database = emptyInventory();
    vtek::Inventory inventory(database);
    for (const InventoryDevice& device : devices) {
        require(static_cast<bool>(inventory.add(device)), "imported devices can be added");
    }
    std::string document;
    require(static_cast<bool>(inventory.write([&document](std::string_view part) { document += part; })),
            "and written");
    return document;
}

}  // namespace

void examine(std::string_view input) {
    const auto devices = devicesOf(input);
    if (!devices) {
        return;
    }
    const auto again = devicesOf(writtenAgain(*devices));
    require(again.has_value(), "a written inventory can be read");
    require(again->size() == devices->size(), "as many devices");
    for (std::size_t i = 0; i < devices->size(); ++i) {
        require(sameDevice((*devices)[i], (*again)[i]), "the same devices");
    }
}

}  // namespace test
