#include "LogSource.h"
#include "QRXManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace {

constexpr CLogSource debugLog("../src/QRXMain");

/** The version banner. No code reads it; `strings` finds it in the executable. */
[[gnu::used]] constexpr char rvk_version[] = "RVK_VERSION = 14.11.00 (BLD_001)";

/** Opens each standard descriptor that is closed on /dev/null. Otherwise the debug log could become standard
 *  output and receive the report. */
void occupyStandardDescriptors() {
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    // A reader of the report that goes away must not kill an update half-way.
    std::signal(SIGPIPE, SIG_IGN);

    debugLog("QRXManager:UpdateInventory() Started");
    CQRXManager manager;
    if (manager.UpdateInventory(argc, argv) != 0) {
        debugLog("QRXManager:UpdateInventory() exited");
        return 0;
    }
    debugLog("QRXManager:UpdateInventory() Failed");
    return 1;
}
