#pragma once

#include "base/File.h"
#include "ipmi/Ipmi.h"

namespace vtek {

/** A message that came from the management controller. */
struct IpmiMessage {
    long id;        ///< of the request that it answers
    bool response;  ///< and not an event or a request of somebody else
    Bytes data;     ///< completion code, then data
};

/** Where messages to and from the management controller pass; abstract so that every answer can be tried. */
class IpmiPort {
public:
    virtual ~IpmiPort() = default;

    virtual Status send(long id, std::uint8_t netFunction, std::uint8_t command, const Bytes& data) = 0;

    /** Waits for a message of any kind; absent when the time is over. */
    virtual Result<std::optional<IpmiMessage>> receive(std::chrono::milliseconds patience) = 0;

    /** How much time has passed since some fixed moment. */
    virtual std::chrono::milliseconds now() const = 0;
};

/** The kernel's in-band driver. */
class KernelIpmiPort : public IpmiPort {
public:
    /** @param device  such as /dev/ipmi0 */
    static Result<std::unique_ptr<IpmiPort>> open(const std::string& device);

    Status send(long id, std::uint8_t netFunction, std::uint8_t command, const Bytes& data) override;
    Result<std::optional<IpmiMessage>> receive(std::chrono::milliseconds patience) override;
    std::chrono::milliseconds now() const override;

private:
    KernelIpmiPort(std::string device, UniqueFd file) : device_(std::move(device)), file_(std::move(file)) {}
    Error failed(const char* what) const;

    std::string device_;
    UniqueFd file_;
};

/** Sends requests through a port and waits for the answer that belongs to each; late answers are dropped. */
class IpmiDevice : public IpmiTransport {
public:
    explicit IpmiDevice(std::unique_ptr<IpmiPort> port) : port_(std::move(port)) {}
    Result<Bytes> exchange(std::uint8_t command, const Bytes& data) override;

private:
    std::unique_ptr<IpmiPort> port_;
    long lastId_ = 0;
};

/** How long an answer may take. */
inline constexpr std::chrono::milliseconds kIpmiPatience{5000};

}  // namespace vtek
