#include "DeviceInfo.h"

#include "LogSource.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/DeviceInfo");

constexpr std::string_view kDownloadBaseUrl = "http://downloads.example/";

std::string toHex(unsigned short number) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), digits[number % 16]);
        number = static_cast<unsigned short>(number / 16);
    } while (number != 0);
    return text;
}

/** The number as one character of a log line, not as digits. */
std::string_view asRawByte(const unsigned char& number) {
    return {reinterpret_cast<const char*>(&number), 1};
}

}  // namespace

CDeviceInfo::CDeviceInfo()
    : m_eDeviceType(UNKNOWN_DEVICE),
      m_eDependencyType(HARD_DEPENDENCY),
      m_nMessageID(0),
      m_nStatus(-1),
      m_nUpdateStatus(0),
      m_bRebootRequired(false),
      m_BDFInfo{} {}

auto CDeviceInfo::identity() const {
    return std::tie(m_strComponentType, m_strComponentID, m_eDependencyType, m_strVersion, m_strDisplay,
                    m_strDetail, m_strFilePath, m_PCIInfo.componentID, m_PCIInfo.deviceID,
                    m_PCIInfo.subDeviceID, m_PCIInfo.vendorID, m_PCIInfo.subVendorID);
}

// cppcheck-suppress passedByValue ; the signature is fixed
bool CDeviceInfo::operator==(CDeviceInfo other) const {
    return identity() == other.identity();
}

std::size_t CDeviceInfo::hash() const {
    // The usual polynomial over the fields, so that their order counts.
    std::size_t value = 0;
    const auto mixIn = [&value](const auto& field) {
        value = value * 31 + std::hash<std::decay_t<decltype(field)>>{}(field);
    };
    std::apply([&mixIn](const auto&... field) { (mixIn(field), ...); }, identity());
    return value;
}

void CDeviceInfo::setPCIInfo(SPCIInfo value) {
    m_PCIInfo = std::move(value);
}

void CDeviceInfo::setPCIInfo(unsigned short deviceId, unsigned short subDeviceId, unsigned short vendorId,
                             unsigned short subVendorId) {
    m_PCIInfo = SPCIInfo{"", toHex(deviceId), toHex(subDeviceId), toHex(vendorId), toHex(subVendorId), ""};
    debugLog({"CDeviceInfo::setPCIInfo() Device id  ", m_PCIInfo.deviceID});
    debugLog({"CDeviceInfo::setPCIInfo() SubDevice id  ", m_PCIInfo.subDeviceID});
    debugLog({"CDeviceInfo::setPCIInfo() Vendor id  ", m_PCIInfo.vendorID});
    debugLog({"CDeviceInfo::setPCIInfo() SubVendor id  ", m_PCIInfo.subVendorID});
}

void CDeviceInfo::setBDFInfo(_BDFInfo value) {
    m_BDFInfo = value;
}

void CDeviceInfo::setBDFInfo(unsigned char bus, unsigned char device, unsigned char function) {
    m_BDFInfo = {bus, device, function};
    // The fixed texts of these lines name another class.
    debugLog({"CNVMeAdapter::setBDFInfo() Bus Number is  ", asRawByte(m_BDFInfo.bus)});
    debugLog({"CNVMeAdapter::setBDFInfo() Device Number is  ", asRawByte(m_BDFInfo.device)});
    debugLog({"CNVMeAdapter::setBDFInfo() Function Number is  ", asRawByte(m_BDFInfo.function)});
}

std::string CDeviceInfo::getFilePath() {
    std::replace(m_strFilePath.begin(), m_strFilePath.end(), '\\', '/');
    return std::string(kDownloadBaseUrl) + m_strFilePath;
}

void CDeviceInfo::setReleaseID(std::string value) {
    m_strReleaseID = std::move(value);
}

void CDeviceInfo::setComponentID(std::string value) {
    m_strComponentID = std::move(value);
}

void CDeviceInfo::setParentComponentID(std::string value) {
    m_strParentComponentID = std::move(value);
}

void CDeviceInfo::setComponentType(std::string value) {
    m_strComponentType = std::move(value);
}

void CDeviceInfo::setDeviceName(std::string value) {
    m_strDeviceName = std::move(value);
}

void CDeviceInfo::setVersion(std::string value) {
    m_strVersion = std::move(value);
}

void CDeviceInfo::setErrorMsg(std::string value) {
    m_strErrorMsg = std::move(value);
}

void CDeviceInfo::setDisplay(std::string value) {
    m_strDisplay = std::move(value);
}

void CDeviceInfo::setDetail(std::string value) {
    m_strDetail = std::move(value);
}

void CDeviceInfo::setFilePath(std::string value) {
    m_strFilePath = std::move(value);
}

void CDeviceInfo::setCurrentVersion(std::string value) {
    m_strCurrentVersion = std::move(value);
}

void CDeviceInfo::setEnumId(std::string value) {
    m_strEnumId = std::move(value);
}

void CDeviceInfo::setDeviceType(eDeviceType value) {
    m_eDeviceType = value;
}

void CDeviceInfo::setDependencyType(eDependencyType value) {
    m_eDependencyType = value;
}

void CDeviceInfo::setMessageID(int value) {
    m_nMessageID = value;
}

void CDeviceInfo::setStatus(int value) {
    m_nStatus = value;
}

void CDeviceInfo::setUpdateStatus(int value) {
    m_nUpdateStatus = value;
}

void CDeviceInfo::setRebootRequired(bool value) {
    m_bRebootRequired = value;
}

std::string CDeviceInfo::getReleaseID() const {
    return m_strReleaseID;
}

std::string CDeviceInfo::getComponentID() const {
    return m_strComponentID;
}

std::string CDeviceInfo::getParentComponentID() const {
    return m_strParentComponentID;
}

std::string CDeviceInfo::getComponentType() const {
    return m_strComponentType;
}

std::string CDeviceInfo::getDeviceName() const {
    return m_strDeviceName;
}

std::string CDeviceInfo::getVersion() const {
    return m_strVersion;
}

std::string CDeviceInfo::getErrorMsg() const {
    return m_strErrorMsg;
}

std::string CDeviceInfo::getDisplay() const {
    return m_strDisplay;
}

std::string CDeviceInfo::getDetail() const {
    return m_strDetail;
}

std::string CDeviceInfo::getCurrentVersion() const {
    return m_strCurrentVersion;
}

std::string CDeviceInfo::getEnumId() const {
    return m_strEnumId;
}

CDeviceInfo::SPCIInfo CDeviceInfo::getPCIInfo() const {
    return m_PCIInfo;
}

CDeviceInfo::_BDFInfo CDeviceInfo::getBDFInfo() const {
    return m_BDFInfo;
}

CDeviceInfo::eDeviceType CDeviceInfo::getDeviceType() const {
    return m_eDeviceType;
}

CDeviceInfo::eDependencyType CDeviceInfo::getDependencyType() const {
    return m_eDependencyType;
}

int CDeviceInfo::getMessageID() const {
    return m_nMessageID;
}

int CDeviceInfo::getStatus() const {
    return m_nStatus;
}

int CDeviceInfo::getUpdateStatus() const {
    return m_nUpdateStatus;
}

bool CDeviceInfo::getRebootRequired() const {
    return m_bRebootRequired;
}
