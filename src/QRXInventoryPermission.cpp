#include "LogSource.h"
#include "QRXInventory.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr const char* kSourceFile = "../src/QRXInventory";
constexpr CLogSource debugLog(kSourceFile);

constexpr std::size_t kAnswerOffset = 32;
constexpr std::size_t kAnswerLength = 12;
constexpr std::size_t kModeOffset = 42;
constexpr std::size_t kFlagOffset = 43;
constexpr unsigned char kManagedMode = 2;
constexpr unsigned char kUpdateEnabled = 1;

/** What the chassis said; the values are the results of isQRXResetAllowed. */
enum eResetPermission { RESET_ALLOWED = 0, REFUSED_BY_FLAG = 3, REFUSED_BY_MODE = 4 };

constexpr const char* kSharedComponentsRefused =
    "The shared components could not be updated through operating system because QRX and/or Vexa is not "
    "configured to enable this behavior. For enabling this set \"Chassis Management at Server\" attribute on "
    "QRX "
    "to \"Monitor and Manage\" and \"Enable Shared Components Update through OS/PFW\" on Vexa to true.";

void libraryLog(const std::string& message, unsigned int line = __builtin_LINE()) {
    logWyndMsg(kSourceFile, line, message);
}

_EsmIPMICmdIoctlReq permissionRequest() {
    _EsmIPMICmdIoctlReq request{};
    request.bytes[35] = 0x17;
    request.bytes[36] = 0x04;
    request.bytes[40] = 0x04;
    return request;
}

/** The answer's bytes, each as " 0x" and two hexadecimal digits. */
std::string answerDump(const _EsmIPMICmdIoctlReq& answer) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string dump;
    for (std::size_t i = kAnswerOffset; i < kAnswerOffset + kAnswerLength; ++i) {
        const unsigned char byte = answer.bytes[i];
        dump += {' ', '0', 'x', digits[byte >> 4U], digits[byte & 0x0FU]};
    }
    return dump;
}

/** The text without its first count characters: the log lines of the completion value are advanced by that
 *  value, which itself is never printed. */
std::string advancedBy(std::string_view text, unsigned char count) {
    text.remove_prefix(std::min<std::size_t>(count, text.size()));
    return std::string(text);
}

}  // namespace

int CQRXInventory::isQRXResetAllowed() {
    libraryLog("Entered in isQRXResetAllowed()");
    IPMIReqBuf = permissionRequest();
    const unsigned char completion = OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12);
    libraryLog(" isQRXResetAllowed()::IPMIRequest[" + answerDump(IPMIReqBuf) + "]");
    libraryLog(advancedBy("isQRXResetAllowed():: bRetVal = ", completion));
    if (completion != 0) {
        libraryLog("isQRXResetAllowed()::IPMI command does not return succes");
        return RESET_ALLOWED;
    }
    libraryLog("isQRXResetAllowed()::IPMI command returns succes");
    if (IPMIReqBuf.bytes[kModeOffset] != kManagedMode) {
        return REFUSED_BY_MODE;
    }
    if (IPMIReqBuf.bytes[kFlagOffset] != kUpdateEnabled) {
        return REFUSED_BY_FLAG;
    }
    libraryLog("isQRXResetAllowed():: PM status is ");
    return RESET_ALLOWED;
}

bool CQRXInventory::validateInventory(CDeviceInfo* device) {
    const std::string componentId = m_pComponentInfo->GetComponentID();
    debugLog("CQRXInventory::validateInventory() Entering validateInventroy function");
    const int permission = isQRXResetAllowed();
    if (permission == REFUSED_BY_FLAG || permission == REFUSED_BY_MODE) {
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
