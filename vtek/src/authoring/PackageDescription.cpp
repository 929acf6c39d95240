#include "authoring/PackageDescription.h"

#include "base/File.h"
#include "base/Rules.h"
#include "base/Xml.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>
#include <optional>

namespace vtek {

namespace {

// The first device and the last version: what the update program takes from a document with several.
constexpr const char* kComponentId = "string((//SoftwareComponent/SupportedDevices/Device)[1]/@componentID)";
constexpr const char* kVersion = "string((//SoftwareComponent)[last()]/@vendorVersion)";

struct FreeXPath {
    void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
    void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
using XPathContextPtr = std::unique_ptr<xmlXPathContext, FreeXPath>;
using XPathObjectPtr = std::unique_ptr<xmlXPathObject, FreeXPath>;

/** The text that an expression yields; empty when memory runs out. */
std::optional<std::string> textAt(xmlXPathContext* context, const char* expression) {
    const XPathObjectPtr value(xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression), context));
    return value ? std::optional<std::string>(toChars(value->stringval)) : std::nullopt;
}

}  // namespace

Result<PackageDescription> readPackageDescription(int folder, const std::string& path,
                                                  ErrorNumber onFailure) {
    VTEK_ASSIGN(const std::string xml,
                readRegularFile(folder, path, Links::Followed, kPackageBound, path, onFailure));
    const XmlDocPtr document(
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, kXmlOptions));
    if (!document || document->intSubset != nullptr) {
        return Error{onFailure, path + " is not well-formed XML, or has a document type"};
    }
    const XPathContextPtr context(xmlXPathNewContext(document.get()));
    const auto componentId = textAt(context.get(), kComponentId);
    const auto version = textAt(context.get(), kVersion);
    if (!componentId || !version) {
        return Error{ErrorNumber::Internal, "not enough memory to read " + path};
    }
    if (componentId->empty()) {
        return Error{onFailure, path + " names no component: its first supported device has no componentID"};
    }
    return PackageDescription{*componentId, *version};
}

}  // namespace vtek
