#include "chassis/Store.h"
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

constexpr unsigned char kFailed = 0xFF;
using vtek::permission::kMessageAt;
/** The longest message, in bytes. */
constexpr std::size_t kMessageBound = sizeof(_EsmIPMICmdIoctlReq::bytes) - kMessageAt;

Result<Bytes> exchange(const Result<vtek::Root>& root, eOEMIPMIRequestType type, const Bytes& data) {
    if (!root) {
        return root.error();
    }
    VTEK_ASSIGN(vtek::Store store, vtek::Store::open(*root, vtek::Store::Mode::Read));
    VTEK_ASSIGN(const vtek::Settings settings, loadSettings(store));
    VTEK_ASSIGN(const auto transport, vtek::openIpmi(settings));
    return transport->exchange(static_cast<std::uint8_t>(type), data);
}

}  // namespace

unsigned char OEMIPMIRequest(eOEMIPMIRequestType type, unsigned char /*value*/, _EsmIPMICmdIoctlReq* buffer,
                             unsigned short requestLength, unsigned short responseLength) {
    Library& library = Library::instance();
    if (buffer == nullptr || requestLength > kMessageBound || responseLength > kMessageBound) {
        library.log().failure("OEMIPMIRequest", {ErrorNumber::IpmiFailed, "a message beyond the buffer"});
        return kFailed;
    }
    try {
        unsigned char* message = buffer->bytes + kMessageAt;
        const auto answer = exchange(library.root(), type, Bytes(message, message + requestLength));
        if (!answer) {
            library.log().failure("OEMIPMIRequest", answer.error());
            return kFailed;
        }
        return vtek::storeAnswer(*answer, message, responseLength);
    } catch (const std::exception& failure) {
        library.log().failure("OEMIPMIRequest", {ErrorNumber::Internal, failure.what()});
        return kFailed;
    }
}
