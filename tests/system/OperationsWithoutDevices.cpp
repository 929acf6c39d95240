/** The two operations of a program whose chassis has no device at all: linked in the place of the real ones.
 */

#include "QRXInventory.h"
#include "QRXUpdate.h"

CQRXInventory::CQRXInventory() : m_pComponentInfo(nullptr), m_pDevice(nullptr) {}
CQRXInventory::~CQRXInventory() = default;

std::vector<CDeviceInfo*> CQRXInventory::GetInventory() {
    return {};
}

CQRXExecution::CQRXExecution() : m_pComponentInfo(nullptr), m_pDevice(nullptr) {}
CQRXExecution::~CQRXExecution() = default;

std::vector<CDeviceInfo*> CQRXExecution::Update() {
    return {};
}
