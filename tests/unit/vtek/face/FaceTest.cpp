// The library as the program sees it: only through vtek.h and libvtek.so.0.
#include "Lab.h"
#include "WorkingDirectory.h"
#include <vtek/vtek.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

namespace {

using test::Lab;
using testing::HasSubstr;
using testing::IsEmpty;

/** A chassis with certificates valid today. ctest runs each test in its own process, so VTEK_ROOT is fresh.
 */
class Face : public testing::Test {
protected:
    Face() : lab_(std::time(nullptr)), here_(lab_.package()) {
        setenv("VTEK_ROOT", lab_.rootPath().c_str(), 1);
    }

    std::string log() const { return test::readFile(lab_.rootPath() / "log/vtek.log"); }

    Lab lab_;
    test::WorkingDirectory here_;
};

TEST_F(Face, ReadsInventoryInSession) {
    secureWynd wynd;
    EXPECT_TRUE(wynd.isSuccess);
    EXPECT_EQ(wynd.IsWyndPresent(), WYND_FULL);
    wynd.secureWyndInit();
    EXPECT_TRUE(wynd.isSuccess);
    std::stringstream out;
    EXPECT_TRUE(wynd.QueryTVK(out, QUERY_INVENTORY));
    EXPECT_THAT(out.str(), HasSubstr("<Device componentID=\"25227\" display=\"QRX\">"));
    EXPECT_EQ(wynd.getVTEKError(), 0);
}

TEST_F(Face, InstallsUpdateInFiveCalls) {
    secureWynd wynd;
    wynd.secureWyndInit();
    std::string path;
    ASSERT_TRUE(wynd.IsPayloadSigned(path));
    EXPECT_EQ(path, lab_.payload().string());
    ASSERT_TRUE(wynd.StartCopyFile());
    ASSERT_TRUE(wynd.AddFile(path, "Chassis/fw.fwp", ADD_PAYLOAD));
    ASSERT_TRUE(wynd.CompleteSignedUnzip());
    ASSERT_TRUE(wynd.EndCopyFile());
    EXPECT_EQ(wynd.getVTEKError(), 0);
    EXPECT_EQ(lab_.version(), "2.00");
}

TEST_F(Face, LeavesNoTraceIfDestroyedBeforeTheEnd) {
    const auto untouched = lab_.snapshot();
    {
        secureWynd wynd;
        wynd.secureWyndInit();
        std::string path;
        ASSERT_TRUE(wynd.IsPayloadSigned(path));
        ASSERT_TRUE(wynd.StartCopyFile());
        ASSERT_TRUE(wynd.AddFile(path, "Chassis/fw.fwp", ADD_PAYLOAD));
        ASSERT_TRUE(wynd.CompleteSignedUnzip());
    }
    EXPECT_EQ(lab_.snapshot(), untouched);
}

TEST_F(Face, KeepsPathAndLogsReasonOfRefusedPayload) {
    lab_.write("no payload at all");
    secureWynd wynd;
    wynd.secureWyndInit();
    std::string path = "as before";
    EXPECT_FALSE(wynd.IsPayloadSigned(path));
    EXPECT_EQ(path, "as before");
    EXPECT_EQ(wynd.getVTEKError(), 204);
    EXPECT_THAT(log(), HasSubstr("IsPayloadSigned: error 204, invalid payload: fw.fwp: "));
    EXPECT_FALSE(wynd.StartCopyFile());
    EXPECT_EQ(wynd.getVTEKError(), 801);
}

TEST_F(Face, RefusesCallsWithoutSession) {
    secureWynd wynd;
    std::stringstream out;
    std::string path;
    EXPECT_FALSE(wynd.QueryTVK(out, QUERY_INVENTORY));
    EXPECT_EQ(wynd.getVTEKError(), 801);
    EXPECT_FALSE(wynd.IsPayloadSigned(path));
    EXPECT_FALSE(wynd.StartCopyFile());
    EXPECT_FALSE(wynd.AddFile("a", "b", ADD_PAYLOAD));
    EXPECT_FALSE(wynd.CompleteSignedUnzip());
    EXPECT_FALSE(wynd.EndCopyFile());
    EXPECT_EQ(wynd.getVTEKError(), 801);
}

TEST_F(Face, RefusesOtherSourceOrMode) {
    secureWynd wynd;
    wynd.secureWyndInit();
    std::string path;
    ASSERT_TRUE(wynd.IsPayloadSigned(path));
    ASSERT_TRUE(wynd.StartCopyFile());
    EXPECT_FALSE(wynd.AddFile("/etc/passwd", "Chassis/fw.fwp", ADD_PAYLOAD));
    EXPECT_FALSE(wynd.AddFile(path, "Chassis/fw.fwp", QUERY_INVENTORY));
    EXPECT_FALSE(wynd.AddFile(path, "", ADD_PAYLOAD));
    EXPECT_EQ(wynd.getVTEKError(), 502);
}

TEST_F(Face, ReadsKindFromSettings) {
    for (const int kind : {0, 1, 2, 3}) {
        lab_.set("repository-kind", std::to_string(kind));
        EXPECT_EQ(static_cast<int>(secureWynd().IsWyndPresent()), kind);
    }
}

TEST_F(Face, RefusesSessionWithoutRepository) {
    lab_.set("repository-kind", "0");
    secureWynd wynd;
    wynd.secureWyndInit();
    EXPECT_FALSE(wynd.isSuccess);
    EXPECT_EQ(wynd.getVTEKError(), 115);
}

TEST_F(Face, RefusesInventoryQueryInOtherMode) {
    secureWynd wynd;
    wynd.secureWyndInit();
    std::stringstream out;
    EXPECT_FALSE(wynd.QueryTVK(out, ADD_PAYLOAD));
    EXPECT_EQ(wynd.getVTEKError(), 801);
    EXPECT_THAT(out.str(), IsEmpty());
}

TEST_F(Face, RefusesSessionWithCorruptState) {
    test::writeFile(lab_.rootPath() / "state.db", std::string(4096, 'x'));
    secureWynd wynd;
    EXPECT_TRUE(wynd.isSuccess);
    EXPECT_EQ(wynd.IsWyndPresent(), WYND_FULL);
    wynd.secureWyndInit();
    EXPECT_FALSE(wynd.isSuccess);
    EXPECT_EQ(wynd.getVTEKError(), 112);
}

TEST_F(Face, RefusesRemovedWorkingDirectory) {
    std::filesystem::remove_all(lab_.package());
    secureWynd wynd;
    wynd.secureWyndInit();
    std::string path;
    EXPECT_FALSE(wynd.IsPayloadSigned(path));
    EXPECT_EQ(wynd.getVTEKError(), 203);
}

TEST_F(Face, AnswersIpmiRequestFromSettings) {
    std::fill(std::begin(IPMIReqBuf.bytes), std::end(IPMIReqBuf.bytes), static_cast<unsigned char>(0));
    IPMIReqBuf.bytes[35] = 0x17;  // a byte of the request, which the response must overwrite
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12), 0);
    EXPECT_EQ(IPMIReqBuf.bytes[35], 0);
    EXPECT_EQ(IPMIReqBuf.bytes[42], 2);  // the mode
    EXPECT_EQ(IPMIReqBuf.bytes[43], 1);  // the flag
    EXPECT_EQ(IPMIReqBuf.bytes[44], 0);
}

