// Runs the program once, with the platform library's double, and tells how often operator new was asked for
// memory.
//
//     allocations_of_a_run OPTION...

#include "AllocationWatch.h"
#include "CoutCapture.h"
#include "Logger.h"
#include "QRXManager.h"
#include "VtekDouble.h"
#include "WorkingDirectory.h"

#include <iostream>

namespace {

constexpr const char* kPackage =
    "<SoftwareComponent vendorVersion=\"2.0\"><ComponentType value=\"FRMW\"/><SupportedDevices>"
    "<Device componentID=\"25227\"><Display>A controller whose name is long enough to be on the "
    "heap</Display>"
    "</Device></SupportedDevices></SoftwareComponent>";

constexpr const char* kInventory =
    "<SVMInventory><Device componentID=\"25227\"><Application componentType=\"FRMW\" version=\"1.0\"/>"
    "</Device></SVMInventory>";

std::size_t allocationsOf(int argc, char** argv) {
    CLogger::GetInstance();  // made at the first call of a log, whatever it says
    const std::size_t before = test::allocationCount();
    {
        CQRXManager manager;
        manager.UpdateInventory(argc, argv);
    }
    return test::allocationCount() - before;
}

}  // namespace

int main(int argc, char** argv) {
    const test::WorkingTempDir folder;
    test::writeFile(folder / "package.xml", kPackage);
    test::VtekDouble library;
    library.script.inventory = kInventory;
    std::size_t allocations = 0;
    {
        const test::CoutCapture report;
        allocations = allocationsOf(argc, argv);
    }
    std::cout << allocations << "\n";
}
