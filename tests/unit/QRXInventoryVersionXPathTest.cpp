// The look-up of a version and the same question in XPath, over thousands of generated inventories, many of
// them broken.
#include "QRXInventory.h"
#include "XmlReading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

namespace test {
namespace {

constexpr std::size_t kGreatestDepth = 257;  // how deep libxml2 lets the elements of an entity nest
constexpr std::size_t kPiece = 300;          // libxml2 reads longer texts in pieces of about this size

std::string nested(std::size_t depth) {
    std::string begin;
    std::string end;
    for (std::size_t i = 0; i < depth; ++i) {
        begin += "<d>";
        end += "</d>";
    }
    return begin + end;
}

/** Makes inventories; the same number makes the same one. */
class Generator {
public:
    explicit Generator(unsigned int number) : random_(number) {}

    std::size_t below(std::size_t bound) { return random_() % bound; }

    std::string inventory() {
        std::string text = prologue() + "<SVMInventory>";
        for (std::size_t count = below(6); count > 0; --count) {
            text += filler() + element(0);
        }
        text += filler() + "</SVMInventory>";
        if (below(4) == 0) {
            text.erase(below(text.size()), 1 + below(4));
        }
        return text;
    }

private:
    std::string prologue() {
        return "<!DOCTYPE SVMInventory [<!ENTITY text 'text'><!ENTITY deep '" +
               nested(kGreatestDepth - 3 + below(4)) + "'>]>";
    }

    /** What may stand between elements; most are read in several pieces. */
    std::string filler() {
        const std::string text(kPiece - 2 + below(3 * kPiece), below(4) == 0 ? ' ' : 'x');
        const std::vector<std::string> fillers = {text,
                                                  text + "&amp;" + text,
                                                  "<![CDATA[" + text + "<Device/>]]>",
                                                  "<!--" + text + "-->",
                                                  "<?Device " + text + "?>",
                                                  "&text;",
                                                  below(4) == 0 ? "&deep;" : ""};
        return below(2) == 0 ? fillers[below(fillers.size())] : "";
    }

    std::string element(int depth) {
        constexpr std::array kNames{"Device", "Device", "Application", "Application", "Group", "device"};
        const std::string name = kNames[below(kNames.size())];
        std::string text = "<" + name;
        if (below(4) != 0) {
            text += below(3) == 0 ? " componentID='1'" : " componentID='25227'";
        }
        if (below(4) != 0) {
            text += " version='" + std::to_string(below(100)) + "&text;'";
        }
        text += ">";
        for (std::size_t count = depth == 3 ? 0 : below(4); count > 0; --count) {
            text += filler() + element(depth + 1);
        }
        return text + filler() + "</" + name + ">";
    }

    std::minstd_rand random_;
};

struct Answer {
    int result;
    std::string version;
    bool operator==(const Answer&) const = default;
};
const Answer kNotFound = {1, "before"};

/** The first node that an expression finds below another one; null if there is none. */
xmlNode* firstNode(xmlXPathContext* context, xmlNode* from, const char* expression) {
    context->node = from;
    const XPathObjectPtr found(xmlXPathEvalExpression(asXmlChars(expression), context));
    return xmlXPathNodeSetIsEmpty(found->nodesetval) ? nullptr : found->nodesetval->nodeTab[0];
}

Answer answerOfXPath(const std::string& text) {
    constexpr int kLikeXmlParseMemory = 0;
    const XmlDocPtr doc(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, kLikeXmlParseMemory));
    if (!doc) {
        return kNotFound;
    }
    const XPathContextPtr context(xmlXPathNewContext(doc.get()));
    xmlNode* const device = firstNode(context.get(), xmlDocGetRootElement(doc.get()),
                                      "/SVMInventory/Device[@componentID='25227'][1]");
    if (device == nullptr) {
        return kNotFound;
    }
    xmlNode* const version = firstNode(context.get(), device, "Application[1]/@version");
    const XmlCharPtr value(version == nullptr ? nullptr : xmlNodeGetContent(version));
    return {0, value ? asChars(value.get()) : "before"};
}

Answer answerOfProgram(const std::string& text) {
    CDeviceInfo device;
    device.setVersion("before");
    const int result = GetQRXVersion("25227", text.c_str(), &device);
    return {result, device.getVersion()};
}

void printNothing(void* /*context*/, const char* /*format*/, ...) {}

TEST(QRXInventoryVersionXPath, AnswersLikeXPath) {
    constexpr unsigned int kInventories = 2000;
    xmlSetGenericErrorFunc(nullptr, printNothing);
    unsigned int found = 0;
    for (unsigned int number = 1; number <= kInventories; ++number) {
        const std::string text = Generator(number).inventory();
        const Answer answer = answerOfProgram(text);
        ASSERT_TRUE(answer == answerOfXPath(text)) << number << ": " << answer.version << ": " << text;
        found += answer.result == 0 ? 1 : 0;
    }
    xmlSetGenericErrorFunc(nullptr, nullptr);
    // A generator that hardly ever finds or misses the component proves little.
    EXPECT_GT(std::min(found, kInventories - found), kInventories / 10);
}

}  // namespace
}  // namespace test
