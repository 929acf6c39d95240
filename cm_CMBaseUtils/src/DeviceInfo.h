#pragma once

#include <cstddef>
#include <string>

/** The identity of a PCI device, as text. */
struct SPCIInfo {
    std::string componentID;
    std::string deviceID;
    std::string subDeviceID;
    std::string vendorID;
    std::string subVendorID;
    std::string marketingName;

    bool operator==(const SPCIInfo& other) const = default;
};

/** The place of a device on the PCI bus. */
struct _BDFInfo {
    unsigned char bus;
    unsigned char device;
    unsigned char function;
};

/**
 * The record of one device: its identity, versions, status and message.
 *
 * A plain value. The holder of a list of records owns the records in it. A new record counts as failed
 * (status -1) until its producer sets another status; 0 is success.
 */
class CDeviceInfo {
public:
    using SPCIInfo = ::SPCIInfo;
    using _BDFInfo = ::_BDFInfo;

    enum eDeviceType { UNKNOWN_DEVICE = 0, PCI_DEVICE = 1, NON_PCI_DEVICE = 2 };
    enum eDependencyType { HARD_DEPENDENCY = 1, SOFT_DEPENDENCY = 2 };

    CDeviceInfo();

    /**
     * Whether the two describe the same component: component type, component id, dependency type, version,
     * display, detail, file path, and the PCI identity without its marketing name, all byte for byte.
     */
    bool operator==(CDeviceInfo other) const;

    /** A hash of the fields that operator== compares. */
    std::size_t hash() const;

    void setReleaseID(std::string value);
    void setComponentID(std::string value);
    void setParentComponentID(std::string value);
    void setComponentType(std::string value);
    void setDeviceName(std::string value);
    void setVersion(std::string value);
    void setPCIInfo(SPCIInfo value);
    /** Replaces the whole PCI identity by these four ids, written as lower-case hexadecimal without leading
     *  zeros, and logs them. */
    void setPCIInfo(unsigned short deviceId, unsigned short subDeviceId, unsigned short vendorId,
                    unsigned short subVendorId);
    void setDeviceType(eDeviceType value);
    void setDependencyType(eDependencyType value);
    void setMessageID(int value);
    void setStatus(int value);
    void setErrorMsg(std::string value);
    void setUpdateStatus(int value);
    void setDisplay(std::string value);
    void setDetail(std::string value);
    void setFilePath(std::string value);
    void setCurrentVersion(std::string value);
    void setEnumId(std::string value);
    void setRebootRequired(bool value);
    void setBDFInfo(_BDFInfo value);
    /** Stores the three numbers and logs each as one raw byte. */
    void setBDFInfo(unsigned char bus, unsigned char device, unsigned char function);

    std::string getReleaseID() const;
    std::string getComponentID() const;
    std::string getParentComponentID() const;
    std::string getComponentType() const;
    std::string getDeviceName() const;
    std::string getVersion() const;
    SPCIInfo getPCIInfo() const;
    eDeviceType getDeviceType() const;
    eDependencyType getDependencyType() const;
    int getMessageID() const;
    int getStatus() const;
    std::string getErrorMsg() const;
    int getUpdateStatus() const;
    std::string getDisplay() const;
    std::string getDetail() const;
    /** The payload's download address: the base URL, then the stored path. Turns the backslashes of the
     *  stored path into '/' for good. */
    std::string getFilePath();
    std::string getCurrentVersion() const;
    std::string getEnumId() const;
    bool getRebootRequired() const;
    _BDFInfo getBDFInfo() const;

private:
    /** References to the fields that operator== compares. */
    auto identity() const;

    std::string m_strReleaseID;
    std::string m_strComponentID;
    std::string m_strParentComponentID;
    std::string m_strComponentType;
    std::string m_strDeviceName;
    std::string m_strVersion;
    SPCIInfo m_PCIInfo;
    eDeviceType m_eDeviceType;
    eDependencyType m_eDependencyType;
    int m_nMessageID;
    int m_nStatus;
    std::string m_strErrorMsg;
    int m_nUpdateStatus;
    std::string m_strDisplay;
    std::string m_strDetail;
    std::string m_strFilePath;
    std::string m_strCurrentVersion;
    std::string m_strEnumId;
    bool m_bRebootRequired;
    _BDFInfo m_BDFInfo;
};
