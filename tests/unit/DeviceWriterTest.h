#pragma once

#include "DeviceInfo.h"
#include "FailingAllocation.h"
#include "LogCapture.h"
#include "TempDir.h"
#include "WorkingDirectory.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace test {

/** A successful record of a device without a type: every text a letter of its own, message id 5. */
inline CDeviceInfo ofUnknownType() {
    CDeviceInfo device;
    device.setComponentID("C");
    device.setDisplay("D");
    device.setEnumId("E");
    device.setComponentType("T");
    device.setVersion("V");
    device.setDeviceName("N");
    device.setErrorMsg("M");
    device.setMessageID(5);
    device.setPCIInfo({"", "d", "sd", "v", "sv", ""});
    device.setStatus(0);
    return device;
}

/** The same of a device known by component id. */
inline CDeviceInfo controller() {
    CDeviceInfo device = ofUnknownType();
    device.setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
    return device;
}

/** The same of a device known by PCI ids. */
inline CDeviceInfo card() {
    CDeviceInfo device = ofUnknownType();
    device.setDeviceType(CDeviceInfo::PCI_DEVICE);
    return device;
}

inline CDeviceInfo failed(CDeviceInfo device) {
    device.setStatus(1);
    return device;
}

/** The device with characters before each text that XML reserves. */
inline CDeviceInfo withRawValues(CDeviceInfo device) {
    const std::string raw = "&<\"";
    device.setComponentID(raw + device.getComponentID());
    device.setDisplay(raw + device.getDisplay());
    device.setEnumId(raw + device.getEnumId());
    device.setComponentType(raw + device.getComponentType());
    device.setVersion(raw + device.getVersion());
    device.setDeviceName(raw + device.getDeviceName());
    device.setErrorMsg(raw + device.getErrorMsg());
    const SPCIInfo ids = device.getPCIInfo();
    device.setPCIInfo(
        {"", raw + ids.deviceID, raw + ids.subDeviceID, raw + ids.vendorID, raw + ids.subVendorID, ""});
    return device;
}

inline std::vector<CDeviceInfo*> pointersTo(std::vector<CDeviceInfo>& records) {
    std::vector<CDeviceInfo*> pointers;
    for (CDeviceInfo& record : records) {
        pointers.push_back(&record);
    }
    return pointers;
}

/** The document without its start and end, which must be these. */
inline std::string between(const std::string& document, std::string_view start, std::string_view end) {
    EXPECT_TRUE(document.starts_with(start) && document.ends_with(end)) << document;
    return document.substr(start.size(), document.size() - start.size() - end.size());
}

/** A folder with a report, and the log. */
template <typename Writer>
class DeviceWriterTest : public ::testing::Test {
protected:
    /** What a new writer writes of the records. */
    std::string reportOf(std::vector<CDeviceInfo> records) {
        {
            Writer writer;
            EXPECT_TRUE(writer.GetXML(pointersTo(records), file_.string()));
        }
        return readFile(file_);
    }

    TempDir folder_;
    std::filesystem::path file_ = folder_ / "report.xml";
    std::optional<LogCapture> log_ = std::make_optional<LogCapture>();
};

}  // namespace test
