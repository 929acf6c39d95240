#include "QRXInventory.h"
#include "XmlReading.h"

namespace {

/** Tests the type as well, because processing instructions and entity references also have names. */
bool isElement(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && xmlStrcmp(node->name, asXmlChars(name)) == 0;
}

XmlCharPtr attributeOf(const xmlNode* node, const char* name) {
    return XmlCharPtr(xmlGetProp(node, asXmlChars(name)));
}

bool isComponent(const xmlNode* node, const char* componentId) {
    return isElement(node, "Device") &&
           xmlStrcmp(attributeOf(node, "componentID").get(), asXmlChars(componentId)) == 0;
}

const xmlNode* findComponent(const xmlNode* root, const char* componentId) {
    const xmlNode* node = root->children;
    while (node != nullptr && !isComponent(node, componentId)) {
        node = node->next;
    }
    return node;
}

const xmlNode* findApplication(const xmlNode* component) {
    const xmlNode* node = component->children;
    while (node != nullptr && !isElement(node, "Application")) {
        node = node->next;
    }
    return node;
}

}  // namespace

int GetQRXVersion(const char* componentId, const char* inventoryXml, CDeviceInfo* device) {
    constexpr int kFound = 0;
    constexpr int kNotFound = 1;
    const XmlDocPtr doc = parseXmlText(inventoryXml);
    const xmlNode* const root = xmlDocGetRootElement(doc.get());
    if (root == nullptr || !isElement(root, "SVMInventory")) {
        return kNotFound;
    }
    const xmlNode* const component = findComponent(root, componentId);
    if (component == nullptr) {
        return kNotFound;
    }
    if (const xmlNode* const application = findApplication(component)) {
        if (const XmlCharPtr version = attributeOf(application, "version")) {
            device->setVersion(asChars(version.get()));
        }
    }
    return kFound;
}
