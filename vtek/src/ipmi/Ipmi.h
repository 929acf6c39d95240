#pragma once

#include "base/Result.h"
#include "chassis/Settings.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vtek {

using Bytes = std::vector<std::uint8_t>;

/** The network function of the platform's OEM commands; 0x30 to 0x3F are reserved for OEMs. */
inline constexpr std::uint8_t kOemNetFunction = 0x30;

/** Sends IPMI requests to a management controller, real or simulated. */
class IpmiTransport {
public:
    virtual ~IpmiTransport() = default;

    /** Sends one OEM request and waits for the response. @return the completion code, then the data; never
     * empty */
    virtual Result<Bytes> exchange(std::uint8_t command, const Bytes& data) = 0;
};

/** Answers from the chassis settings: ten zeros, the mode, the flag; or a completion code alone. */
class SimulatedIpmi : public IpmiTransport {
public:
    explicit SimulatedIpmi(const Settings& settings);
    Result<Bytes> exchange(std::uint8_t command, const Bytes& data) override;

private:
    Bytes answer_;
};

/** Opens the transport that the settings select. */
Result<std::unique_ptr<IpmiTransport>> openIpmi(const Settings& settings);

/**
 * Copies the data of a response into the caller's buffer, truncated or padded with zeros to length bytes.
 *
 * @param response  completion code, then data
 * @return the completion code; if it is not 0, the buffer stays unchanged
 */
std::uint8_t storeResponse(const Bytes& response, std::uint8_t* buffer, std::size_t length);

}  // namespace vtek
