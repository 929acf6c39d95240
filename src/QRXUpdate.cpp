#include "QRXUpdate.h"

#include "LogSource.h"
#include "SharedConstants.h"

#include <new>
#include <utility>

namespace {

constexpr CLogSource debugLog("../src/QRXUpdate");

/** The payload's place in the repository; empty for a path without a separator. */
std::string destinationOf(const std::string& payloadPath, std::size_t separator) {
    if (separator == std::string::npos) {
        return {};
    }
    const std::string fileName = payloadPath.substr(separator + 1);
    debugLog({"SignedUpdate :: Payload absolute File Name is ", fileName});
    return std::string(KStrDestination) + strFileSeparator + fileName;
}

}  // namespace

CQRXExecution::CQRXExecution() {
    debugLog("CQRXExecution::CQRXExecution() Entering CQRXExecution Constructor");
    try {
        m_secureWynd = std::make_unique<secureWynd>();
    } catch (const std::bad_alloc& error) {
        debugLog(error.what());
        debugLog("Bad Allocation caught at CQRXExecution::CQRXExecution() for  m_secureWynd");
    }
    m_pComponentInfo = new CSoftwareComponentInfo;
    m_pDevice = new CDeviceInfo;
    debugLog("CQRXInventory::CQRXExecution() Exiting CQRXExecution Constructor");
}

CQRXExecution::~CQRXExecution() {
    debugLog("CQRXExecution()::~CQRXExecution Entering CQRXExecution Destructor");
    debugLog("Deleting the m_secureWynd");
    m_secureWynd.reset();
}

std::vector<CDeviceInfo*> CQRXExecution::Update() {
    debugLog("CQRXExecution::GetUpdate() Entering GetUpdate function");
    getBasicDeviceInfo(m_pDevice);
    m_pDevice->setComponentID(m_pComponentInfo->GetComponentID());
    m_pDevice->setVersion(m_pComponentInfo->GetComponentVersion());
    if (!openSession(m_pDevice)) {
        m_vecDevices.push_back(m_pDevice);
    } else if (updateFirmware(m_pDevice)) {
        debugLog("CQRXExecution::GetUpdate() Update Firmware is successfully.\n");
        m_vecDevices.push_back(m_pDevice);
        debugLog("CQRXExecution::GetUpdate() Exiting GetUpdate function");
    } else {
        debugLog("CQRXExecution::GetUpdate() Update Firmware is failed.\n");
        m_vecDevices.push_back(m_pDevice);
    }
    return m_vecDevices;
}

void CQRXExecution::getBasicDeviceInfo(CDeviceInfo* device) {
    device->setDeviceName(KStrDeviceName);
    debugLog("CQRXExecution::getBasicDeviceInfo() Setting the Device Name");
    device->setComponentType(m_pComponentInfo->GetComponentType());
    debugLog("CQRXExecution::getBasicDeviceInfo() Setting the Component Type");
    device->setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
    debugLog("CQRXExecution::getBasicDeviceInfo() Setting the Device Type");
}

void CQRXExecution::setMsgStatus(CDeviceInfo* device, std::string message, int code) {
    device->setErrorMsg(std::move(message));
    device->setStatus(code);
    device->setMessageID(code);
}

/** Unlike the inventory, this takes any kind but 0 for a repository. */
bool CQRXExecution::openSession(CDeviceInfo* device) {
    if (!m_secureWynd || m_secureWynd->IsWyndPresent() == NO_WYND) {
        debugLog("SignedUpdate :: wynd is not present");
        setMsgStatus(device, "WYND is not present", 1);
        return false;
    }
    m_secureWynd->secureWyndInit();
    if (!m_secureWynd->isSuccess) {
        m_secureWynd->getVTEKError();  // called once; its result is not used
        debugLog("SignedUpdate :: WYND Session Failed\n");
        setMsgStatus(device, "WYND Session Failed", 1);
        return false;
    }
    return true;
}

bool CQRXExecution::updateFirmware(CDeviceInfo* device) {
    debugLog("Entering SignedUpdate \n");
    if (!m_secureWynd->IsPayloadSigned(m_strPayloadPath)) {
        debugLog("SignedUpdate :: Signing the Payload failed\n");
        setMsgStatus(device, "Signing the Payload failed", 1);
        return false;
    }
    if (!m_secureWynd->StartCopyFile()) {
        debugLog("SignedUpdate :: Start copy file failure\n");
        setMsgStatus(device, "Start copying file failed", 1);
        return false;
    }
    debugLog("SignedUpdate :: Start copy file success\n");
    debugLog({"SignedUpdate :: Payload File Name : ", m_strPayloadPath});
    if (!addPayload(device)) {
        return false;
    }
    if (!m_secureWynd->CompleteSignedUnzip()) {
        debugLog("SignedUpdate :: Complete Signed Unzip failure\n");
        setMsgStatus(device, "Complete Signed Unzip is failed", 1);
        return false;
    }
    debugLog("SignedUpdate :: Complete Signed Unzip success\n");
    if (!m_secureWynd->EndCopyFile()) {
        debugLog("SignedUpdate :: End Copy File failure\n");
        setMsgStatus(device, "Complete Copy File failed", 1);
        return false;
    }
    debugLog("SignedUpdate :: End Copy File Success\n");
    setMsgStatus(device, "Update is successful", 0);
    return true;
}

bool CQRXExecution::addPayload(CDeviceInfo* device) {
    const std::size_t separator = m_strPayloadPath.rfind(strFileSeparator);
    // The "size" in this text is really the position of the separator.
    debugLog([separator] {
        return "SignedUpdate :: Payload size is SignedUpdate : Payload Size : " + std::to_string(separator);
    });
    const std::string strDstFileName = destinationOf(m_strPayloadPath, separator);
    debugLog({"SignedUpdate :: destination location is  ", KStrDestination});
    debugLog({"SignedUpdate :: strDstFileName is  ", strDstFileName});
    if (!m_secureWynd->AddFile(m_strPayloadPath, strDstFileName, ADD_PAYLOAD)) {
        debugLog("SignedUpdate :: Addfile to the list failure");
        setMsgStatus(device, "Addfile to the list is failed", 1);
        return false;
    }
    debugLog({"SignedUpdate :: strDstFileName is  ", strDstFileName});
    debugLog("SignedUpdate :: Addfile Success");
    return true;
}
