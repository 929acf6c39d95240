#pragma once

#include "base/Xml.h"
#include "chassis/Inventory.h"

#include <optional>

namespace vtek {

/** Reads the devices of an SVMInventory document one after the other, without holding the document. */
class InventoryReader {
public:
    /** @param fd  stands at the document's first byte; stays the caller's */
    static Result<InventoryReader> open(int fd);

    /** The next device; absent at the document's end. */
    Result<std::optional<InventoryDevice>> next();

private:
    InventoryReader(std::unique_ptr<int> source, XmlReaderPtr reader)
        : source_(std::move(source)), reader_(std::move(reader)) {}

    /** Goes to the next node. @return false at the document's end */
    Result<bool> advance();
    Error invalid(const char* reason) const;
    bool isElement(int depth, const char* name) const;
    std::optional<std::string> attribute(const char* name) const;
    Status readApplications(InventoryDevice& device);

    std::unique_ptr<int> source_;  // the descriptor, at an address that libxml2 keeps
    XmlReaderPtr reader_;
    bool rootSeen_ = false;
};

}  // namespace vtek
