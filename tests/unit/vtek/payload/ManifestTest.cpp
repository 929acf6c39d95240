#include "TempDir.h"
#include "payload/Manifest.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using testing::ElementsAre;
using vtek::ErrorNumber;

const std::string kDigest = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

std::string manifest(const std::string& attributes, const std::string& content = "<Chassis type='A'/>") {
    return "<VtekManifest " + attributes + ">" + content + "</VtekManifest>";
}

const std::string kGood =
    "format='1' componentID='25227' version='2.00' packageDigest='sha256:" + kDigest + "'";

TEST(Manifest, ReadsEveryField) {
    const auto parsed =
        vtek::parseManifest(manifest(kGood, "<Chassis type='A'/><!-- --><Other/><Chassis type='B'/>"));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->componentId, "25227");
    EXPECT_EQ(parsed->version, "2.00");
    EXPECT_THAT(parsed->chassisTypes, ElementsAre("A", "B"));
    EXPECT_EQ(parsed->packageDigest, kDigest);
}

TEST(Manifest, ReadsWhatItFormatted) {
    const vtek::Manifest original{"<25227>", "\"2\"&3", {"A", "B'"}, kDigest};
    EXPECT_EQ(*vtek::parseManifest(formatManifest(original)), original);
}

TEST(Manifest, RefusesMissingAndMalformedFields) {
    const std::string bad[] = {
        "",
        "junk",
        manifest(""),
        manifest("format='2' componentID='1' version='2' packageDigest='sha256:" + kDigest + "'"),
        manifest("format='1' version='2' packageDigest='sha256:" + kDigest + "'"),
        manifest("format='1' componentID='1' packageDigest='sha256:" + kDigest + "'"),
        manifest("format='1' componentID='1' version='2'"),
        manifest("format='1' componentID='' version='2' packageDigest='sha256:" + kDigest + "'"),
        manifest("format='1' componentID='1' version='two words' packageDigest='sha256:" + kDigest + "'"),
        manifest("format='1' componentID='1' version='2' packageDigest='" + kDigest + "'"),
        manifest("format='1' componentID='1' version='2' packageDigest='sha256:" + kDigest.substr(1) + "'"),
        manifest("format='1' componentID='1' version='2' packageDigest='sha256:" + kDigest.substr(1) + "G'"),
        manifest("format='1' componentID='1' version='2' packageDigest='sha256:" + kDigest.substr(1) + "F'"),
        manifest(kGood, ""),
        manifest(kGood, "<Chassis/>"),
        manifest(kGood, "<Chassis type='A'/><Chassis type=''/>"),
        "<Other " + kGood + "><Chassis type='A'/></Other>",
        manifest(kGood) + "x",
    };
    for (const auto& xml : bad) {
        const auto parsed = vtek::parseManifest(xml);
        ASSERT_FALSE(parsed) << xml;
        EXPECT_EQ(parsed.error().number, ErrorNumber::ManifestInvalid);
    }
}

TEST(Manifest, RefusesDocumentType) {
    EXPECT_FALSE(vtek::parseManifest("<!DOCTYPE VtekManifest>" + manifest(kGood)));
    EXPECT_FALSE(vtek::parseManifest("<!DOCTYPE x [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>" +
                                     manifest(kGood, "&e;<Chassis type='A'/>")));
}

TEST(Manifest, RefusesMoreThan64KiB) {
    EXPECT_TRUE(vtek::parseManifest(manifest(kGood) + std::string(60000, ' ')));
    EXPECT_FALSE(vtek::parseManifest(manifest(kGood) + std::string(65536, ' ')));
}

}  // namespace
