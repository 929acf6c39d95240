#include "DocumentReaders.h"
#include "HtmlPage.h"
#include "XmlReading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/HTMLparser.h>

#include <sstream>

namespace qrxinspect {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string kHostile = "<script>alert(1)</script><img src=x onerror=alert(1)>\"'&\x1b[31m\u202e\xff";
const std::string kHostileShown =
    "<script>alert(1)</script><img src=x onerror=alert(1)>\"'&\\x1b[31m\\u202e\\xff";

constexpr std::time_t kMade = 1'764'000'000;  // 2025-11-24 16:00 UTC

std::string pageOf(const Overview& overview) {
    std::ostringstream out;
    printHtmlPage(out, overview, kMade);
    return out.str();
}

std::string pageOf(const std::vector<Report>& reports) {
    return pageOf({.rows = summaryOf(reports), .reports = reports, .files = reports.size()});
}

CDeviceInfo deviceOf(const std::string& value) {
    CDeviceInfo device;
    device.setComponentID(value);
    device.setDeviceName(value);
    device.setVersion(value);
    device.setErrorMsg(value);
    device.setStatus(1);
    return device;
}

/** Two reports in which every value is the same one. */
std::vector<Report> reportsOf(const std::string& value) {
    return {{.file = value,
             .kind = kindWithRoot("SVMExecution"),
             .outcome = Report::Outcome::Failure,
             .devices = {deviceOf(value)}},
            {.file = value,
             .kind = kindWithRoot("SVMInventory"),
             .outcome = Report::Outcome::Damaged,
             .problem = value,
             .text = value}};
}

/** The page as an HTML parser sees it. */
class ParsedPage {
public:
    explicit ParsedPage(const std::string& page)
        : document_(htmlReadMemory(page.data(), static_cast<int>(page.size()), nullptr, "UTF-8",
                                   HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET)),
          context_(xmlXPathNewContext(document_.get())) {}

    std::vector<std::string> textsOf(const char* xpath) {
        const XPathObjectPtr found(
            xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath), context_.get()));
        std::vector<std::string> texts;
        for (int i = 0; found && found->nodesetval && i < found->nodesetval->nodeNr; ++i) {
            const XmlCharPtr text(xmlNodeGetContent(found->nodesetval->nodeTab[i]));
            texts.emplace_back(reinterpret_cast<const char*>(text.get()));
        }
        return texts;
    }

private:
    XmlDocPtr document_;
    XPathContextPtr context_;
};

TEST(HtmlPage, EscapesMarkup) {
    EXPECT_EQ(htmlOf("a<b>&\"c\"'d'\x1b"), "a&lt;b&gt;&amp;&quot;c&quot;&#39;d&#39;\\x1b");
    EXPECT_EQ(htmlOf("Gehäuse"), "Gehäuse");
}

TEST(HtmlPage, ShowsARowPerDevice) {
    ParsedPage page(pageOf({{.file = "a.xml",
                             .kind = kindWithRoot("SVMExecution"),
                             .outcome = Report::Outcome::Failure,
                             .devices = {deviceOf("x")}}}));
    EXPECT_THAT(
        page.textsOf("//thead//button"),
        testing::ElementsAre("Report", "Operation", "Component", "Device", "Version", "Outcome", "Message"));
    EXPECT_THAT(page.textsOf("//tbody/tr/td"),
                testing::ElementsAre("a.xml", "update", "x", "x", "x", "failure", "x"));
    EXPECT_THAT(page.textsOf("//header//li"), testing::ElementsAre("1 report", "1 failure"));
    EXPECT_THAT(page.textsOf("//p[@class='made']"),
                testing::ElementsAre("Made on 2025-11-24 16:00 UTC from 1 file"));
}

TEST(HtmlPage, ShowsProblemsFirst) {
    std::vector<Report> reports;
    for (const Report::Outcome outcome : {Report::Outcome::Success, Report::Outcome::Failure,
                                          Report::Outcome::Unreadable, Report::Outcome::Damaged}) {
        reports.push_back({.file = nameOf(outcome), .outcome = outcome});
    }
    ParsedPage page(pageOf(reports));
    const auto worstFirst = testing::ElementsAre("unreadable", "damaged", "failure", "success");
    EXPECT_THAT(page.textsOf("//tbody/tr/td[1]"), worstFirst);
    EXPECT_THAT(page.textsOf("//tbody/tr/@data-of"), worstFirst);
    EXPECT_THAT(page.textsOf("//tbody/tr/td[6]/@data-sort"), testing::ElementsAre("0", "1", "2", "5"));
    EXPECT_THAT(page.textsOf("//header//button"),
                testing::ElementsAre("4 reports", "1 unreadable", "1 damaged", "1 failure", "1 success"));
}

TEST(HtmlPage, ShowsARowPerHost) {
    const Row row{.ofWhole = Report::Outcome::NotTried,
                  .chassis = "rack-1",
                  .host = "h1",
                  .before = "1",
                  .outcome = "not tried",
                  .message = "stopped"};
    ParsedPage page(pageOf({.view = View::Hosts, .rows = {row}}));
    EXPECT_THAT(page.textsOf("//thead//button"),
                testing::ElementsAre("Chassis", "Host", "Report", "Before", "After", "Outcome", "Cause"));
    EXPECT_THAT(page.textsOf("//tbody/tr/td"),
                testing::ElementsAre("rack-1", "h1", "", "1", "", "not tried", "stopped"));
    EXPECT_THAT(page.textsOf("//tbody/tr/@class"), testing::ElementsAre("not-tried"));
    EXPECT_THAT(page.textsOf("//header//li"), testing::ElementsAre("1 host", "1 not tried"));
}

