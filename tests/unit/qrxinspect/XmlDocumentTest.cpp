#include "TempDir.h"
#include "XmlDocument.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

std::string problemWith(std::string_view text) {
    const vtek::Result<XmlDocPtr> document = parseDocument(text);
    return document ? "parsed" : document.error().message;
}

TEST(XmlDocument, ReportsTheLineOfAnError) {
    EXPECT_EQ(problemWith("<a>\n<b></a>"),
              "not well-formed XML, line 2: Opening and ending tag mismatch: b line 2 and a");
    EXPECT_EQ(problemWith("hello"), "not well-formed XML, line 1: Start tag expected, '<' not found");
}

TEST(XmlDocument, RefusesAnEmptyText) {
    EXPECT_EQ(problemWith(""), "is empty");
}

TEST(XmlDocument, RefusesADocumentTypeDeclaration) {
    const test::TempDir folder;
    test::writeFile(folder / "secret", "secret");
    EXPECT_EQ(
        problemWith("<!DOCTYPE a [<!ENTITY e SYSTEM \"" + (folder / "secret").string() + "\">]><a>&e;</a>"),
        "has a document type declaration");
}

TEST(XmlDocument, PrintsNothingForBadInput) {
    testing::internal::CaptureStderr();
    EXPECT_NE(problemWith("<a"), "parsed");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XmlDocument, RefusesAnotherRoot) {
    EXPECT_TRUE(parseDocumentOf("<a/>", "a"));
    EXPECT_EQ(parseDocumentOf("<b/>", "a").error().message, "the root element is \"b\", not \"a\"");
    EXPECT_EQ(parseDocumentOf("<a xmlns=\"urn:x\"/>", "a").error().message,
              "the root element is \"{urn:x}a\", not \"a\"");
    EXPECT_EQ(parseDocumentOf("", "a").error().message, "is empty");
}

TEST(XmlDocument, WalksElementsOnly) {
    const vtek::Result<XmlDocPtr> document = parseDocument("<a> <!-- c --><b/>text<?p i?><d/><b/></a>");
    ASSERT_TRUE(document);
    const xmlNode& root = *xmlDocGetRootElement(document->get());
    EXPECT_EQ(childElements(root).size(), 3u);
    EXPECT_EQ(childElements(root, "b").size(), 2u);
    EXPECT_EQ(childElements(root, "B").size(), 0u);
}

TEST(XmlDocument, ReadsAttributesTextsAndLines) {
    const vtek::Result<XmlDocPtr> document =
        parseDocument("<a x=\"1 &lt; 2\" empty=\"\">\n\n<b>one<c>two</c></b></a>");
    ASSERT_TRUE(document);
    const xmlNode& root = *xmlDocGetRootElement(document->get());
    EXPECT_EQ(attributeOf(root, "x"), "1 < 2");
    EXPECT_EQ(attributeOf(root, "empty"), "");
    EXPECT_EQ(attributeOf(root, "none"), "");
    const xmlNode& child = *childElements(root).front();
    EXPECT_EQ(contentOf(child), "onetwo");
    EXPECT_EQ(lineOf(child), 3);
}

TEST(XmlDocument, CountsLinesBeyondSixteenBits) {
    const vtek::Result<XmlDocPtr> document =
        parseDocument("<a>" + std::string(70'000, '\n') + "<b>text</b></a>");
    ASSERT_TRUE(document);
    EXPECT_EQ(lineOf(*childElements(*xmlDocGetRootElement(document->get())).front()), 70'001);
}

}  // namespace
}  // namespace qrxinspect
