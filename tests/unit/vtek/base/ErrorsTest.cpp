#include "DocumentedErrors.h"
#include "base/Errors.h"
#include "base/Result.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <string>

namespace {

/** The call that fails and the report's text, by the hundreds of the number. */
const std::map<int, std::pair<std::string, std::string>> kCalls{
    {2, {"IsPayloadSigned", "`Signing the Payload failed`"}},
    {3, {"IsPayloadSigned", "`Signing the Payload failed`"}},
    {4, {"StartCopyFile", "`Start copying file failed`"}},
    {5, {"AddFile", "`Addfile to the list is failed`"}},
    {6, {"CompleteSignedUnzip", "`Complete Signed Unzip is failed`"}},
    {7, {"EndCopyFile", "`Complete Copy File failed`"}},
};

TEST(Errors, MatchTheDocumentedRows) {
    const auto rows = test::documentedErrors();
    const auto& table = vtek::errorTable();
    ASSERT_EQ(rows.size(), table.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].cause, table[i].cause);
        EXPECT_EQ(rows[i].number, static_cast<int>(table[i].number));
        EXPECT_EQ(rows[i].remedy, table[i].remedy);
    }
}

TEST(Errors, MatchTheDocumentedCallsAndReports) {
    const auto rows = test::documentedErrors();
    ASSERT_GT(rows.size(), 40U);
    for (const auto& row : rows) {
        const auto call = kCalls.find(row.number / 100);
        if (call != kCalls.end()) {
            EXPECT_EQ(row.call, call->second.first) << row.number;
            EXPECT_EQ(row.report, call->second.second) << row.number;
        }
    }
}

TEST(Errors, HaveUniqueAscendingNumbers) {
    const auto& table = vtek::errorTable();
    EXPECT_TRUE(std::is_sorted(table.begin(), table.end(),
                               [](const auto& a, const auto& b) { return a.number < b.number; }));
    EXPECT_EQ(std::adjacent_find(table.begin(), table.end(),
                                 [](const auto& a, const auto& b) { return a.number == b.number; }),
              table.end());
}

TEST(Errors, FindTheirRowByNumber) {
    for (const auto& info : vtek::errorTable()) {
        EXPECT_EQ(&vtek::errorInfo(info.number), &info) << info.cause;
    }
}

TEST(Errors, KeepTheTextOfErrno) {
    errno = ENOSPC;
    const auto error = vtek::systemError(vtek::ErrorNumber::CopyFailed, "write");
    EXPECT_EQ(error.number, vtek::ErrorNumber::CopyFailed);
    EXPECT_EQ(error.message, "write: No space left on device");
}

TEST(Errors, AdviseWhatFitsErrnoWhereAnArgumentIsWrong) {
    const std::map<int, std::string> remedies{
        {ENOENT, "check the name"},
        {EACCES, "run the command as a user with the right to do this, or name another place"},
        {EPERM, "run the command as a user with the right to do this, or name another place"},
        {EEXIST, "choose another name, or move away what is there"},
        {ENOTEMPTY, "choose another name, or move away what is there"},
        {EROFS, "name a place on a writable file system"},
        {ENOSPC, "free space, or name a place with more of it"},
        {EDQUOT, "free space, or name a place with more of it"},
        {EIO, "correct what the message names"},
    };
    for (const auto& [number, remedy] : remedies) {
        errno = number;
        EXPECT_EQ(remedyOf(vtek::systemError(vtek::ErrorNumber::InvalidArgument, "make")), remedy) << number;
    }
    errno = ENOENT;
    EXPECT_EQ(remedyOf(vtek::systemError(vtek::ErrorNumber::CopyFailed, "write")),
              "check space, quota and disk; start again")
        << "the row's own";
}

TEST(Errors, MapFullDiskAndQuotaToNoSpace) {
    for (const int full : {ENOSPC, EDQUOT}) {
        errno = full;
        EXPECT_EQ(vtek::repositoryError("write").number, vtek::ErrorNumber::NoSpace);
    }
    errno = EROFS;
    EXPECT_EQ(vtek::repositoryError("write").number, vtek::ErrorNumber::RepositoryUnwritable);
}

}  // namespace
