#include "ipmi/Ipmi.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using vtek::Bytes;
using vtek::ErrorNumber;

vtek::Settings settingsOf(int completion, int mode, int flag) {
    vtek::Settings settings{};
    settings.ipmiTransport = "simulated";
    settings.ipmiCompletion = completion;
    settings.ipmiMode = mode;
    settings.ipmiFlag = flag;
    return settings;
}

TEST(Ipmi, SimulatesModeAndFlagInLastTwoOfTwelveBytes) {
    const auto answer = vtek::SimulatedIpmi(settingsOf(0, 2, 1)).exchange(0xD0, {});
    EXPECT_THAT(*answer, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 1));
}

TEST(Ipmi, SimulatesCompletionCodeAlone) {
    EXPECT_THAT(*vtek::SimulatedIpmi(settingsOf(0xC1, 2, 1)).exchange(0xD0, {}), ElementsAre(0xC1));
}

TEST(Ipmi, PadsShortResponseWithZeros) {
    Bytes buffer(6, 0xEE);
    EXPECT_EQ(vtek::storeResponse({0, 1, 2}, buffer.data(), 4), 0);
    EXPECT_THAT(buffer, ElementsAre(1, 2, 0, 0, 0xEE, 0xEE));
}

TEST(Ipmi, PadsEmptyResponseWithZeros) {
    Bytes buffer(4, 0xEE);
    EXPECT_EQ(vtek::storeResponse({0}, buffer.data(), 3), 0);
    EXPECT_THAT(buffer, ElementsAre(0, 0, 0, 0xEE));
}

TEST(Ipmi, TruncatesLongResponse) {
    Bytes buffer(4, 0xEE);
    EXPECT_EQ(vtek::storeResponse({0, 1, 2, 3, 4, 5}, buffer.data(), 3), 0);
    EXPECT_THAT(buffer, ElementsAre(1, 2, 3, 0xEE));
}

TEST(Ipmi, KeepsBufferOnCompletionCode) {
    for (const std::uint8_t code : Bytes{0x01, 0xC0, 0xC1, 0xC3, 0xCC, 0xD2, 0xD4, 0xFF}) {
        Bytes buffer(3, 0xEE);
        EXPECT_EQ(vtek::storeResponse({code, 1, 2, 3}, buffer.data(), 3), code);
        EXPECT_THAT(buffer, ElementsAre(0xEE, 0xEE, 0xEE));
    }
}

TEST(Ipmi, OpensTransportOfSettings) {
    auto settings = settingsOf(0xC1, 2, 1);
    EXPECT_THAT(*(*vtek::openIpmi(settings))->exchange(0xD0, {}), ElementsAre(0xC1));
    settings.ipmiTransport = "/dev/null";
    const auto device = vtek::openIpmi(settings);
    ASSERT_TRUE(device);
    EXPECT_EQ((*device)->exchange(0xD0, {}).error().number, ErrorNumber::IpmiFailed);
    settings.ipmiTransport = "/dev/ipmi255";
    EXPECT_FALSE(vtek::openIpmi(settings));
}

}  // namespace
