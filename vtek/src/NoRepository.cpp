// A platform library without a repository, so that the program links until the stand-in proper takes its
// place.

#include <vtek/vtek.h>

_EsmIPMICmdIoctlReq IPMIReqBuf;

secureWynd::secureWynd() : isSuccess(false), m_pImpl(nullptr) {}
secureWynd::~secureWynd() = default;
ewyndSupport secureWynd::IsWyndPresent() {
    return NO_WYND;
}
void secureWynd::secureWyndInit() {
    isSuccess = false;
}
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
    return 1;
}

unsigned char OEMIPMIRequest(eOEMIPMIRequestType, unsigned char, _EsmIPMICmdIoctlReq*, unsigned short,
                             unsigned short) {
    return 0xFF;
}

void logWyndMsg(const char*, unsigned int, const std::string&) {}
