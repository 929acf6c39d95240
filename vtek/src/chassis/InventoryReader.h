#pragma once

#include "base/Xml.h"
#include "chassis/Inventory.h"

#include <optional>

namespace vtek {

/** Reads an SVMInventory document device by device, without keeping the document in memory. */
class InventoryReader {
public:
    /** @param fd  positioned at the first byte of the document; remains owned by the caller */
    static Result<InventoryReader> open(int fd);

    /** Returns the next device, or nothing at the end of the document. */
    Result<std::optional<InventoryDevice>> next();

private:
    InventoryReader(std::unique_ptr<int> source, XmlReaderPtr reader)
        : source_(std::move(source)), reader_(std::move(reader)) {}

    /** Moves to the next node. @return false at the end of the document */
    Result<bool> advance();
    Error invalid(const char* reason) const;
    bool isElement(int depth, const char* name) const;
    std::optional<std::string> attribute(const char* name) const;
    Status readApplications(InventoryDevice& device);

    std::unique_ptr<int> source_;  // the descriptor; libxml2 keeps its address, so it must not move
    XmlReaderPtr reader_;
    bool rootSeen_ = false;
};

}  // namespace vtek
