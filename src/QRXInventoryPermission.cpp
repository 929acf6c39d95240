#include "LogSource.h"
#include "QRXInventory.h"
#include <vtek/permission.h>

#include <algorithm>
#include <string_view>

namespace permission = vtek::permission;

namespace {

constexpr const char* kSourceFile = "../src/QRXInventory";
constexpr CLogSource debugLog(kSourceFile);

constexpr const char* kSharedComponentsRefused =
    "The shared components could not be updated through operating system because QRX and/or Vexa is not "
    "configured to enable this behavior. For enabling this set \"Chassis Management at Server\" attribute on "
    "QRX "
    "to \"Monitor and Manage\" and \"Enable Shared Components Update through OS/PFW\" on Vexa to true.";

/** The permission check logs to the library's log, not to the program's. */
void libraryLog(const std::string& message, unsigned int line = __builtin_LINE()) {
    logWyndMsg(kSourceFile, line, message);
}

/** The answer's bytes, each as " 0x" and two hexadecimal digits. */
std::string answerDump(const _EsmIPMICmdIoctlReq& answer) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string dump;
    for (std::size_t i = 0; i < permission::kAnswerLength; ++i) {
        const unsigned char byte = answer.bytes[permission::kMessageAt + i];
        dump += {' ', '0', 'x', digits[byte >> 4U], digits[byte & 0x0FU]};
    }
    return dump;
}

/** The text without its first count characters. The log line about the completion value is shortened in this
 *  way; the value itself is never printed. */
std::string advancedBy(std::string_view text, unsigned char count) {
    text.remove_prefix(std::min<std::size_t>(count, text.size()));
    return std::string(text);
}

}  // namespace

int CQRXInventory::isQRXResetAllowed() {
    libraryLog("Entered in isQRXResetAllowed()");
    IPMIReqBuf = permission::request();
    const unsigned char completion =
        OEMIPMIRequest(SHARED_COMPONENT_UPDATE, permission::kRequestValue, &IPMIReqBuf,
                       permission::kRequestLength, permission::kAnswerLength);
    libraryLog(" isQRXResetAllowed()::IPMIRequest[" + answerDump(IPMIReqBuf) + "]");
    libraryLog(advancedBy("isQRXResetAllowed():: bRetVal = ", completion));
    const permission::Decision decision = permission::decide(completion, IPMIReqBuf);
    if (completion != 0) {
        libraryLog("isQRXResetAllowed()::IPMI command does not return succes");
    } else {
        libraryLog("isQRXResetAllowed()::IPMI command returns succes");
        if (decision == permission::Decision::Allowed) {
            libraryLog("isQRXResetAllowed():: PM status is ");
        }
    }
    return static_cast<int>(decision);
}

bool CQRXInventory::validateInventory(CDeviceInfo* device) {
    const std::string componentId = m_pComponentInfo->GetComponentID();
    debugLog("CQRXInventory::validateInventory() Entering validateInventroy function");
    if (isQRXResetAllowed() != static_cast<int>(permission::Decision::Allowed)) {
        debugLog("CQRXInventory::validateInventory()::isQRXResetAllowed()");
        setMsgStatus(device, kSharedComponentsRefused, 1);
        return false;
    }
    if (!isTVKRecordPresent(componentId, device)) {
        debugLog("CQRXInventory::validateInventory()::isTVKRecordPresent() TVK Record not found");
        setMsgStatus(device, "Update not compatable to this system", 1);
        return false;
    }
    device->setComponentID(componentId);
    debugLog({"CQRXInventory::getBasicDeviceInfo() Setting the Component ID : ", componentId});
    setMsgStatus(device, "Inventory Success", 0);
    return true;
}
