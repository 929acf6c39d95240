#pragma once

#include "DeviceInfo.h"

#include <string>
#include <vector>

namespace qrxinspect {

struct ReportKind;

/** What one report document says, or why it cannot be read. */
struct Report {
    /** From the best to the worst. */
    enum class Outcome {
        Success,     // every device in it succeeded, and there is at least one
        NotTried,    // of a host that has no report: nobody has tried
        NotReached,  // of a host that has no report: it did not answer
        Failure,     // it reports a failure, or has no device
        Damaged,     // a report, but not well-formed: a value broke it, or its end is missing
        Unreadable,  // not a report, or it could not be read
    };

    std::string file = {};
    const ReportKind* kind = nullptr;  // null if unknown
    Outcome outcome = Outcome::Success;
    std::vector<CDeviceInfo> devices = {};  // a failure without a device is a record with a message only
    bool rebootRequired = false;
    std::string problem = {};  // why it is damaged or unreadable, in one line
    std::string text = {};     // of a damaged report
};

/** "inventory", "update", or empty if unknown. */
std::string operationOf(const Report& report);

/** "success", "not tried", "not reached", "failure", "damaged" or "unreadable". */
std::string nameOf(Report::Outcome outcome);

/** Whether the record reports a success. */
bool isSuccess(const CDeviceInfo& device);

/** The four ids as vendor:device:subvendor:subdevice. */
std::string pciIdOf(const SPCIInfo& pci);

/** The component id, or the four ids of a PCI device. */
std::string idOf(const CDeviceInfo& device);

}  // namespace qrxinspect
