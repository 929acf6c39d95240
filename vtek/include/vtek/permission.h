#pragma once

#include <vtek/vtek.h>

#include <cstddef>

/**
 * The SHARED_COMPONENT_UPDATE exchange of OEMIPMIRequest: may this server update the chassis's shared
 * components?
 *
 * Its bytes and its rule stand only here: the program asks, the stand-in answers, and `vtekctl` asks ahead of
 * an update. Positions named `...At` are indices into _EsmIPMICmdIoctlReq::bytes.
 */
namespace vtek::permission {

/** Start of the message: of the request before the call, of the answer after it. The bytes before it are
 *  zero. */
inline constexpr std::size_t kMessageAt = 32;

/** Lengths in bytes, from kMessageAt on. */
inline constexpr unsigned short kRequestLength = 10;
inline constexpr unsigned short kAnswerLength = 12;

/** The `value` argument of OEMIPMIRequest. */
inline constexpr unsigned char kRequestValue = 1;

/** The request's bytes that are not zero. The platform fixes their values but does not document what each
 *  one means. */
struct RequestByte {
    std::size_t at;
    unsigned char value;
};
inline constexpr RequestByte kRequestBytes[] = {{35, 0x17}, {36, 0x04}, {40, 0x04}};

/** The answer's two settings: "Chassis Management at Server", and "Enable Shared Components Update". */
inline constexpr std::size_t kModeAt = 42;
inline constexpr std::size_t kFlagAt = 43;

/** The values that permit the update. */
inline constexpr unsigned char kManagedAtServer = 2;
inline constexpr unsigned char kUpdateEnabled = 1;

/** What an answer means; the numbers are the results of CQRXInventory::isQRXResetAllowed. */
enum class Decision { Allowed = 0, RefusedByFlag = 3, RefusedByMode = 4 };

/** The request, ready to send. */
constexpr _EsmIPMICmdIoctlReq request() {
    _EsmIPMICmdIoctlReq block{};
    for (const RequestByte& byte : kRequestBytes) {
        block.bytes[byte.at] = byte.value;
    }
    return block;
}

/**
 * Whether the update may go on.
 *
 * @param completion  the result of OEMIPMIRequest; every failure (not 0) counts as permission, since only the
 *                    chassis's own settings refuse an update
 * @param answer      the answer; not read after a failure
 */
constexpr Decision decide(unsigned char completion, const _EsmIPMICmdIoctlReq& answer) {
    if (completion != 0) {
        return Decision::Allowed;
    }
    // With both settings wrong, the mode is the reason.
    if (answer.bytes[kModeAt] != kManagedAtServer) {
        return Decision::RefusedByMode;
    }
    return answer.bytes[kFlagAt] == kUpdateEnabled ? Decision::Allowed : Decision::RefusedByFlag;
}

}  // namespace vtek::permission
