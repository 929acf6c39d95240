// Reads from package.xml what a run needs, and compares it with a walk over the same tree.

#include "Harness.h"
#include "Logger.h"
#include "SoftwareComponentInfo.h"
#include "TempDir.h"
#include "XmlTree.h"

#include <optional>

namespace test {
namespace {

// The log is on, so that the code that builds its texts runs too.
[[maybe_unused]] const int kLogged = CLogger::GetInstance()->Initialize("/dev/null");

/** The answers in the document. */
struct Answers {
    std::string componentId;
    std::string componentType;
    std::string version;
    bool rollback = false;

    bool operator==(const Answers&) const = default;
};

bool isSupportedDevice(const xmlNode* element) {
    return isElement(element, "Device") && isElement(element->parent, "SupportedDevices") &&
           isElement(element->parent->parent, "SoftwareComponent");
}

Answers walk(const std::filesystem::path& file) {
    Answers answers;
    std::optional<std::string> firstId;
    const XmlDocPtr doc(xmlReadFile(file.c_str(), nullptr, XML_PARSE_NOBLANKS));
    forEachElement(xmlDocGetRootElement(doc.get()), [&](const xmlNode* element) {
        if (isSupportedDevice(element) && !firstId) {
            firstId = firstChildText(element, "componentID");
        } else if (isElement(element, "SoftwareComponent")) {
            answers.version = firstChildText(element, "vendorVersion");
        } else if (isElement(element, "ComponentType") && isElement(element->parent, "SoftwareComponent")) {
            answers.componentType = firstChildText(element, "value");
        } else if (isElement(element, "RollbackInformation") && isSupportedDevice(element->parent)) {
            answers.rollback = true;
        }
    });
    answers.componentId = firstId.value_or("");
    return answers;
}

Answers ask(CSoftwareComponentInfo& reader) {
    Answers answers;
    answers.componentId = reader.GetComponentID();
    answers.componentType = reader.GetComponentType();
    answers.version = reader.GetComponentVersion();
    answers.rollback = reader.getPresenceOfRollbackInfo();
    return answers;
}

}  // namespace

void examine(std::string_view input) {
    const std::filesystem::path file = workingFolder() / "package.xml";
    writeFile(file, input);
    CSoftwareComponentInfo reader;
    const Answers answers = ask(reader);
    require(answers == walk(file), "the answers in the tree");
    require(answers == ask(reader), "the same answers when asked again");
    require(readFile(file) == input, "unchanged package.xml");
}

}  // namespace test
