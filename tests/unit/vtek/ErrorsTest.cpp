#include "Errors.h"
#include "Result.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

using Row = std::vector<std::string>;

/** The cells of the first table in the document, without its two head lines. */
std::vector<Row> documentedErrors() {
    std::ifstream document(QRX_SOURCE_FOLDER "/docs/stand-in.md");
    std::vector<Row> rows;
    for (std::string line; std::getline(document, line);) {
        const bool inTable = line.starts_with("|");
        if (!inTable && !rows.empty()) {
            break;
        }
        if (!inTable || line.starts_with("|-")) {
            continue;
        }
        Row row;
        for (std::size_t at = 2; at < line.size();) {
            const auto end = line.find(" |", at);
            row.push_back(line.substr(at, end - at));
            at = end + 3;
        }
        rows.push_back(row);
    }
    rows.erase(rows.begin());
    return rows;
}

/** The call that fails and the report's text, by the hundreds of the number. */
const std::map<int, std::pair<std::string, std::string>> kCalls{
    {2, {"IsPayloadSigned", "`Signing the Payload failed`"}},
    {3, {"IsPayloadSigned", "`Signing the Payload failed`"}},
    {4, {"StartCopyFile", "`Start copying file failed`"}},
    {5, {"AddFile", "`Addfile to the list is failed`"}},
    {6, {"CompleteSignedUnzip", "`Complete Signed Unzip is failed`"}},
    {7, {"EndCopyFile", "`Complete Copy File failed`"}},
};

TEST(Errors, TheDocumentHasARowForEach) {
    const auto rows = documentedErrors();
    const auto& table = vtek::errorTable();
    ASSERT_EQ(rows.size(), table.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(rows[i].size(), 5U);
        EXPECT_EQ(rows[i][0], table[i].cause);
        EXPECT_EQ(rows[i][1], std::to_string(static_cast<int>(table[i].number)));
        EXPECT_EQ(rows[i][4], table[i].remedy);
    }
}

TEST(Errors, TheDocumentNamesCallAndReportByTheHundreds) {
    const auto rows = documentedErrors();
    ASSERT_GT(rows.size(), 40U);
    for (const auto& row : rows) {
        const auto call = kCalls.find(std::stoi(row[1]) / 100);
        if (call != kCalls.end()) {
            EXPECT_EQ(row[2], call->second.first) << row[1];
            EXPECT_EQ(row[3], call->second.second) << row[1];
        }
    }
}

TEST(Errors, NumbersRiseAndAreNeverGivenTwice) {
    const auto& table = vtek::errorTable();
    EXPECT_TRUE(std::is_sorted(table.begin(), table.end(),
                               [](const auto& a, const auto& b) { return a.number < b.number; }));
    EXPECT_EQ(std::adjacent_find(table.begin(), table.end(),
                                 [](const auto& a, const auto& b) { return a.number == b.number; }),
              table.end());
}

TEST(Errors, ASystemErrorKeepsItsText) {
    errno = ENOSPC;
    const auto error = vtek::systemError(vtek::ErrorNumber::CopyFailed, "write");
    EXPECT_EQ(error.number, vtek::ErrorNumber::CopyFailed);
    EXPECT_EQ(error.message, "write: No space left on device");
}

}  // namespace
