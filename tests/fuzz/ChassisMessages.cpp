// Feeds the stand-in messages from a management controller, of any kind, length and order.
// The first byte of the input is the requested length; each message is a kind, a length and its data.

#include "Harness.h"
#include "ipmi/Ipmi.h"
#include "ipmi/IpmiDevice.h"

#include <algorithm>

namespace test {
namespace {

constexpr std::uint8_t kUntouched = 0xA5;

/** A port that replays the input's messages; its clock advances with every wait. */
class ScriptedPort : public vtek::IpmiPort {
public:
    explicit ScriptedPort(std::string_view script) : script_(script) {}

    vtek::Status send(long id, std::uint8_t, std::uint8_t, const vtek::Bytes&) override {
        id_ = id;
        return {};
    }

    vtek::Result<std::optional<vtek::IpmiMessage>> receive(std::chrono::milliseconds patience) override {
        require(patience.count() >= 0 && patience <= vtek::kIpmiPatience, "a bounded wait");
        now_ += std::chrono::milliseconds(100);
        if (script_.empty()) {
            now_ += patience;
            return std::optional<vtek::IpmiMessage>();
        }
        const auto kind = static_cast<unsigned char>(take(1).append(1, '\0').front());
        if (kind % 8 == 7) {
            return vtek::Error{vtek::ErrorNumber::IpmiFailed, "the port is gone"};
        }
        const auto length = static_cast<unsigned char>(take(1).append(1, '\0').front());
        const std::string data = take(length);
        vtek::IpmiMessage message{id_ - (kind % 2 == 0 ? 0 : 1), kind % 4 < 2, {}};
        message.data.assign(data.begin(), data.end());
        return std::optional<vtek::IpmiMessage>(message);
    }

    std::chrono::milliseconds now() const override { return now_; }

private:
    std::string take(std::size_t count) {
        const std::string taken(script_.substr(0, count));
        script_.remove_prefix(taken.size());
        return taken;
    }

    std::string_view script_;
    long id_ = 0;
    std::chrono::milliseconds now_{0};
};

void requireStored(const vtek::Bytes& answer, std::size_t length) {
    vtek::Bytes buffer(length + 16, kUntouched);
    const std::uint8_t completion = vtek::storeResponse(answer, buffer.data(), length);
    require(completion == answer.front(), "the completion code");
    for (std::size_t i = 0; i < buffer.size(); ++i) {
        const std::uint8_t wanted = completion != 0 || i >= length ? kUntouched
                                    : i + 1 < answer.size()        ? answer[i + 1]
                                                                   : 0;
        require(buffer[i] == wanted, "the data, truncated or padded with zeros, and nothing else");
    }
}

}  // namespace

void examine(std::string_view input) {
    const std::size_t length = input.empty() ? 0 : static_cast<unsigned char>(input.front()) % 64;
    input.remove_prefix(std::min<std::size_t>(input.size(), 1));
    vtek::IpmiDevice device(std::make_unique<ScriptedPort>(input));
    for (int request = 0; request < 2; ++request) {
        const auto answer = device.exchange(0xD0, {1, 2, 3});
        if (answer) {
            require(!answer->empty(), "an answer contains its completion code");
            requireStored(*answer, length);
        } else {
            require(answer.error().number == vtek::ErrorNumber::IpmiFailed, "the reason");
        }
    }
}

}  // namespace test
