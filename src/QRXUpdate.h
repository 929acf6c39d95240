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
    /** Prepares the repository, reads package.xml and creates the controller's record. Without memory for the
     *  repository object, the repository counts as absent. */
    CQRXExecution();
    ~CQRXExecution() override;
    CQRXExecution(const CQRXExecution&) = delete;
    CQRXExecution& operator=(const CQRXExecution&) = delete;

    /** A list with the controller's record, which holds the outcome. */
    std::vector<CDeviceInfo*> Update() override;

    /** Fills in the controller's name and the package's component type. */
    void getBasicDeviceInfo(CDeviceInfo* device);

    /** Sets the outcome. code (0 success, 1 failure) becomes both the status and the message id. */
    void setMsgStatus(CDeviceInfo* device, std::string message, int code);

    /** Verifies, copies and unpacks the payload, stops at the first step that fails, and puts the outcome on
     *  the record. The session must be open. */
    bool updateFirmware(CDeviceInfo* device);

private:
    bool openSession(CDeviceInfo* device);
    bool addPayload(CDeviceInfo* device);

    std::unique_ptr<secureWynd> m_secureWynd;
    /** Never deleted: lives until the process exits. */
    CSoftwareComponentInfo* m_pComponentInfo;
    std::string m_strPayloadPath;
    std::vector<CDeviceInfo*> m_vecDevices;
    /** The caller owns it once it is in the list. */
    CDeviceInfo* m_pDevice;
};
