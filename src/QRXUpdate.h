#pragma once

#include "DeviceInfo.h"
#include "IDeviceExecution.h"
#include "SoftwareComponentInfo.h"
#include <vtek/vtek.h>

#include <memory>
#include <string>
#include <vector>

/** Updates the chassis controller: hands the signed payload to the secure repository. */
class CQRXExecution : public IDeviceExecution {
public:
    /** Prepares the repository, reads package.xml and makes the controller's record. Where the repository
     *  cannot be made for want of memory, it counts as absent from then on. */
    CQRXExecution();
    ~CQRXExecution() override;
    CQRXExecution(const CQRXExecution&) = delete;
    CQRXExecution& operator=(const CQRXExecution&) = delete;

    /** The controller's record, in a list, with the outcome in it, whatever it was. */
    std::vector<CDeviceInfo*> Update() override;

    /** Gives the record the controller's name and the package's component type. */
    void getBasicDeviceInfo(CDeviceInfo* device);

    /** Puts an outcome on the record; code (0 success, 1 failure) is its status and its message id. */
    void setMsgStatus(CDeviceInfo* device, std::string message, int code);

    /** Verifies, copies and unpacks the payload, up to the first step that fails; the outcome goes into the
     *  record. The session must be open. */
    bool updateFirmware(CDeviceInfo* device);

private:
    bool openSession(CDeviceInfo* device);
    bool addPayload(CDeviceInfo* device);

    std::unique_ptr<secureWynd> m_secureWynd;
    /** Never deleted: lives until the process exits. */
    CSoftwareComponentInfo* m_pComponentInfo;
    std::string m_strPayloadPath;
    std::vector<CDeviceInfo*> m_vecDevices;
    /** Passes to the caller inside the list. */
    CDeviceInfo* m_pDevice;
};
