#include "HostTable.h"
#include "TempDir.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

using Outcome = Report::Outcome;

vtek::Result<std::vector<Host>> tableOf(const std::string& text) {
    const test::TempDir folder;
    test::writeFile(folder / "hosts.csv", text);
    return readHostTable((folder / "hosts.csv").string());
}

TEST(HostTable, ReadsTheColumnsInAnyOrder) {
    const auto hosts =
        tableOf("outcome,host,serial,cause,after,before,chassis\nupdated,h1,7,none,2,1,rack-1\n");
    ASSERT_TRUE(hosts);
    ASSERT_EQ(hosts->size(), 1u);
    const Host& host = hosts->front();
    EXPECT_EQ(host.chassis, "rack-1");
    EXPECT_EQ(host.host, "h1");
    EXPECT_EQ(host.before, "1");
    EXPECT_EQ(host.after, "2");
    EXPECT_EQ(host.outcome, "updated");
    EXPECT_EQ(host.cause, "none");
    EXPECT_EQ(host.report, "");
}

TEST(HostTable, FindsTheReportsBesideTheTable) {
    const test::TempDir folder;
    test::writeFile(folder / "hosts.csv", "host,report\nh1,reports/h1.xml\nh2,/tmp/h2.xml\nh3,\n");
    const auto hosts = readHostTable((folder / "hosts.csv").string());
    ASSERT_TRUE(hosts);
    EXPECT_EQ((*hosts)[0].report, (folder / "reports/h1.xml").string());
    EXPECT_EQ((*hosts)[1].report, "/tmp/h2.xml");
    EXPECT_EQ((*hosts)[2].report, "");
}

TEST(HostTable, RefusesATableWithoutHosts) {
    EXPECT_EQ(tableOf("").error().message, "has no column \"host\"");
    EXPECT_EQ(tableOf("server,report\na,b\n").error().message, "has no column \"host\"");
    EXPECT_EQ(tableOf("host,report\n").error().message, "names no host");
    EXPECT_EQ(tableOf("host,report\na\n").error().message, "line 2: 1 values below 2 headings");
}

TEST(HostTable, KnowsTheWordsForAnOutcome) {
    for (const char* word : {"already", "updated", "success"}) {
        EXPECT_EQ(meaningOf(word), Outcome::Success) << word;
    }
    for (const char* word : {"unverified", "refused", "running", "Updated", "no such word"}) {
        EXPECT_EQ(meaningOf(word), Outcome::Failure) << word;
    }
    EXPECT_EQ(meaningOf("unreachable"), Outcome::NotReached);
    EXPECT_EQ(meaningOf("not reached"), Outcome::NotReached);
    EXPECT_EQ(meaningOf("untried"), Outcome::NotTried);
    EXPECT_EQ(meaningOf("not tried"), Outcome::NotTried);
}

}  // namespace
}  // namespace qrxinspect
