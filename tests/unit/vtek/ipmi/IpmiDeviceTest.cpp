#include "ipmi/IpmiDevice.h"

#include <gmock/gmock.h>

#include <deque>
#include <functional>

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using vtek::Bytes;
using vtek::ErrorNumber;
using vtek::IpmiMessage;

/** A scripted management controller with a simulated clock. */
class ScriptedPort : public vtek::IpmiPort {
public:
    struct Event {
        milliseconds after;  ///< time that passes first
        std::function<vtek::Result<std::optional<IpmiMessage>>(long)> answer;
    };

    vtek::Status send(long id, std::uint8_t netFunction, std::uint8_t command, const Bytes& data) override {
        lastId = id;
        sent = {netFunction, command};
        sent.insert(sent.end(), data.begin(), data.end());
        return sendOutcome;
    }

    vtek::Result<std::optional<IpmiMessage>> receive(milliseconds patience) override {
        patiences.push_back(patience);
        if (events.empty() || events.front().after > patience) {
            time += patience;
            return std::optional<IpmiMessage>();
        }
        const Event event = events.front();
        events.pop_front();
        time += event.after;
        return event.answer(lastId);
    }

    milliseconds now() const override { return time; }

    std::deque<Event> events;
    std::vector<milliseconds> patiences;
    Bytes sent;
    long lastId = 0;
    milliseconds time{1000};
    vtek::Status sendOutcome;
};

class IpmiDeviceTest : public testing::Test {
protected:
    IpmiDeviceTest() : port_(new ScriptedPort), device_(std::unique_ptr<vtek::IpmiPort>(port_)) {}

    void answer(milliseconds after, const Bytes& data, long idOffset = 0, bool response = true) {
        port_->events.push_back({after, [=](long id) -> vtek::Result<std::optional<IpmiMessage>> {
                                     return std::optional(IpmiMessage{id + idOffset, response, data});
                                 }});
    }

    ScriptedPort* port_;
    vtek::IpmiDevice device_;
};

TEST_F(IpmiDeviceTest, SendsNetFunctionCommandAndData) {
    answer(milliseconds(1), {0, 7});
    EXPECT_THAT(*device_.exchange(0xD0, {1, 2, 3}), ElementsAre(0, 7));
    EXPECT_THAT(port_->sent, ElementsAre(0x30, 0xD0, 1, 2, 3));
}

TEST_F(IpmiDeviceTest, DropsLateResponse) {
    answer(milliseconds(1), {0, 0xBA, 0xD1}, -1);
    answer(milliseconds(1), {0, 7});
    EXPECT_THAT(*device_.exchange(0xD0, {}), ElementsAre(0, 7));
}

TEST_F(IpmiDeviceTest, DropsEvents) {
    answer(milliseconds(1), {0, 0xBA, 0xD1}, 0, false);
    answer(milliseconds(1), {0, 7});
    EXPECT_THAT(*device_.exchange(0xD0, {}), ElementsAre(0, 7));
}

TEST_F(IpmiDeviceTest, SendsNewIdWithEachRequest) {
    answer(milliseconds(1), {0});
    ASSERT_TRUE(device_.exchange(0xD0, {}));
    const long first = port_->lastId;
    answer(milliseconds(1), {0});
    ASSERT_TRUE(device_.exchange(0xD0, {}));
    EXPECT_NE(port_->lastId, first);
}

TEST_F(IpmiDeviceTest, GivesUpAfterFiveSeconds) {
    const auto outcome = device_.exchange(0xD0, {});
    EXPECT_EQ(outcome.error().number, ErrorNumber::IpmiFailed);
    EXPECT_EQ(port_->time, milliseconds(6000));
}

TEST_F(IpmiDeviceTest, KeepsDeadlineDespiteDroppedMessages) {
    for (int i = 0; i < 100; ++i) {
        answer(milliseconds(1000), {0}, -1);
    }
    EXPECT_FALSE(device_.exchange(0xD0, {}));
    EXPECT_EQ(port_->time, milliseconds(6000));
}

TEST_F(IpmiDeviceTest, AcceptsResponseJustBeforeDeadline) {
    answer(milliseconds(4999), {0, 7});
    EXPECT_THAT(*device_.exchange(0xD0, {}), ElementsAre(0, 7));
}

TEST_F(IpmiDeviceTest, RefusesResponseWithoutCompletionCode) {
    answer(milliseconds(1), {});
    EXPECT_EQ(device_.exchange(0xD0, {}).error().number, ErrorNumber::IpmiFailed);
}

TEST_F(IpmiDeviceTest, ReportsFailedSendOrReceive) {
    port_->sendOutcome = vtek::Error{ErrorNumber::IpmiFailed, "send"};
    EXPECT_EQ(device_.exchange(0xD0, {}).error().message, "send");
    port_->sendOutcome = {};
    port_->events.push_back({milliseconds(1), [](long) -> vtek::Result<std::optional<IpmiMessage>> {
                                 return vtek::Error{ErrorNumber::IpmiFailed, "receive"};
                             }});
    EXPECT_EQ(device_.exchange(0xD0, {}).error().message, "receive");
}

TEST(KernelIpmiPort, RefusesMissingDevice) {
    EXPECT_EQ(vtek::KernelIpmiPort::open("/dev/ipmi255").error().number, ErrorNumber::IpmiFailed);
}

TEST(KernelIpmiPort, RefusesFileThatIsNotADevice) {
    auto port = vtek::KernelIpmiPort::open("/dev/null");
    ASSERT_TRUE(port);
    EXPECT_EQ((*port)->send(1, 0x30, 0xD0, {1}).error().number, ErrorNumber::IpmiFailed);
    EXPECT_EQ((*port)->receive(milliseconds(10)).error().number, ErrorNumber::IpmiFailed);
}

}  // namespace
