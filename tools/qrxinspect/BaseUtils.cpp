#include "BaseUtils.h"

#include "Logger.h"
#include "MemoryFile.h"
#include "common/InputFile.h"

#include <libxml/xmlerror.h>

#include <filesystem>

namespace qrxinspect {
namespace {

void printNothing(void* /*context*/, const char* /*format*/, ...) {}

}  // namespace

vtek::Status silenceBaseUtils() {
    xmlSetGenericErrorFunc(nullptr, printNothing);
    // The log opens one file only; a second Initialize silences it for good. So it first gets a file in
    // memory, whose path can never name a file on disk, and then the second call.
    const MemoryFile logFile("");
    CLogger* const logger = CLogger::GetInstance();
    logger->Initialize(logFile.path());
    logger->Initialize(logFile.path());
    if (!logger->isEnabled()) {
        return tools::inputError("cannot silence the debug log: /proc is not available");
    }
    return {};
}

vtek::Status checkMarkerFile() {
    std::error_code ignored;
    if (std::filesystem::is_fifo("enabledebug.txt", ignored)) {
        return tools::inputError("enabledebug.txt: is a FIFO");
    }
    return {};
}

}  // namespace qrxinspect
