#include "ReportXml.h"

#include <gtest/gtest.h>

#include <string>

namespace qrxinspect {
namespace {

constexpr std::size_t kMiB = std::size_t{1024} * 1024;

std::string problemWith(const std::string& text) {
    const vtek::Result<XmlDocPtr> document = parseReport(text);
    return document ? "parsed" : document.error().message;
}

/** An element of this many bytes. */
std::string elementOfSize(std::size_t size) {
    return "<a>" + std::string(size - 7, 'x') + "</a>";
}

/** This many elements inside each other. */
std::string nested(std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text = "<a>" + text + "</a>";
    }
    return text;
}

TEST(ReportXml, TakesTheDeclarationOfAReport) {
    for (const std::string declaration :
         {"", R"(<?xml version="1.0" encoding="UTF-8"?>)", "<?xml version='1.0'?>",
          "<?xml  version = '1.0'\tencoding='utf-8' standalone='yes' ?>\n"}) {
        EXPECT_EQ(problemWith(declaration + "<a/>"), "parsed") << declaration;
    }
}

TEST(ReportXml, RefusesAnotherDeclaration) {
    for (const std::string declaration :
         {R"(<?xml version="1.1"?>)", R"(<?xml version="1.0" encoding="ISO-8859-1"?>)", "<?xml?>",
          "<?xml encoding='UTF-8'?>", "<?xml version='1.0\"?>", "<?xml-style a?>"}) {
        EXPECT_EQ(problemWith(declaration + "<a/>"),
                  "has an XML declaration other than version 1.0 and UTF-8")
            << declaration;
    }
    EXPECT_EQ(problemWith("<?xml version='1.0'" + std::string(128, ' ') + "?><a/>"),
              "has an XML declaration other than version 1.0 and UTF-8");
}

TEST(ReportXml, RefusesWhatNoReportHas) {
    const std::pair<std::string, std::string> cases[] = {
        {"<!DOCTYPE a><a/>", "has a document type declaration"},
        {"<a><!-- c --></a>", "has a comment or a CDATA section"},
        {"<a><![CDATA[x]]></a>", "has a comment or a CDATA section"},
        {"<a><?p i?></a>", "has a processing instruction"},
        {" <?xml version='1.0'?><a/>", "has a processing instruction"},
        {"<a xmlns='urn:x'/>", "has a namespace"},
        {"<a>\xff</a>", "is not UTF-8"},
        {"<x:a/>", "has a name that no report has"},
        {"<a xml:lang='en'/>", "has a name that no report has"},
        {"<a é='1'/>", "has a name that no report has"},
        {"<a><b><é/></b></a>", "has a name that no report has"},
    };
    for (const auto& [text, problem] : cases) {
        EXPECT_EQ(problemWith(text), problem) << text;
    }
}

TEST(ReportXml, RefusesMoreThanOneMiB) {
    EXPECT_EQ(problemWith(elementOfSize(kMiB)), "parsed");
    EXPECT_EQ(problemWith(elementOfSize(kMiB + 1)), "is larger than 1 MiB");
}

TEST(ReportXml, RefusesElementsThatNestTooDeeply) {
    EXPECT_EQ(problemWith(nested(64)), "parsed");
    EXPECT_EQ(problemWith(nested(65)), "is nested too deeply");
}

}  // namespace
}  // namespace qrxinspect