TEST_F(Face, ReturnsCompletionCodeAndKeepsBuffer) {
    lab_.set("ipmi-completion", "193");
    IPMIReqBuf.bytes[42] = 0xEE;
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12), 0xC1);
    EXPECT_EQ(IPMIReqBuf.bytes[42], 0xEE);
}

TEST_F(Face, AcceptsIpmiMessageThatFillsBuffer) {
    IPMIReqBuf.bytes[71] = 0xEE;
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 40, 40), 0);
    EXPECT_EQ(IPMIReqBuf.bytes[71], 0);
}

TEST_F(Face, RefusesIpmiRequestBeyondBufferOrWithoutDevice) {
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, nullptr, 10, 12), 0xFF);
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 41, 12), 0xFF);
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 41), 0xFF);
    lab_.set("ipmi-transport", "/dev/ipmi255");
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12), 0xFF);
    EXPECT_THAT(log(), HasSubstr("OEMIPMIRequest: error 901, IPMI request failed: open /dev/ipmi255"));
}

TEST_F(Face, LogsMessageWithSourcePosition) {
    logWyndMsg("../src/QRXInventory", 7, "message");
    logWyndMsg(nullptr, 0, "no place");
    EXPECT_THAT(log(), HasSubstr("../src/QRXInventory:7: message\n"));
}

TEST(FaceWithoutRoot, ReportsReasonOnce) {
    setenv("VTEK_ROOT", "/nowhere/at/all", 1);
    testing::internal::CaptureStderr();
    secureWynd wynd;
    EXPECT_FALSE(wynd.isSuccess);
    EXPECT_EQ(wynd.getVTEKError(), 101);
    EXPECT_EQ(wynd.IsWyndPresent(), NO_WYND);
    wynd.secureWyndInit();
    EXPECT_FALSE(wynd.isSuccess);
    EXPECT_EQ(wynd.getVTEKError(), 101);
    EXPECT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12), 0xFF);
    logWyndMsg("a", 1, "dropped");
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("libvtek (simulation): constructor: error 101, no root: /nowhere: No such "
                                "file or directory; hint: "));
    EXPECT_EQ(said.find("constructor"), said.rfind("constructor")) << "the root is opened only once";
}

}  // namespace
