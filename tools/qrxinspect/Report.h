#pragma once

#include "DeviceInfo.h"

#include <string>
#include <vector>

namespace tools {

/** What one report document tells, or why it tells nothing. */
struct Report {
    enum class Operation { Unknown, Inventory, Update };
    /** From the best to the worst. */
    enum class Outcome {
        Success,     // every device that it tells of succeeded, at least one
        Failure,     // a failure is reported, or no device at all
        Damaged,     // a report, but not well-formed: a value in it broke it, or its end is missing
        Unreadable,  // no report, or none that could be read
    };

    std::string file = {};
    Operation operation = Operation::Unknown;
    Outcome outcome = Outcome::Success;
    std::vector<CDeviceInfo> devices = {};  // a failure without a device is a record with a message only
    bool rebootRequired = false;
    std::string problem = {};  // why it is damaged or unreadable, in one line
    std::string text = {};     // what a damaged one holds
};

/** "inventory", "update", or empty. */
std::string nameOf(Report::Operation operation);

/** "success", "failure", "damaged" or "unreadable". */
std::string nameOf(Report::Outcome outcome);

/** Whether the record tells of a success. */
bool isSuccess(const CDeviceInfo& device);

/** The four ids as vendor:device:subvendor:subdevice. */
std::string pciIdOf(const SPCIInfo& pci);

/** The component id, or the four ids of a PCI device. */
std::string idOf(const CDeviceInfo& device);

}  // namespace tools
