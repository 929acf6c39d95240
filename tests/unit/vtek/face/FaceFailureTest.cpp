// Lets each call to another library fail once: the public functions fail with a documented number and throw
// nothing.
#include "DocumentedErrors.h"
#include "FailingCalls.h"
#include "Lab.h"
#include "WorkingDirectory.h"
#include <vtek/vtek.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>

namespace {

using test::Calls;
using test::FailingCalls;
using test::Lab;

class FaceFailure : public testing::TestWithParam<Calls> {
protected:
    FaceFailure() : lab_(std::time(nullptr)), here_(lab_.package()) {
        lab_.sign(lab_.archiveOf(test::Format::Tar, {{"main.bin", "firmware"}}));
        lab_.set("lock-wait", "0");
        setenv("VTEK_ROOT", lab_.rootPath().c_str(), 1);
    }

    /** Runs an inventory and an update like the program. @return the error number, 0 on success */
    static int update() {
        secureWynd wynd;
        EXPECT_EQ(wynd.IsWyndPresent(), WYND_FULL);
        wynd.secureWyndInit();
        std::stringstream inventory;
        std::string path;
        const bool done = wynd.isSuccess && wynd.QueryTVK(inventory, QUERY_INVENTORY) &&
                          wynd.IsPayloadSigned(path) && wynd.StartCopyFile() &&
                          wynd.AddFile(path, "Chassis/fw.fwp", ADD_PAYLOAD) && wynd.CompleteSignedUnzip() &&
                          wynd.EndCopyFile();
        EXPECT_EQ(done, wynd.getVTEKError() == 0);
        return wynd.getVTEKError();
    }

    Lab lab_;
    test::WorkingDirectory here_;
};
INSTANTIATE_TEST_SUITE_P(Of, FaceFailure,
                         testing::Values(Calls::Files, Calls::Database, Calls::Crypto, Calls::Archive,
                                         Calls::Xml));

TEST_P(FaceFailure, ReportsDocumentedNumberOfUpdate) {
    ASSERT_EQ(update(), 0);
    const auto rows = test::documentedErrors();
    FailingCalls failing(GetParam());
    do {
        const int number = failing.in([] { return update(); });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(number == 0 || failing.happened());
        EXPECT_TRUE(number == 0 || std::any_of(rows.begin(), rows.end(),
                                               [&](const auto& row) { return row.number == number; }))
            << number;
    } while (failing.happened());
}

TEST_P(FaceFailure, ReportsFailureOfIpmiRequest) {
    ASSERT_EQ(OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12), 0);
    FailingCalls failing(GetParam());
    do {
        const int answer =
            failing.in([] { return OEMIPMIRequest(SHARED_COMPONENT_UPDATE, 1, &IPMIReqBuf, 10, 12); });
        EXPECT_TRUE(answer == 0 || (answer == 0xFF && failing.happened())) << failing.name();
    } while (failing.happened());
}

}  // namespace
