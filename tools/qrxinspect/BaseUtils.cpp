#include "BaseUtils.h"

#include "Logger.h"
#include "MemoryFile.h"

#include <libxml/xmlerror.h>

#include <filesystem>

namespace tools {
namespace {

void printNothing(void* /*context*/, const char* /*format*/, ...) {}

}  // namespace

std::optional<Problem> silenceBaseUtils() {
    xmlSetGenericErrorFunc(nullptr, printNothing);
    // The log opens one file and no second one: whoever asks for that silences it for good. So it is given a
    // file in memory first, whose path can never come to be a file on disk, and then asked once more.
    const MemoryFile logFile("");
    CLogger* const logger = CLogger::GetInstance();
    logger->Initialize(logFile.path());
    logger->Initialize(logFile.path());
    if (!logger->isEnabled()) {
        return Problem{"cannot keep the debug log quiet: /proc is not there"};
    }
    return std::nullopt;
}

std::optional<Problem> checkMarkerFile() {
    std::error_code ignored;
    if (std::filesystem::is_fifo("enabledebug.txt", ignored)) {
        return Problem{"enabledebug.txt: is a FIFO"};
    }
    return std::nullopt;
}

}  // namespace tools
