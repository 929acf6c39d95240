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

std::string pageOf(const std::vector<Report>& reports) {
    std::ostringstream out;
    printHtmlPage(out, reports);
    return out.str();
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
    EXPECT_THAT(page.textsOf("//tbody/tr[1]/td"),
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
    const std::string text = pageOf({});
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
