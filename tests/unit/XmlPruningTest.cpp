// A pruned document and a whole one, over thousands of generated inventories, most of them odd and many
// broken: nothing but the unwanted devices may differ.
#include "QRXInventory.h"
#include "XmlPruning.h"
#include "XmlReading.h"

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace test {
namespace {

using Texts = std::vector<std::string>;

const Texts kIds = {"25227", "1", "", " 1 ", "a&b", "<", "\"", "'", "ü", "text", std::string("1\0002", 3)};
// In what follows, the first texts of a list keep a document well-formed, and the others need not.
const Texts kIdsAsWritten = {"25227", "1",      "",  " 1 ",  "a&amp;b", "&#60;", "&quot;", "&apos;",
                             "text",  "&text;", "ü", "&#0;", "1\t",     "<",     "&none;", "&nested;"};
constexpr std::size_t kSoundIds = 9;
const Texts kPrologues = {
    "",
    "<?xml version=\"1.0\"?>\n",
    "<!DOCTYPE SVMInventory [<!ENTITY text \"text\"><!ENTITY nested \"&text;\"><!ENTITY parts "
    "\"<Device componentID='1'><Application version='9'/></Device>\">"
    "<!ATTLIST Device componentID CDATA \"25227\"><!ATTLIST Application version CDATA \"default\">]>",
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>",
    "\xEF\xBB\xBF",
    " ",
    "<!DOCTYPE SVMInventory [<!ENTITY text \"te\"><!ENTITY nested \"x<b/>\"><!ENTITY parts \"<open>\">"
    "<!ATTLIST Device componentID ID #IMPLIED key ID #IMPLIED other IDREF #IMPLIED>]>",
    "<!DOCTYPE SVMInventory SYSTEM \"none.dtd\">"};
constexpr std::size_t kSoundPrologues = 3;
const Texts kElements = {"Device",   "Device", "Device", "Application",  "Application",  "p:Device",
                         "q:Device", "device", "Group",  "SVMInventory", "p:Application"};
const Texts kAttributes = {"componentID",   "componentID", "version",       "version", "p:version",
                           "p:componentID", "xml:id",      "q:componentID", "key",     "other"};
const Texts kFillers = {" ",
                        "\n  ",
                        "text",
                        "<!-- Device -->",
                        "<![CDATA[<Device/>]]>",
                        "<?Device componentID=\"1\"?>",
                        "<?Application version=\"0\"?>",
                        "&amp;",
                        "&text;",
                        "&parts;",
                        "&none;",
                        std::string(1, '\0'),
                        "\xFF",
                        "]]>"};
constexpr std::size_t kSoundFillers = 8;
const Texts kRoots = {"SVMInventory",   "SVMInventory",   "SVMInventory",
                      "p:SVMInventory", "q:SVMInventory", "Inventory"};
const Texts kNamespaces = {"", "", " xmlns:p=\"urn:p\"", " xmlns=\"urn:x\"",
                           " xmlns:p=\"urn:x\" xmlns:q=\"urn:x\""};

/** How many elements libxml2 lets a document nest. An entity may nest one less. */
constexpr std::size_t kGreatestDepth = 257;
/** libxml2 reads longer texts in several pieces of about this many bytes. */
constexpr std::size_t kPiece = 300;
/** The most bytes that libxml2 accepts in one text node. */
constexpr std::size_t kLongestText = 10'000'000;

std::string nested(std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += "<d>";
    }
    for (std::size_t i = 0; i < depth; ++i) {
        text += "</d>";
    }
    return text;
}

std::string prologueWithEntity(const std::string& name, const std::string& text) {
    return "<!DOCTYPE SVMInventory [<!ENTITY " + name + " \"" + text + "\">]>";
}

/** Makes inventories out of the texts above; each starts from a number of its own. */
class Generator {
public:
    explicit Generator(unsigned int number) : random_(number), isSound_(below(3) > 0) {}

    std::size_t below(std::size_t bound) { return random_() % bound; }
    const std::string& oneOf(const Texts& texts) { return texts[below(texts.size())]; }

    std::string inventory() {
        const std::string& root = oneOf(kRoots);
        std::string text = prologue() + "<" + root + oneOf(kNamespaces) + ">";
        for (std::size_t count = below(6); count > 0; --count) {
            text += filler() + element(0);
        }
        text += filler() + "</" + root + ">" + "\n";
        if (!isSound_ && below(2) == 0) {
            damage(text);
        }
        return text;
    }

private:
    const std::string& oneOf(const Texts& texts, std::size_t sound) {
        return texts[below(isSound_ ? sound : texts.size())];
    }

    std::string prologue() {
        hasDeepEntity_ = below(16) == 0;
        return hasDeepEntity_ ? prologueWithEntity("deep", nested(aroundGreatestDepth()))
                              : oneOf(kPrologues, kSoundPrologues);
    }

    std::size_t aroundGreatestDepth() { return kGreatestDepth - 6 + below(10); }

    std::string filler() {
        switch (below(32)) {
            case 0:
                return longFiller();
            case 1:
                return hasDeepEntity_ ? "&deep;" : "";
            case 2:
                return below(16) == 0 ? nested(aroundGreatestDepth()) : "";
            default:
                return below(4) == 0 ? oneOf(kFillers, kSoundFillers) : "";
        }
    }

    /** A text, a CDATA section, a comment or a processing instruction that is read in several pieces. */
    std::string longFiller() {
        const std::string text(kPiece - 2 + below(3 * kPiece), below(4) == 0 ? ' ' : 'x');
        const Texts fillers = {text, "<![CDATA[" + text + "]]>", "<!--" + text + "-->",
                               "<?Device " + text + "?>", text + "&amp;" + text};
        return oneOf(fillers);
    }

    /** The first two ids most often, so that many are found. */
    std::string attribute() {
        const std::string& value = below(3) == 0 ? oneOf(kIdsAsWritten, kSoundIds) : kIdsAsWritten[below(2)];
        return " " + oneOf(kAttributes) + "=\"" + value + "\"";
    }

    std::string element(int depth) {
        const std::string& name = oneOf(kElements);
        std::string text = "<" + name;
        for (std::size_t count = below(isSound_ ? 2 : 4); count > 0; --count) {
            text += attribute();  // twice the same one is an error
        }
        if (depth == 4 || below(4) == 0) {
            return text + "/>";
        }
        text += ">";
        for (std::size_t count = below(4); count > 0; --count) {
            text += filler() + element(depth + 1);
        }
        return text + filler() + "</" + name + ">";
    }

    void damage(std::string& text) {
        const std::size_t place = below(text.size());
        switch (below(4)) {
            case 0:
                text.resize(place);
                break;
            case 1:
                text[place] = static_cast<char>(below(256));
                break;
            case 2:
                text.insert(place, 1, '\0');
                break;
            default:
                text.erase(place, 1 + below(8));
                break;
        }
    }

    std::minstd_rand random_;
    bool isSound_;
    bool hasDeepEntity_ = false;
};

bool isElement(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && xmlStrcmp(node->name, asXmlChars(name)) == 0;
}

std::optional<std::string> attributeOf(const xmlNode* node, const char* name) {
    const XmlCharPtr value(xmlGetProp(node, asXmlChars(name)));
    return value ? std::optional(std::string(asChars(value.get()))) : std::nullopt;
}

bool isComponent(const xmlNode* node, const std::string& id) {
    return isElement(node, "Device") && attributeOf(node, "componentID") == id.c_str();
}

XmlDocPtr parseWhole(const std::string& text) {
    return XmlDocPtr(xmlParseMemory(text.data(), static_cast<int>(text.size())));
}

/** What the root holds without its unwanted elements, each node as it would be written. */
struct Content {
    Texts nodes;
    int components = 0;
    bool operator==(const Content&) const = default;
};

/** Nothing for a text that is not a document. */
std::optional<Content> wantedContent(const XmlDocPtr& doc, const std::string& id) {
    if (!doc) {
        return std::nullopt;
    }
    Content content;
    for (xmlNode* node = xmlDocGetRootElement(doc.get())->children; node != nullptr; node = node->next) {
        const bool isWanted = isComponent(node, id);
        if (isWanted || node->type != XML_ELEMENT_NODE) {
            const XmlBufferPtr buffer(xmlBufferCreate());
            xmlNodeDump(buffer.get(), doc.get(), node, 0, 1);
            content.nodes.emplace_back(asChars(xmlBufferContent(buffer.get())));
            content.components += isWanted ? 1 : 0;
        }
    }
    return content;
}

struct Version {
    int result;
    std::string text;
    bool operator==(const Version&) const = default;
};

void PrintTo(const Version& version, std::ostream* out) {
    *out << version.result << " \"" << version.text << '"';
}

/** The look-up of a version in the whole tree. */
Version versionInTree(const std::string& text, const std::string& id) {
    const XmlDocPtr doc = parseWhole(text.c_str());
    if (!doc || !isElement(xmlDocGetRootElement(doc.get()), "SVMInventory")) {
        return {1, "before"};
    }
    const xmlNode* device = xmlDocGetRootElement(doc.get())->children;
    while (device != nullptr && !isComponent(device, id)) {
        device = device->next;
    }
    if (device == nullptr) {
        return {1, "before"};
    }
    const xmlNode* application = device->children;
    while (application != nullptr && !isElement(application, "Application")) {
        application = application->next;
    }
    const auto version = application == nullptr ? std::nullopt : attributeOf(application, "version");
    return {0, version.value_or("before")};
}

Version versionByProgram(const std::string& text, const std::string& id) {
    CDeviceInfo device;
    device.setVersion("before");
    const int result = GetQRXVersion(id.c_str(), text.c_str(), &device);
    return {result, device.getVersion()};
}

void printNothing(void* /*context*/, const char* /*format*/, ...) {}

class XmlPruning : public testing::Test {
protected:
    void SetUp() override {
        xmlKeepBlanksDefault(0);
        xmlSetGenericErrorFunc(nullptr, printNothing);
    }
    void TearDown() override {
        xmlSetGenericErrorFunc(nullptr, nullptr);
        xmlKeepBlanksDefault(1);
    }
};

TEST_F(XmlPruning, DropsUnwantedChildrenOfTheRoot) {
    const XmlDocPtr doc = parseXmlPruned("<r><a><b/></a><a/><c><a/></c><a/><a/><a><b/></a></r>",
                                         [](const xmlNode* node) { return isElement(node, "c"); });
    const XmlBufferPtr buffer(xmlBufferCreate());
    xmlNodeDump(buffer.get(), doc.get(), xmlDocGetRootElement(doc.get()), 0, 0);
    EXPECT_STREQ(asChars(xmlBufferContent(buffer.get())), "<r><a><b/></a><c><a/></c><a><b/></a></r>");
}

TEST_F(XmlPruning, RefusesATextThatLibxml2CannotCount) {
    const std::string_view sound = "<r/>";
    // Nobody may look behind the text's end to see that it is none.
    const std::string_view beyond(sound.data(), std::size_t{std::numeric_limits<int>::max()} + 1);
    EXPECT_EQ(parseXmlPruned(beyond, [](const xmlNode*) { return true; }), nullptr);
}

// The limits of a whole parse.

constexpr const char* kId = "25227";
constexpr const char* kComponent = R"(<Device componentID="25227"><Application version="2"/></Device>)";

/** The version of the component behind another device, as both ways agree on it. */
Version versionBehind(const std::string& contentOfOther, const std::string& prologue = "") {
    const std::string text = prologue + R"(<SVMInventory><Device componentID="1">)" + contentOfOther +
                             "</Device>" + kComponent + "</SVMInventory>";
    const Version version = versionByProgram(text, kId);
    EXPECT_EQ(version, versionInTree(text, kId)) << text.substr(0, 200);
    return version;
}

const Version kFound = {0, "2"};
const Version kMalformed = {1, "before"};

TEST_F(XmlPruning, CountsEachTextOfAnUnwantedDeviceOnItsOwn) {
    const std::string text(kLongestText / 10, 'x');
    for (const std::string separator : {"<Group/>", "<!-- -->", "<?Group?>", "<![CDATA[x]]>"}) {
        std::string content;
        for (int i = 0; i < 11; ++i) {
            content += text + separator;
        }
        EXPECT_EQ(versionBehind(content), kFound) << separator;
    }
}

TEST_F(XmlPruning, RefusesAnUnwantedTextBeyondTheLimit) {
    const std::string text(kLongestText / 10, 'x');
    std::string content;
    for (int i = 0; i < 11; ++i) {
        content += text + "&amp;";
    }
    EXPECT_EQ(versionBehind(content), kMalformed);
    EXPECT_EQ(versionBehind("<Group>" + content + "</Group>"), kMalformed);
}

TEST_F(XmlPruning, LimitsTheDepthOfAnUnwantedDevice) {
    EXPECT_EQ(versionBehind(nested(kGreatestDepth - 2)), kFound);  // below the root and the device
    EXPECT_EQ(versionBehind(nested(kGreatestDepth - 1)), kMalformed);
}

TEST_F(XmlPruning, LimitsTheDepthOfAnEntityInAnUnwantedDevice) {
    const auto version = [](std::size_t depth) {
        return versionBehind("&deep;", prologueWithEntity("deep", nested(depth)));
    };
    EXPECT_EQ(version(kGreatestDepth - 1), kFound);
    EXPECT_EQ(version(kGreatestDepth), kMalformed);
}

TEST_F(XmlPruning, KeepsAllThatIsWanted) {
    constexpr unsigned int kInventories = 10000;
    std::array<int, 3> shares{};  // no document, without the component, with it
    for (unsigned int number = 1; number <= kInventories; ++number) {
        Generator generator(number);
        const std::string text = generator.inventory();
        const std::string id =
            kIds[generator.below(3) == 0 ? generator.below(kIds.size()) : generator.below(2)];

        const auto isWanted = [&](const xmlNode* node) { return isComponent(node, id); };
        const auto whole = wantedContent(parseWhole(text), id);
        ASSERT_TRUE(wantedContent(parseXmlPruned(text, isWanted), id) == whole) << number << ": " << text;
        ASSERT_EQ(versionByProgram(text, id), versionInTree(text, id)) << number << ": " << text;
        ++shares[!whole ? 0 : whole->components == 0 ? 1 : 2];
    }
    // A generator that hardly ever makes one of the three proves little.
    EXPECT_GT(*std::min_element(shares.begin(), shares.end()), static_cast<int>(kInventories / 20));
}

}  // namespace
}  // namespace test
