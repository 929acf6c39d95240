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

inline constexpr std::uint8_t kOemNetFunction = 0x30;

/** Who answers IPMI requests. */
class IpmiTransport {
public:
    virtual ~IpmiTransport() = default;

    /** Sends one OEM request. @return the completion code, then the answer's data; never empty */
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

/** The transport that the settings ask for. */
Result<std::unique_ptr<IpmiTransport>> openIpmi(const Settings& settings);

/**
 * Puts an answer into the caller's buffer: data cut or filled up with zeros to the length that was asked for.
 *
 * @param answer  completion code, then data
 * @return the completion code; when it is not 0 the buffer stays as it is
 */
std::uint8_t storeAnswer(const Bytes& answer, std::uint8_t* buffer, std::size_t length);

}  // namespace vtek