TEST(HtmlPage, LinksKnownMessagesToTheirCures) {
    CDeviceInfo device;
    device.setStatus(1);
    std::vector<Report> reports;
    for (const char* message : {"Start copying file failed", "WYND is not present", "another message",
                                "Start copying file failed"}) {
        device.setErrorMsg(message);
        reports.push_back({.outcome = Report::Outcome::Failure, .devices = {device}});
    }
    ParsedPage page(pageOf(reports));
    EXPECT_THAT(page.textsOf("//tbody//a/@href"), testing::ElementsAre("#cure-9", "#cure-6", "#cure-9"));
    EXPECT_THAT(page.textsOf("//dt/@id"), testing::ElementsAre("cure-6", "cure-9"));
    EXPECT_THAT(page.textsOf("//dt"),
                testing::ElementsAre("WYND is not present", "Start copying file failed"));
    EXPECT_EQ(page.textsOf("//dd").size(), 4u);
    EXPECT_TRUE(ParsedPage(pageOf(reportsOf("x"))).textsOf("//section").empty());
}

TEST(HtmlPage, ShowsThePathOnHoverAndItsNameAlways) {
    ParsedPage page(pageOf({{.file = "a/\"b\"/c.xml", .outcome = Report::Outcome::Failure}}));
    EXPECT_THAT(page.textsOf("//tbody/tr/td[1]/@title"), testing::ElementsAre("a/\"b\"/c.xml"));
    EXPECT_THAT(page.textsOf("//tbody/tr/td[1]/span/span"), testing::ElementsAre("a/\"b\"/", "c.xml"));
}

TEST(HtmlPage, ShowsADamagedReportWithItsText) {
    ParsedPage page(pageOf({{.file = "a.xml",
                             .kind = kindWithRoot("SVMInventory"),
                             .outcome = Report::Outcome::Damaged,
                             .problem = "line 1: no name",
                             .text = "<SVMInventory>\n& </SVMInventory>"}}));
    EXPECT_THAT(page.textsOf("//tbody/tr/td[6]"), testing::ElementsAre("damaged"));
    EXPECT_THAT(page.textsOf("//tbody//summary"), testing::ElementsAre("line 1: no name"));
    EXPECT_THAT(page.textsOf("//tbody//pre"), testing::ElementsAre("<SVMInventory>\n& </SVMInventory>\n"));
}

TEST(HtmlPage, MakesNoMarkupOfValues) {
    const std::string text = pageOf(reportsOf(kHostile));
    ParsedPage page(text);
    ParsedPage harmless(pageOf(reportsOf("x")));
    for (const char* xpath : {"//*", "//@*", "//script", "//comment()"}) {
        EXPECT_EQ(page.textsOf(xpath).size(), harmless.textsOf(xpath).size()) << xpath;
    }
    EXPECT_EQ(page.textsOf("//script").size(), 1u);
    EXPECT_THAT(text, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(text, Not(HasSubstr("<img")));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_THAT(text, Not(HasSubstr("\u202e")));
}

TEST(HtmlPage, ShowsHostileValuesVerbatim) {
    ParsedPage page(pageOf(reportsOf(kHostile)));
    EXPECT_THAT(page.textsOf("//tbody/tr[2]/td"),
                testing::ElementsAre(kHostileShown, "update", kHostileShown, kHostileShown, kHostileShown,
                                     "failure", kHostileShown));
    EXPECT_THAT(page.textsOf("//pre"), testing::ElementsAre(kHostileShown + "\n"));
}

TEST(HtmlPage, LoadsNothing) {
    const std::string text = pageOf(reportsOf("x"));
    EXPECT_THAT(text, HasSubstr("content=\"default-src 'none'; style-src 'sha256-"));
    EXPECT_THAT(text, Not(HasSubstr("unsafe-inline")));
    EXPECT_THAT(text, Not(HasSubstr("http:")));
    EXPECT_THAT(text, Not(HasSubstr("https:")));
    EXPECT_THAT(text, Not(HasSubstr("src=")));
    EXPECT_THAT(text, Not(HasSubstr("url(")));
    EXPECT_THAT(text, Not(HasSubstr("@import")));
    EXPECT_TRUE(ParsedPage(text).textsOf("//link").empty());
}

TEST(HtmlPage, HasStylesForPhonesDarkScreensAndPaper) {
    const std::string text = pageOf(Overview{});
    EXPECT_THAT(text, HasSubstr("name=\"viewport\""));
    EXPECT_THAT(text, HasSubstr("@media (prefers-color-scheme: dark)"));
    EXPECT_THAT(text, HasSubstr("@media screen and (max-width: 62rem)"));
    EXPECT_THAT(text, HasSubstr("@media print"));
}

TEST(HtmlPage, PrintsTheSamePageForTheSameReports) {
    EXPECT_EQ(pageOf(reportsOf("x")), pageOf(reportsOf("x")));
}

}  // namespace
}  // namespace qrxinspect
