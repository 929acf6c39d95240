// Replaces poll and ioctl in this program to script the kernel's driver.
#include "ipmi/IpmiDevice.h"

#include <gmock/gmock.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <functional>

namespace {

/** The scripted driver; each test sets the calls it needs. */
struct Driver {
    std::function<int(pollfd&, int timeout)> poll;
    std::function<int(ipmi_req&)> send;
    std::function<int(ipmi_recv&)> receive;
};
Driver driver;

int fail(int error) {
    errno = error;
    return -1;
}

}  // namespace

extern "C" int poll(pollfd* waiting, nfds_t, int timeout) {
    return driver.poll(*waiting, timeout);
}

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return request == IPMICTL_SEND_COMMAND ? driver.send(*static_cast<ipmi_req*>(argument))
                                           : driver.receive(*static_cast<ipmi_recv*>(argument));
}

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using vtek::Bytes;
using vtek::ErrorNumber;

class KernelIpmiPortTest : public testing::Test {
protected:
    KernelIpmiPortTest() : port_(std::move(*vtek::KernelIpmiPort::open("/dev/null"))) {
        driver.poll = [](pollfd& waiting, int) {
            waiting.revents = POLLIN;
            return 1;
        };
    }

    std::unique_ptr<vtek::IpmiPort> port_;
};

TEST_F(KernelIpmiPortTest, SendsToManagementController) {
    Bytes sent;
    driver.send = [&](ipmi_req& request) {
        const auto* address = reinterpret_cast<ipmi_system_interface_addr*>(request.addr);
        EXPECT_EQ(request.addr_len, sizeof *address);
        EXPECT_EQ(address->addr_type, IPMI_SYSTEM_INTERFACE_ADDR_TYPE);
        EXPECT_EQ(address->channel, IPMI_BMC_CHANNEL);
        EXPECT_EQ(request.msgid, 7);
        sent = {request.msg.netfn, request.msg.cmd};
        sent.insert(sent.end(), request.msg.data, request.msg.data + request.msg.data_len);
        return 0;
    };
    EXPECT_TRUE(port_->send(7, 0x30, 0xD0, {1, 2, 3}));
    EXPECT_THAT(sent, ElementsAre(0x30, 0xD0, 1, 2, 3));
}

TEST_F(KernelIpmiPortTest, ReportsRefusedSend) {
    driver.send = [](ipmi_req&) { return fail(EPERM); };
    const auto sent = port_->send(7, 0x30, 0xD0, {});
    EXPECT_EQ(sent.error().number, ErrorNumber::IpmiFailed);
    EXPECT_EQ(sent.error().message, "send on /dev/null: Operation not permitted");
}

TEST_F(KernelIpmiPortTest, ReturnsReceivedMessage) {
    driver.receive = [](ipmi_recv& received) {
        received.recv_type = IPMI_RESPONSE_RECV_TYPE;
        received.msgid = 7;
        received.msg.data_len = 3;
        const unsigned char answer[]{0, 2, 1};
        std::copy_n(answer, 3, received.msg.data);
        return 0;
    };
    const auto received = port_->receive(milliseconds(10));
    ASSERT_TRUE(received && *received);
    EXPECT_EQ((*received)->id, 7);
    EXPECT_TRUE((*received)->response);
    EXPECT_THAT((*received)->data, ElementsAre(0, 2, 1));
}

TEST_F(KernelIpmiPortTest, DistinguishesEventFromResponse) {
    driver.receive = [](ipmi_recv& received) {
        received.recv_type = IPMI_ASYNC_EVENT_RECV_TYPE;
        received.msg.data_len = 0;
        return 0;
    };
    const auto received = port_->receive(milliseconds(10));
    ASSERT_TRUE(received && *received);
    EXPECT_FALSE((*received)->response);
}

TEST_F(KernelIpmiPortTest, AcceptsTruncatedMessage) {
    driver.receive = [](ipmi_recv& received) {
        received.recv_type = IPMI_RESPONSE_RECV_TYPE;
        std::fill_n(received.msg.data, received.msg.data_len, static_cast<unsigned char>(9));
        return fail(EMSGSIZE);
    };
    const auto received = port_->receive(milliseconds(10));
    ASSERT_TRUE(received && *received);
    EXPECT_EQ((*received)->data, Bytes(IPMI_MAX_MSG_LENGTH, 9));
}

TEST_F(KernelIpmiPortTest, ReportsFailedReceive) {
    driver.receive = [](ipmi_recv&) { return fail(EFAULT); };
    EXPECT_EQ(port_->receive(milliseconds(10)).error().message, "receive on /dev/null: Bad address");
}

TEST_F(KernelIpmiPortTest, WaitsUntilTimeout) {
    int waited = 0;
    driver.poll = [&](pollfd& waiting, int timeout) {
        EXPECT_EQ(waiting.events, POLLIN);
        waited = timeout;
        return 0;
    };
    const auto received = port_->receive(milliseconds(1234));
    EXPECT_TRUE(received && !*received);
    EXPECT_EQ(waited, 1234);
}

TEST_F(KernelIpmiPortTest, ReturnsNothingIfInterruptedAndReportsFailedWait) {
    driver.poll = [](pollfd&, int) { return fail(EINTR); };
    const auto interrupted = port_->receive(milliseconds(10));
    EXPECT_TRUE(interrupted && !*interrupted);
    driver.poll = [](pollfd&, int) { return fail(ENOMEM); };
    EXPECT_EQ(port_->receive(milliseconds(10)).error().message, "wait on /dev/null: Cannot allocate memory");
}

TEST_F(KernelIpmiPortTest, ReadsMonotonicClock) {
    const auto before = port_->now();
    EXPECT_GE(port_->now(), before);
}

}  // namespace
