#pragma once

#include "base/File.h"
#include "ipmi/Ipmi.h"

namespace vtek {

/** A message from the management controller. */
struct IpmiMessage {
    long id;        ///< of the request it belongs to
    bool response;  ///< false for an event or a request to us
    Bytes data;     ///< completion code, then data
};

/** Interface to the driver of the management controller; abstract, so that tests can script every response.
 */
class IpmiPort {
public:
    virtual ~IpmiPort() = default;

    /** Sends a request. @param id  returned with the response */
    virtual Status send(long id, std::uint8_t netFunction, std::uint8_t command, const Bytes& data) = 0;

    /** Waits for a message of any kind. @return nothing after the time-out or an interruption */
    virtual Result<std::optional<IpmiMessage>> receive(std::chrono::milliseconds patience) = 0;

    /** The time since some fixed moment; never goes back. */
    virtual std::chrono::milliseconds now() const = 0;
};

/** The kernel's driver for the management controller of this machine. */
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

/** Sends each request through a port and waits for its own response. Drops late responses to earlier
 * requests. */
class IpmiDevice : public IpmiTransport {
public:
    explicit IpmiDevice(std::unique_ptr<IpmiPort> port) : port_(std::move(port)) {}
    Result<Bytes> exchange(std::uint8_t command, const Bytes& data) override;

private:
    std::unique_ptr<IpmiPort> port_;
    long lastId_ = 0;
};

/** How long to wait for a response. A controller under load may take seconds; the program must not
 * hang on one that does not respond. */
inline constexpr std::chrono::milliseconds kIpmiPatience{5000};

}  // namespace vtek
