#include "VtekDouble.h"
#include <vtek/vtek.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <stdexcept>

namespace {

using testing::ElementsAre;

TEST(VtekDouble, AnswersAsScriptedAndKeepsTheCalls) {
    test::VtekDouble library;
    library.script.kind = 3;
    library.script.successAfterInit = false;
    library.script.inventory = "<SVMInventory/>";
    library.script.queryResult = false;
    library.script.payloadPath = "/a/b.fwp";
    library.script.addFile = false;
    library.script.error = 17;
    {
        secureWynd wynd;
        EXPECT_TRUE(wynd.isSuccess);
        EXPECT_EQ(wynd.IsWyndPresent(), WYND_LITER);
        wynd.secureWyndInit();
        EXPECT_FALSE(wynd.isSuccess);
        std::stringstream out("before ", std::ios::in | std::ios::out | std::ios::ate);
        EXPECT_FALSE(wynd.QueryTVK(out, QUERY_INVENTORY));
        EXPECT_EQ(out.str(), "before <SVMInventory/>");
        std::string path;
        EXPECT_TRUE(wynd.IsPayloadSigned(path));
        EXPECT_EQ(path, "/a/b.fwp");
        EXPECT_TRUE(wynd.StartCopyFile());
        EXPECT_FALSE(wynd.AddFile(path, "Chassis/b.fwp", ADD_PAYLOAD));
        EXPECT_TRUE(wynd.CompleteSignedUnzip());
        EXPECT_TRUE(wynd.EndCopyFile());
        EXPECT_EQ(wynd.getVTEKError(), 17);
    }
    EXPECT_THAT(library.calls(),
                ElementsAre("secureWynd()", "IsWyndPresent()", "secureWyndInit()", "QueryTVK(12)",
                            "IsPayloadSigned()", "StartCopyFile()", "AddFile(/a/b.fwp, Chassis/b.fwp, 16)",
                            "CompleteSignedUnzip()", "EndCopyFile()", "getVTEKError()", "~secureWynd()"));
}

TEST(VtekDouble, ARefusedSignatureLeavesThePathAlone) {
    test::VtekDouble library;
    library.script.payloadSigned = false;
    std::string path = "as it was";
    EXPECT_FALSE(secureWynd().IsPayloadSigned(path));
    EXPECT_EQ(path, "as it was");
}

TEST(VtekDouble, RunsOutOfMemoryInTheConstructorWhenScripted) {
    test::VtekDouble library;
    library.script.constructorThrows = true;
    EXPECT_THROW(secureWynd(), std::bad_alloc);
    EXPECT_THAT(library.calls(), ElementsAre("secureWynd()"));
}

TEST(VtekDouble, KeepsTheRequestAndPlacesTheAnswer) {
    test::VtekDouble library;
    EXPECT_TRUE(std::all_of(std::begin(IPMIReqBuf.bytes), std::end(IPMIReqBuf.bytes),
                            [](unsigned char byte) { return byte == 0xEE; }));
    library.script.ipmiCompletion = 0xC1;
    library.script.ipmiAnswer = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}};
    IPMIReqBuf.bytes[35] = 0x17;
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12), 0xC1);
    EXPECT_THAT(library.calls(), ElementsAre("OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)"));
    ASSERT_EQ(library.requests().size(), 1U);
    EXPECT_EQ(library.requests()[0][35], 0x17);
    EXPECT_EQ(library.requests()[0][36], 0xEE);
    EXPECT_EQ(IPMIReqBuf.bytes[31], 0xEE);
    EXPECT_EQ(IPMIReqBuf.bytes[32], 1);
    EXPECT_EQ(IPMIReqBuf.bytes[43], 12);
    EXPECT_EQ(IPMIReqBuf.bytes[44], 0xEE);
}

TEST(VtekDouble, AMissingAnswerLeavesTheRequestInTheBuffer) {
    test::VtekDouble library;
    library.script.ipmiAnswer.reset();
    OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12);
    EXPECT_EQ(IPMIReqBuf.bytes[42], 0xEE);
}

TEST(VtekDouble, TellsARequestInAnotherBuffer) {
    test::VtekDouble library;
    _EsmIPMICmdIoctlReq own{};
    OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &own, 10, 12);
    EXPECT_THAT(library.calls(), ElementsAre("OEMIPMIRequest(0xd0, 1, another buffer, 10, 12)"));
}

TEST(VtekDouble, KeepsTheLibrarysLog) {
    test::VtekDouble library;
    logWyndMsg("../src/QRXInventory", 7, "a line");
    ASSERT_EQ(library.libraryLog().size(), 1U);
    EXPECT_EQ(library.libraryLog()[0].sourceFile, "../src/QRXInventory");
    EXPECT_EQ(library.libraryLog()[0].line, 7U);
    EXPECT_THAT(library.libraryLogMessages(), ElementsAre("a line"));
}

TEST(VtekDouble, HelpsWithStringsUntilTheScriptedCall) {
    test::VtekDouble library;
    library.script.failingStringCall = 3;
    EXPECT_EQ(CStringUtils::toLowerCase("Blacklist USB"), "blacklist usb");
    EXPECT_EQ(CStringUtils::trim_string(" \ta b\n "), "a b");
    EXPECT_THROW(CStringUtils::trim_string(""), std::runtime_error);
    EXPECT_EQ(CStringUtils::trim_string("  "), "");
}

TEST(VtekDouble, TellsTheObserverEverythingInOrder) {
    test::VtekDouble library;
    std::vector<std::string> events;
    library.observer = [&events](const std::string& event) { events.push_back(event); };
    secureWynd().IsWyndPresent();
    logWyndMsg("source", 1, "line");
    EXPECT_THAT(events,
                ElementsAre("secureWynd()", "IsWyndPresent()", "~secureWynd()", "logWyndMsg(source:1) line"));
}

TEST(VtekDouble, LivesAlone) {
    const test::VtekDouble library;
    EXPECT_THROW(test::VtekDouble(), std::logic_error);
}

}  // namespace
