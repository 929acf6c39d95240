#include "ipmi/Ipmi.h"

#include "ipmi/IpmiDevice.h"
#include <vtek/permission.h>

#include <algorithm>
#include <utility>

namespace vtek {

SimulatedIpmi::SimulatedIpmi(const Settings& settings)
    : answer_{static_cast<std::uint8_t>(settings.ipmiCompletion)} {
    if (settings.ipmiCompletion != 0) {
        return;
    }
    // The answer's data follow the completion code; a position in the caller's block is one in the message.
    const auto place = [](std::size_t position) { return 1 + position - permission::kMessageAt; };
    answer_.resize(1 + permission::kAnswerLength);
    answer_[place(permission::kModeAt)] = static_cast<std::uint8_t>(settings.ipmiMode);
    answer_[place(permission::kFlagAt)] = static_cast<std::uint8_t>(settings.ipmiFlag);
}

Result<Bytes> SimulatedIpmi::exchange(std::uint8_t, const Bytes&) {
    return answer_;
}

Result<std::unique_ptr<IpmiTransport>> openIpmi(const Settings& settings) {
    if (settings.ipmiTransport == "simulated") {
        return std::unique_ptr<IpmiTransport>(std::make_unique<SimulatedIpmi>(settings));
    }
    VTEK_ASSIGN(auto port, KernelIpmiPort::open(settings.ipmiTransport));
    return std::unique_ptr<IpmiTransport>(std::make_unique<IpmiDevice>(std::move(port)));
}

std::uint8_t storeResponse(const Bytes& response, std::uint8_t* buffer, std::size_t length) {
    const std::uint8_t completion = response.front();
    if (completion == 0) {
        const std::size_t present = std::min(length, response.size() - 1);
        std::copy_n(response.begin() + 1, present, buffer);
        std::fill(buffer + present, buffer + length, std::uint8_t{0});
    }
    return completion;
}

}  // namespace vtek
