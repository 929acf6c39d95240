#include "vtek/vtek.h"

secureWynd::secureWynd() = default;
secureWynd::~secureWynd() = default;
ewyndSupport secureWynd::IsWyndPresent() {
    return NO_WYND;
}
void secureWynd::secureWyndInit() {}
bool secureWynd::QueryTVK(std::stringstream&, exmlMode) {
    return false;
}
bool secureWynd::IsPayloadSigned(std::string&) {
    return false;
}
bool secureWynd::StartCopyFile() {
    return false;
}
bool secureWynd::AddFile(std::string, std::string, exmlMode) {
    return false;
}
bool secureWynd::CompleteSignedUnzip() {
    return false;
}
bool secureWynd::EndCopyFile() {
    return false;
}
int secureWynd::getVTEKError() {
    return 0;
}

_EsmIPMICmdIoctlReq IPMIReqBuf{};

unsigned char OEMIPMIRequest(eOEMIPMIRequestType, unsigned char, _EsmIPMICmdIoctlReq*, unsigned short,
                             unsigned short) {
    return 0;
}
void logWyndMsg(const char*, unsigned int, const std::string&) {}

std::string CStringUtils::toLowerCase(const std::string& text) {
    return text;
}
std::string CStringUtils::trim_string(const std::string& text) {
    return text;
}
