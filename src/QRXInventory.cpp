#include "QRXInventory.h"

#include "LogSource.h"
#include "SharedConstants.h"

#include <new>
#include <utility>

namespace {

constexpr CLogSource debugLog("../src/QRXInventory");

}  // namespace

CQRXInventory::CQRXInventory() {
    debugLog("CQRXInventory::CQRXInventory() Entering CQRXInventory Constructor");
    try {
        m_secureWynd = std::make_unique<secureWynd>();
    } catch (const std::bad_alloc& error) {
        debugLog(error.what());
        debugLog("Bad Allocation caught at CQRXInventory::CQRXInventory() for  m_secureWynd");
    }
    m_pComponentInfo = new CSoftwareComponentInfo;
    m_pDevice = new CDeviceInfo;
    debugLog("CQRXInventory::CQRXInventory() Exiting CQRXInventory Constructor");
}

CQRXInventory::~CQRXInventory() {
    debugLog("CQRXInventory()::~CQRXInventory Entering CQRXInventory Destructor");
    debugLog("Deleting the m_secureWynd");
    m_secureWynd.reset();
}

std::vector<CDeviceInfo*> CQRXInventory::GetInventory() {
    debugLog("CQRXInventory::GetInventory() Entering GetInventory function");
    getBasicDeviceInfo(m_pDevice);
    if (validateInventory(m_pDevice)) {
        m_pDevice->setStatus(0);
        m_vecDevices.push_back(m_pDevice);
        debugLog("CQRXInventory::GetInventory() Exiting GetInventory function");
    } else {
        debugLog("CQRXInventory::GetInventory() Inventory failed in validateInventory function");
        m_vecDevices.push_back(m_pDevice);
    }
    return m_vecDevices;
}

void CQRXInventory::getBasicDeviceInfo(CDeviceInfo* device) {
    device->setDeviceName(KStrDeviceName);
    debugLog("CQRXInventory::getBasicDeviceInfo() Setting the Device Name");
    device->setComponentType(KStrComponentType);
    debugLog("CQRXInventory::getBasicDeviceInfo() Setting the Component Type");
    device->setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
    debugLog("CQRXInventory::getBasicDeviceInfo() Setting the Device Type");
}

void CQRXInventory::setMsgStatus(CDeviceInfo* device, std::string message, int code) {
    device->setErrorMsg(std::move(message));
    device->setStatus(code);
    device->setMessageID(code);
}

bool CQRXInventory::isWyndAvailable(ewyndSupport kind) {
    if (kind < WYND_FULL || kind > WYND_LITER) {
        debugLog("CQRXInventory::getTVKInvXML():: No WYND Present");
        return false;
    }
    debugLog("CQRXInventory::getTVKInvXML():: WYND Present");
    if (kind == WYND_LITE) {
        debugLog("CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Lite");
    } else if (kind == WYND_LITER) {
        debugLog("Inventory :: Type of WYND Present : WYND Liter");
    } else {
        debugLog("CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Full");
    }
    return true;
}

bool CQRXInventory::getTVKInvXML(std::stringstream& out) {
    if (m_secureWynd) {
        if (!m_secureWynd->isSuccess) {
            return true;  // not an error here; the look-up then finds nothing
        }
        debugLog("CQRXInventory::getTVKInvXML():: Wynd TOLV Install success");
    }
    if (!isWyndAvailable(m_secureWynd ? m_secureWynd->IsWyndPresent() : NO_WYND)) {
        debugLog("CQRXInventory::getTVKInvXML():: No Wynd Present");
        return false;
    }
    m_secureWynd->secureWyndInit();
    if (!m_secureWynd->isSuccess) {
        debugLog("CQRXInventory::getTVKInvXML():: WYND Session Failed");
        return false;
    }
    debugLog("CQRXInventory::getTVKInvXML():: WYND Session Success");
    debugLog("CQRXInventory::getTVKInvXML():: Get Inventory XML from TVK");
    const bool queried = m_secureWynd->QueryTVK(out, QUERY_INVENTORY);
    debugLog(queried ? "CQRXInventory::getTVKInvXML():: QueryTVK success"
                     : "CQRXInventory::getTVKInvXML():: QueryTVK failure");
    return queried;
}

bool CQRXInventory::isTVKRecordPresent(std::string componentId, CDeviceInfo* device) {
    if (!getTVKInvXML(m_tvkInventoryStream)) {
        debugLog(
            "CQRXInventory::isTVKRecordPresent() :: getTVKInvXML() function returns failed due to TVK record "
            "not "
            "found");
        // The look-up goes on with the current content of the stream, and its outcome replaces this one.
        setMsgStatus(device, "Get TVK Inventory Failed", 1);
    }
    GetQRXVersion(componentId.c_str(), m_tvkInventoryStream.str().c_str(), device);
    const bool lookedUp = m_pComponentInfo->GetInvFromTVK(componentId, m_recordStream, m_tvkInventoryStream);
    debugLog({"CQRXInventory::isTVKRecordPresent() :: bReturnCode is ", lookedUp ? "1" : "0"});
    if (!lookedUp || m_recordStream.str().empty()) {
        debugLog({"Record Not Found : ComponentID is ", componentId});
        return false;
    }
    debugLog({"Record Found : ComponentID is ", componentId});
    debugLog([this] { return m_recordStream.str(); });
    return true;
}
