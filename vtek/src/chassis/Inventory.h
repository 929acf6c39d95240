#pragma once

#include "chassis/Database.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** One application of a device, as in the inventory document; what is absent there is absent here. */
struct InventoryApplication {
    std::optional<std::string> componentType;
    std::optional<std::string> version;
    std::optional<std::string> display;
};

/** One device of the controller's inventory. */
struct InventoryDevice {
    std::string componentId;
    std::optional<std::string> display;
    std::vector<InventoryApplication> applications;
};

/**
 * The controller's inventory: devices in the order in which they were added, in a database.
 *
 * Several devices may share a component id; look-ups and updates mean the first one, as every reader of the
 * inventory document does.
 */
class Inventory {
public:
    explicit Inventory(Database& database) : database_(database) {}

    /** Adds a device at the end; its texts must be fit for XML. */
    Status add(const InventoryDevice& device);

    /** Removes every device of a component. @return how many there were */
    Result<int> remove(std::string_view componentId);

    Status clear();

    /** The version of the component's first application; absent when the inventory does not hold one. */
    Result<std::optional<std::string>> version(std::string_view componentId);

    /** Changes that version; a component that the inventory does not hold is a failure. */
    Status setVersion(std::string_view componentId, std::string_view version);

    /** Hands every device to a visitor, one at a time, so that any number of them needs little memory. */
    Status forEach(const std::function<void(const InventoryDevice&)>& visit);

    /** Writes the whole inventory as an SVMInventory document, in pieces. */
    Status write(const std::function<void(std::string_view)>& sink);

    /**
     * Replaces the inventory by an SVMInventory document: its Device elements with componentID and display,
     * and their Application elements with componentType, version and display. Anything else in it is passed
     * over.
     *
     * @param fd  stands at the document's first byte
     * @return how many devices the inventory now has
     */
    Result<int> import(int fd);

private:
    Status prepareToAdd();

    Database& database_;
    std::optional<Statement> addDevice_;  // kept from one device to the next
    std::optional<Statement> addApplication_;
};

}  // namespace vtek
