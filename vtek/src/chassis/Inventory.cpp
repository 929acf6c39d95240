#include "chassis/Inventory.h"

#include "base/Xml.h"
#include "chassis/InventoryReader.h"

#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kPieceSize = 64 * 1024;  // bytes of the document to collect before they are written

// The key of the first application of the first device of component ?1.
constexpr const char* kFirstApplication =
    "(SELECT application.id FROM device JOIN application ON application.device = device.id "
    "WHERE device.id = (SELECT MIN(id) FROM device WHERE component_id = ?1) ORDER BY application.id LIMIT 1)";

bool isFit(const std::optional<std::string>& text) {
    return !text || isXmlText(*text);
}

bool isFit(const InventoryDevice& device) {
    bool fit = isXmlText(device.componentId) && isFit(device.display);
    for (const auto& application : device.applications) {
        fit = fit && isFit(application.componentType) && isFit(application.version) &&
              isFit(application.display);
    }
    return fit;
}

std::optional<std::string> optionalText(const Statement& row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(row.text(column));
}

void appendAttribute(std::string& out, const char* name, const std::optional<std::string>& value) {
    if (value) {
        out.append(" ").append(name).append("=\"");
        appendEscaped(out, *value);
        out += '"';
    }
}

void appendDevice(std::string& out, const InventoryDevice& device) {
    out += "  <Device";
    appendAttribute(out, "componentID", device.componentId);
    appendAttribute(out, "display", device.display);
    out += ">\n";
    for (const auto& application : device.applications) {
        out += "    <Application";
        appendAttribute(out, "componentType", application.componentType);
        appendAttribute(out, "version", application.version);
        appendAttribute(out, "display", application.display);
        out += "/>\n";
    }
    out += "  </Device>\n";
}

}  // namespace

Status Inventory::add(const InventoryDevice& device) {
    if (!isFit(device)) {
        return Error{ErrorNumber::InvalidArgument,
                     "a text of the device is not UTF-8 or contains control characters"};
    }
    VTEK_TRY(prepareToAdd());
    VTEK_TRY(addDevice_->bind(1, device.componentId).bindOptional(2, device.display).run());
    const std::int64_t id = database_.lastRow();
    for (const auto& application : device.applications) {
        VTEK_TRY(addApplication_->bind(1, id)
                     .bindOptional(2, application.componentType)
                     .bindOptional(3, application.version)
                     .bindOptional(4, application.display)
                     .run());
    }
    return {};
}

Status Inventory::prepareToAdd() {
    if (addApplication_) {
        return {};
    }
    VTEK_ASSIGN(addDevice_, database_.prepare("INSERT INTO device (component_id, display) VALUES (?, ?)"));
    VTEK_ASSIGN(addApplication_,
                database_.prepare("INSERT INTO application (device, component_type, version, display) "
                                  "VALUES (?, ?, ?, ?)"));
    return {};
}

Result<int> Inventory::remove(std::string_view componentId) {
    VTEK_ASSIGN(Statement applications, database_.prepare("DELETE FROM application WHERE device IN "
                                                          "(SELECT id FROM device WHERE component_id = ?)"));
    VTEK_TRY(applications.bind(1, componentId).run());
    VTEK_ASSIGN(Statement devices, database_.prepare("DELETE FROM device WHERE component_id = ?"));
    VTEK_TRY(devices.bind(1, componentId).run());
    VTEK_ASSIGN(const std::int64_t count, database_.number("SELECT changes()"));
    return static_cast<int>(count);
}

Status Inventory::clear() {
    return database_.execute("DELETE FROM application; DELETE FROM device");
}

Result<std::optional<std::string>> Inventory::version(std::string_view componentId) {
    VTEK_ASSIGN(Statement query,
                database_.prepare(std::string("SELECT COALESCE(version, '') FROM application "
                                              "WHERE id = ") +
                                  kFirstApplication));
    VTEK_ASSIGN(const bool found, query.bind(1, componentId).step());
    return found ? std::optional(query.text(0)) : std::nullopt;
}

Status Inventory::setVersion(std::string_view componentId, std::string_view version) {
    VTEK_ASSIGN(Statement change,
                database_.prepare(std::string("UPDATE application SET version = ?2 WHERE id = ") +
                                  kFirstApplication));
    VTEK_TRY(change.bind(1, componentId).bind(2, version).run());
    VTEK_ASSIGN(const std::int64_t count, database_.number("SELECT changes()"));
    if (count == 0) {
        return Error{ErrorNumber::ComponentUnknown,
                     "the controller's inventory has no component " + std::string(componentId)};
    }
    return {};
}

Status Inventory::forEach(const std::function<void(const InventoryDevice&)>& visit) {
    VTEK_ASSIGN(
        Statement rows,
        database_.prepare("SELECT device.id, component_id, device.display, application.id, component_type, "
                          "version, application.display FROM device LEFT JOIN application "
                          "ON application.device = device.id ORDER BY device.id, application.id"));
    // One row per application, or a single one with NULLs for a device without any (LEFT JOIN): a new key in
    // the first column ends the device before it.
    std::optional<InventoryDevice> device;
    std::int64_t id = 0;
    VTEK_TRY(rows.forEachRow([&] {
        if (device && rows.number(0) != id) {
            visit(*device);
            device.reset();
        }
        if (!device) {
            id = rows.number(0);
            device = InventoryDevice{rows.text(1), optionalText(rows, 2), {}};
        }
        if (!rows.isNull(3)) {
            device->applications.push_back(
                {optionalText(rows, 4), optionalText(rows, 5), optionalText(rows, 6)});
        }
    }));
    if (device) {
        visit(*device);
    }
    return {};
}

Status Inventory::write(const std::function<void(std::string_view)>& sink) {
    std::string piece = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SVMInventory>\n";
    VTEK_TRY(forEach([&](const InventoryDevice& device) {
        appendDevice(piece, device);
        if (piece.size() >= kPieceSize) {
            sink(piece);
            piece.clear();
        }
    }));
    piece += "</SVMInventory>\n";
    sink(piece);
    return {};
}

Result<int> Inventory::import(int fd) {
    VTEK_ASSIGN(InventoryReader reader, InventoryReader::open(fd));
    VTEK_ASSIGN(Transaction transaction, Transaction::begin(database_));
    VTEK_TRY(clear());
    int count = 0;
    for (;;) {
        VTEK_ASSIGN(const auto device, reader.next());
        if (!device) {
            break;
        }
        VTEK_TRY(add(*device));
        ++count;
    }
    VTEK_TRY(transaction.commit());
    return count;
}

}  // namespace vtek
