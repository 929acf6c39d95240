#include "LogSource.h"
#include "QRXManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace {

constexpr CLogSource debugLog("../src/QRXMain");

/** Marks the build inside the executable file; nothing reads it. */
[[gnu::used]] constexpr char rvk_version[] = "RVK_VERSION = 14.11.00 (BLD_001)";

/** Opens the standard descriptors that the caller left closed on /dev/null, so that no file of ours becomes
 * one of them and a report ends up inside the debug log. */
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
    // A reader of the report that goes away must not end an update half way.
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
