#include "ipmi/IpmiDevice.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <utility>

namespace vtek {

namespace {

Error failure(const std::string& reason) {
    return {ErrorNumber::IpmiFailed, reason};
}

}  // namespace

Result<std::unique_ptr<IpmiPort>> KernelIpmiPort::open(const std::string& device) {
    UniqueFd file = openAt(kWorkingFolder, device, O_RDWR | O_NOCTTY);
    if (!file) {
        return systemError(ErrorNumber::IpmiFailed, "open " + device);
    }
    return std::unique_ptr<IpmiPort>(new KernelIpmiPort(device, std::move(file)));
}

Status KernelIpmiPort::send(long id, std::uint8_t netFunction, std::uint8_t command, const Bytes& data) {
    Bytes copy = data;  // the driver's interface takes a pointer to non-const
    ipmi_system_interface_addr address{};
    address.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    address.channel = IPMI_BMC_CHANNEL;
    ipmi_req request{};
    request.addr = reinterpret_cast<unsigned char*>(&address);
    request.addr_len = sizeof address;
    request.msgid = id;
    request.msg.netfn = netFunction;
    request.msg.cmd = command;
    request.msg.data = copy.data();
    request.msg.data_len = static_cast<unsigned short>(copy.size());
    if (ioctl(file_.get(), IPMICTL_SEND_COMMAND, &request) != 0) {
        return failed("send");
    }
    return {};
}

Result<std::optional<IpmiMessage>> KernelIpmiPort::receive(std::chrono::milliseconds patience) {
    pollfd waiting{file_.get(), POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(patience.count()));
    if (ready < 0 && errno != EINTR) {
        return failed("wait");
    }
    if (ready <= 0) {
        return std::optional<IpmiMessage>();
    }
    std::array<unsigned char, IPMI_MAX_MSG_LENGTH> data{};
    ipmi_addr address{};
    ipmi_recv received{};
    received.addr = reinterpret_cast<unsigned char*>(&address);
    received.addr_len = sizeof address;
    received.msg.data = data.data();
    received.msg.data_len = static_cast<unsigned short>(data.size());
    // TRUNC delivers a message that exceeds the buffer, truncated, and reports EMSGSIZE. Without it, the
    // message would stay at the head of the queue.
    if (ioctl(file_.get(), IPMICTL_RECEIVE_MSG_TRUNC, &received) != 0 && errno != EMSGSIZE) {
        return failed("receive");
    }
    const auto size = std::min<std::size_t>(received.msg.data_len, data.size());
    return std::optional(IpmiMessage{received.msgid, received.recv_type == IPMI_RESPONSE_RECV_TYPE,
                                     Bytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size))});
}

std::chrono::milliseconds KernelIpmiPort::now() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
}

Error KernelIpmiPort::failed(const char* what) const {
    return systemError(ErrorNumber::IpmiFailed, std::string(what) + " on " + device_);
}

Result<Bytes> IpmiDevice::exchange(std::uint8_t command, const Bytes& data) {
    // A new id for each request: a late response to an earlier one must not pass for this one's.
    const long id = ++lastId_;
    VTEK_TRY(port_->send(id, kOemNetFunction, command, data));
    // One deadline for all messages: a controller that sends many events must not extend the wait.
    const auto deadline = port_->now() + kIpmiPatience;
    for (auto left = kIpmiPatience; left.count() > 0; left = deadline - port_->now()) {
        VTEK_ASSIGN(auto message, port_->receive(left));
        if (!message || !message->response || message->id != id) {
            continue;
        }
        if (message->data.empty()) {
            return failure("a response without a completion code");
        }
        return std::move(message->data);
    }
    return failure("no response within " + std::to_string(kIpmiPatience.count()) + " ms");
}

}  // namespace vtek
