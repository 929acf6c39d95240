#include "QRXManager.h"

#include "LogSource.h"
#include "QRXInventory.h"
#include "QRXUpdate.h"

#include <new>

namespace {

constexpr CLogSource debugLog("../src/QRXManager");

}  // namespace

CQRXManager::CQRXManager()
    : m_pCmdLineParser(std::make_unique<CCommandLineParser>()),
      m_pXMLWriter(std::make_unique<CXMLWriter>()) {}

CQRXManager::~CQRXManager() {
    for (const CDeviceInfo* device : m_vecDevices) {
        delete device;
    }
}

int CQRXManager::UpdateInventory(int argc, char** argv) {
    debugLog("CQRXManager::UpdateInventory() UpdateInventory Started");
    const int parsed = m_pCmdLineParser->parseCLI(argc, argv);
    if (parsed != 1) {
        return parsed;
    }
    if (m_pCmdLineParser->isDebug()) {
        CLogger::GetInstance()->Initialize(m_pCmdLineParser->getDebugFilename());
        debugLog("CQRXManager::UpdateInventory() Logger initialized");
    }
    if (const std::string report = m_pCmdLineParser->getOutputFileName(); !report.empty()) {
        m_pXMLWriter->SetFileName(report);
    }
    if (m_pCmdLineParser->isInventory() && !inventory()) {
        debugLog("CQRXManager::isInventory() Inventory failed");
        return 0;
    }
    if (m_pCmdLineParser->isUpdate() && !doUpdate()) {
        debugLog("CQRXManager::isUpdate() Update failed");
        return 0;
    }
    debugLog("CQRXManager::UpdateInventory() UpdateInventory Exited");
    return 1;
}

bool CQRXManager::inventory() {
    const std::unique_ptr<IDeviceInventory> operation(new (std::nothrow) CQRXInventory);
    debugLog("CQRXManager::Inventory() Inventory Started");
    if (!operation) {
        debugLog("CQRXManager::Inventory() QRXInventory variable is not initialized ");
        return false;
    }
    m_vecDevices = operation->GetInventory();
    if (m_vecDevices.empty()) {
        debugLog("CQRXManager::Inventory() Zero devices Inventoried ");
        return false;
    }
    const bool written = m_pXMLWriter->writeInventoryXml(m_vecDevices) != 0;
    debugLog("CQRXManager::Inventory() Inventory Exited");
    return written;
}

bool CQRXManager::doUpdate() {
    const std::unique_ptr<IDeviceExecution> operation(new (std::nothrow) CQRXExecution);
    debugLog("CQRXManager::Update() Update Started");
    if (!operation) {
        debugLog("CQRXManager::Inventory() QRXUpdate variable is not initialized ");
        return false;
    }
    m_vecDevices = operation->Update();
    if (m_vecDevices.empty()) {
        debugLog("CQRXManager::Update Zero devices Updated ");
        return false;
    }
    const bool written = m_pXMLWriter->WriteUpdateXML(m_vecDevices) != 0;
    debugLog("CQRXManager::Update() Update Exited");
    return written;
}
