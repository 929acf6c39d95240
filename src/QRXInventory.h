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
 * @param componentId   compared byte for byte with each Device below the root; the first match counts
 * @param inventoryXml  the document, NUL-terminated
 * @param device        receives the version; unchanged if the component has no Application
 * @return 0 if the component was found; 1 if it was not, or if the document is not an inventory
 */
int GetQRXVersion(const char* componentId, const char* inventoryXml, CDeviceInfo* device);

/** Inventories the chassis controller: checks that it may be updated from this server, and that it knows the
 *  package's component. */
class CQRXInventory : public IDeviceInventory {
public:
    /** Prepares the repository, reads package.xml and creates the controller's record. Without memory for the
     *  repository object, the repository counts as absent. */
    CQRXInventory();
    ~CQRXInventory() override;
    CQRXInventory(const CQRXInventory&) = delete;
    CQRXInventory& operator=(const CQRXInventory&) = delete;

    /** A list with the controller's record, which holds the outcome. Every call appends the same record
     * again.
     */
    std::vector<CDeviceInfo*> GetInventory() override;

    /** Fills in the controller's fixed identity. */
    void getBasicDeviceInfo(CDeviceInfo* device);

    /** Sets the outcome. code (0 success, 1 failure) becomes both the status and the message id. */
    void setMsgStatus(CDeviceInfo* device, std::string message, int code);

    /** Whether this kind, as the library reports it, is a repository; logs the kind. */
    bool isWyndAvailable(ewyndSupport kind);

    /** Appends the controller's inventory document to out. True, without a document, if the library has not
     *  finished its own preparation: the look-up then finds nothing. */
    bool getTVKInvXML(std::stringstream& out);

    /** Whether the controller's inventory has the component; puts its version on the record. */
    bool isTVKRecordPresent(std::string componentId, CDeviceInfo* device);

    /** Whether the controller may be updated with this package; puts the outcome on the record. */
    bool validateInventory(CDeviceInfo* device);

    /**
     * Asks the chassis over IPMI whether shared components may be updated from this server.
     *
     * @return the number of a vtek::permission::Decision: 0 allowed, or the request failed; 3 or 4 refused by
     *         the chassis's settings
     */
    int isQRXResetAllowed();

private:
    std::unique_ptr<secureWynd> m_secureWynd;
    /** Never deleted: lives until the process exits. */
    CSoftwareComponentInfo* m_pComponentInfo;
    std::stringstream m_recordStream;
    std::stringstream m_tvkInventoryStream;
    std::vector<CDeviceInfo*> m_vecDevices;
    /** The caller owns it once it is in the list. */
    CDeviceInfo* m_pDevice;
};
