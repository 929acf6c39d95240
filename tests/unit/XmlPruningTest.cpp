// A pruned document and a whole one, over thousands of generated inventories, most of them odd and many
// broken: nothing that is wanted may differ.
#include "QRXInventory.h"
#include "XmlPruning.h"
#include "XmlReading.h"

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
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

/** Makes inventories out of the texts above; each starts from a number of its own. */
class Generator {
public:
    explicit Generator(unsigned int number) : random_(number), isSound_(below(3) > 0) {}

    std::size_t below(std::size_t bound) { return random_() % bound; }
    const std::string& oneOf(const Texts& texts) { return texts[below(texts.size())]; }

    std::string inventory() {
        const std::string& root = oneOf(kRoots);
        std::string text = oneOf(kPrologues, kSoundPrologues) + "<" + root + oneOf(kNamespaces) + ">";
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

    std::string filler() { return below(4) == 0 ? oneOf(kFillers, kSoundFillers) : ""; }

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

/** The component's records, as they would be written; nothing where the text is no document. */
std::optional<Texts> records(const XmlDocPtr& doc, const std::string& id) {
    if (!doc) {
        return std::nullopt;
    }
    Texts found;
    for (xmlNode* node = xmlDocGetRootElement(doc.get())->children; node != nullptr; node = node->next) {
        if (isComponent(node, id)) {
            const XmlBufferPtr buffer(xmlBufferCreate());
            xmlNodeDump(buffer.get(), doc.get(), node, 0, 1);
            found.emplace_back(asChars(xmlBufferContent(buffer.get())));
        }
    }
    return found;
}

struct Version {
    int result;
    std::string text;
    bool operator==(const Version&) const = default;
};

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
    const XmlDocPtr doc = parseXmlPruned("<r><a><b/></a><a/><c><a/></c><a/><a><b/></a></r>",
                                         [](const xmlNode* node) { return isElement(node, "c"); });
    const XmlBufferPtr buffer(xmlBufferCreate());
    xmlNodeDump(buffer.get(), doc.get(), xmlDocGetRootElement(doc.get()), 0, 0);
    EXPECT_STREQ(asChars(xmlBufferContent(buffer.get())), "<r><c><a/></c><a/></r>");
}

TEST_F(XmlPruning, RefusesATextThatLibxml2CannotCount) {
    const std::string_view sound = "<r/>";
    // Nobody may look behind the text's end to see that it is none.
    const std::string_view beyond(sound.data(), std::size_t{std::numeric_limits<int>::max()} + 1);
    EXPECT_EQ(parseXmlPruned(beyond, [](const xmlNode*) { return true; }), nullptr);
}

TEST_F(XmlPruning, KeepsAllThatIsWanted) {
    constexpr unsigned int kInventories = 20000;
    std::array<int, 3> shares{};  // no document, without the component, with it
    for (unsigned int number = 1; number <= kInventories; ++number) {
        Generator generator(number);
        const std::string text = generator.inventory();
        const std::string id =
            kIds[generator.below(3) == 0 ? generator.below(kIds.size()) : generator.below(2)];

        const auto whole = records(parseWhole(text), id);
        const auto pruned =
            records(parseXmlPruned(text, [&](const xmlNode* node) { return isComponent(node, id); }), id);
        ASSERT_EQ(pruned, whole) << number << ": " << text;
        ASSERT_EQ(versionByProgram(text, id), versionInTree(text, id)) << number << ": " << text;
        ++shares[!whole ? 0 : whole->empty() ? 1 : 2];
    }
    // A generator that hardly ever makes one of the three proves little.
    EXPECT_GT(*std::min_element(shares.begin(), shares.end()), static_cast<int>(kInventories / 20));
}

}  // namespace
}  // namespace test
