#pragma once

#include "chassis/Database.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** One Application element of the inventory document; a missing attribute is a missing value. */
struct InventoryApplication {
    std::optional<std::string> componentType;
    std::optional<std::string> version;
    std::optional<std::string> display;
};

/** One Device element of the inventory document. */
struct InventoryDevice {
    std::string componentId;
    std::optional<std::string> display;
    std::vector<InventoryApplication> applications;
};

/**
 * The controller's inventory in a database: devices in the order in which they were added.
 *
 * Several devices may share a component id. Look-ups and updates use the first, as readers of the inventory
 * document do.
 */
class Inventory {
public:
    /** @param database  must outlive the inventory */
    explicit Inventory(Database& database) : database_(database) {}

    /** Adds a device at the end. Fails with InvalidArgument if a text cannot be written as XML. */
    Status add(const InventoryDevice& device);

    /** Removes all devices of a component. @return how many were removed */
    Result<int> remove(std::string_view componentId);

    /** Removes all devices. */
    Status clear();

    /** Returns the version of the component's first application, or nothing if there is none. */
    Result<std::optional<std::string>> version(std::string_view componentId);

    /** Changes that version. Fails with ComponentUnknown if there is none. */
    Status setVersion(std::string_view componentId, std::string_view version);

    /** Calls visit for each device; only one device at a time is in memory. */
    Status forEach(const std::function<void(const InventoryDevice&)>& visit);

    /** Writes the inventory as an SVMInventory document, in pieces of about 64 KiB. */
    Status write(const std::function<void(std::string_view)>& sink);

    /**
     * Replaces the inventory with an SVMInventory document: its Device elements with componentID and display,
     * and their Application elements with componentType, version and display. Ignores everything else in it.
     * On failure the old inventory stays.
     *
     * @param fd  positioned at the first byte of the document
     * @return the number of devices in the new inventory
     */
    Result<int> import(int fd);

private:
    Status prepareToAdd();

    Database& database_;
    std::optional<Statement> addDevice_;  // prepared once for all devices
    std::optional<Statement> addApplication_;
};

}  // namespace vtek
