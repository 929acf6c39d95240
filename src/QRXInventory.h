#pragma once

#include "DeviceInfo.h"
#include "IDeviceInventory.h"
#include "SoftwareComponentInfo.h"
#include <vtek/vtek.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

/**
 * Reads the installed version of one component from a controller's inventory into a record.
 *
 * @param componentId   compared byte for byte with each Device of the document's root; the first match counts
 * @param inventoryXml  the document, NUL-terminated
 * @param device        receives the version; unchanged where the component has no Application
 * @return 0 when the component is there, 1 when it is not or the document is no inventory
 */
int GetQRXVersion(const char* componentId, const char* inventoryXml, CDeviceInfo* device);

/** Inventories the chassis controller: may it be updated from here, and does it know the package's component.
 */
class CQRXInventory : public IDeviceInventory {
public:
    /** Prepares the repository, reads package.xml and makes the controller's record. Where the repository
     *  cannot be made for want of memory, it counts as absent from then on. */
    CQRXInventory();
    ~CQRXInventory() override;
    CQRXInventory(const CQRXInventory&) = delete;
    CQRXInventory& operator=(const CQRXInventory&) = delete;

    /** The controller's record, in a list, with the outcome in it. Every call appends the same record again.
     */
    std::vector<CDeviceInfo*> GetInventory() override;

    /** Gives the record the controller's fixed identity. */
    void getBasicDeviceInfo(CDeviceInfo* device);

    /** Puts an outcome on the record; code (0 success, 1 failure) is its status and its message id. */
    void setMsgStatus(CDeviceInfo* device, std::string message, int code);

    /** Whether the kind that the library tells is a repository; logs which. */
    bool isWyndAvailable(ewyndSupport kind);

    /** Appends the controller's inventory document to out. True without a document where the library has not
     *  finished its own preparation: the look-up then finds nothing. */
    bool getTVKInvXML(std::stringstream& out);

    /** Whether the controller's inventory holds the component; its version goes into the record. */
    bool isTVKRecordPresent(std::string componentId, CDeviceInfo* device);

    /** Whether the controller may be updated with this package; the outcome goes into the record. */
    bool validateInventory(CDeviceInfo* device);

    /**
     * Asks the chassis over IPMI whether shared components may be updated from this server.
     *
     * @return 0 allowed, also when the request itself failed; 3 or 4 refused by the chassis's settings
     */
    int isQRXResetAllowed();

private:
    std::unique_ptr<secureWynd> m_secureWynd;
    /** Never deleted: lives until the process exits. */
    CSoftwareComponentInfo* m_pComponentInfo;
    std::stringstream m_recordStream;
    std::stringstream m_tvkInventoryStream;
    std::vector<CDeviceInfo*> m_vecDevices;
    /** Passes to the caller inside the list. */
    CDeviceInfo* m_pDevice;
};
