#include "chassis/Settings.h"
#include "face/Library.h"
#include "ipmi/Ipmi.h"
#include <vtek/permission.h>
#include <vtek/vtek.h>

#include <exception>
#include <memory>

using vtek::Bytes;
using vtek::ErrorNumber;
using vtek::Library;
using vtek::Result;

_EsmIPMICmdIoctlReq IPMIReqBuf;

namespace {

using vtek::permission::kMessageAt;

constexpr unsigned char kFailed = 0xFF;  // the completion code "unspecified error"
// The longest message, in bytes.
constexpr std::size_t kMessageBound = sizeof(_EsmIPMICmdIoctlReq::bytes) - kMessageAt;

Result<Bytes> exchange(Library& library, eOEMIPMIRequestType type, const Bytes& data) {
    VTEK_ASSIGN(vtek::Store * store, library.store());
    VTEK_ASSIGN(const vtek::Settings settings, loadSettings(*store));
    VTEK_ASSIGN(const auto transport, vtek::openIpmi(settings));
    return transport->exchange(static_cast<std::uint8_t>(type), data);
}

}  // namespace

unsigned char OEMIPMIRequest(eOEMIPMIRequestType type, unsigned char /*value*/, _EsmIPMICmdIoctlReq* buffer,
                             unsigned short requestLength, unsigned short responseLength) {
    Library& library = Library::instance();
    if (buffer == nullptr || requestLength > kMessageBound || responseLength > kMessageBound) {
        library.log().failure("OEMIPMIRequest",
                              {ErrorNumber::IpmiFailed, "the request or response exceeds the buffer"});
        return kFailed;
    }
    // The program is not prepared for exceptions from this call.
    try {
        unsigned char* message = buffer->bytes + kMessageAt;
        const auto answer = exchange(library, type, Bytes(message, message + requestLength));
        if (!answer) {
            library.log().failure("OEMIPMIRequest", answer.error());
            return kFailed;
        }
        return vtek::storeResponse(*answer, message, responseLength);
    } catch (const std::exception& failure) {
        library.log().failure("OEMIPMIRequest", {ErrorNumber::Internal, failure.what()});
        return kFailed;
    }
}
