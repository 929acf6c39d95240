#pragma once

#include "DeviceInfo.h"

#include <ostream>

/** Parts of the documents that several report writers share. Values are not escaped. */

inline constexpr const char* kXmlDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";

/** The status and message of a failed device, without a Device element around them. */
inline void writeFailure(std::ostream& out, const CDeviceInfo& device) {
    out << R"(<SPStatus result = "false" ><Message id=")" << device.getMessageID() << R"(" >)"
        << device.getErrorMsg() << "</Message></SPStatus>";
}

/** The start of a PCI device's element, up to and including the blank after its last id. */
inline void writePciIdentity(std::ostream& out, const SPCIInfo& ids) {
    out << R"(<Device  vendorID=")" << ids.vendorID << R"(" deviceID=")" << ids.deviceID
        << R"(" subVendorID=")" << ids.subVendorID << R"(" subDeviceID=")" << ids.subDeviceID << R"(" )";
}
