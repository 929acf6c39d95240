#include "payload/Manifest.h"

#include "base/Xml.h"
#include "payload/ArchiveReader.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cstring>

namespace vtek {

namespace {

constexpr std::string_view kDigestPrefix = "sha256:";
constexpr std::size_t kDigestLength = 64;  // hexadecimal digits of a SHA-256
constexpr std::size_t kMaxText = 256;      // bytes of an id, a version or a chassis type

Error invalid(const std::string& reason) {
    return {ErrorNumber::ManifestInvalid, std::string(kManifestName) + ": " + reason};
}

std::string attribute(xmlNode* element, const char* name) {
    const XmlTextPtr value(xmlGetNoNsProp(element, reinterpret_cast<const xmlChar*>(name)));
    return value ? toChars(value.get()) : "";
}

bool isNamed(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && std::strcmp(toChars(node->name), name) == 0;
}

/** Short, printable and without blanks: texts are shown in tables and logs. */
bool isPlain(const std::string& text) {
    return !text.empty() && text.size() <= kMaxText &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

/** Lower case only: digests are compared as texts. */
bool isDigest(std::string_view text) {
    return text.size() == kDigestLength && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

}  // namespace

Result<Manifest> parseManifest(std::string_view xml) {
    if (xml.empty() || xml.size() > kManifestBound) {
        return invalid("empty or too long");
    }
    const XmlDocPtr document(
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, kXmlOptions));
    if (!document) {
        return invalid("not well-formed");
    }
    // A document type can declare entities, which name other files or expand a millionfold.
    if (document->intSubset != nullptr) {
        return invalid("a document type is not allowed");
    }
    xmlNode* root = xmlDocGetRootElement(document.get());
    if (root == nullptr || !isNamed(root, "VtekManifest") || attribute(root, "format") != "1") {
        return invalid("not a manifest of format 1");
    }

    Manifest manifest{attribute(root, "componentID"), attribute(root, "version"), {}, ""};
    for (xmlNode* child = root->children; child != nullptr; child = child->next) {
        if (isNamed(child, "Chassis")) {
            manifest.chassisTypes.push_back(attribute(child, "type"));
        }
    }
    const std::string digest = attribute(root, "packageDigest");
    if (!isPlain(manifest.componentId) || !isPlain(manifest.version)) {
        return invalid("component id or version missing or malformed");
    }
    if (manifest.chassisTypes.empty() ||
        !std::all_of(manifest.chassisTypes.begin(), manifest.chassisTypes.end(), isPlain)) {
        return invalid("chassis types missing or malformed");
    }
    if (!digest.starts_with(kDigestPrefix) || !isDigest(digest.substr(kDigestPrefix.size()))) {
        return invalid("digest of package.xml missing or malformed");
    }
    manifest.packageDigest = digest.substr(kDigestPrefix.size());
    return manifest;
}

Result<Manifest> readManifest(std::string_view start) {
    VTEK_ASSIGN(ArchiveReader reader, ArchiveReader::openStart(start));
    VTEK_ASSIGN(const auto first, reader.next());
    if (!first || first->name != kManifestName || first->kind != ArchiveEntry::Kind::File) {
        return Error{ErrorNumber::ManifestInvalid, "archive: the first entry is not manifest.xml"};
    }
    std::string xml(kManifestBound + 1, '\0');  // one byte more: the parser refuses what exceeds the bound
    std::size_t size = 0;
    while (size < xml.size()) {
        VTEK_ASSIGN(const std::size_t n, reader.read(xml.data() + size, xml.size() - size));
        if (n == 0) {
            break;
        }
        size += n;
    }
    xml.resize(size);
    return parseManifest(xml);
}

std::string formatManifest(const Manifest& manifest) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<VtekManifest format=\"1\" componentID=\"";
    appendEscaped(xml, manifest.componentId);
    xml += "\" version=\"";
    appendEscaped(xml, manifest.version);
    xml += "\" packageDigest=\"";
    xml.append(kDigestPrefix).append(manifest.packageDigest).append("\">\n");
    for (const auto& type : manifest.chassisTypes) {
        xml += "  <Chassis type=\"";
        appendEscaped(xml, type);
        xml += "\"/>\n";
    }
    return xml + "</VtekManifest>\n";
}

}  // namespace vtek
