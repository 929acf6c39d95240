#include "chassis/InventoryReader.h"

#include "base/File.h"

#include <cstring>
#include <utility>

namespace vtek {

namespace {

/** Reads for libxml2. Its own reading would report a failure on standard error. */
int readDocument(void* context, char* buffer, int size) {
    return static_cast<int>(readFully(*static_cast<int*>(context), buffer, static_cast<std::size_t>(size)));
}

}  // namespace

Result<InventoryReader> InventoryReader::open(int fd) {
    auto source = std::make_unique<int>(fd);
    XmlReaderPtr reader(xmlReaderForIO(readDocument, nullptr, source.get(), nullptr, nullptr, kXmlOptions));
    if (!reader) {
        return Error{ErrorNumber::Internal, "cannot create an XML reader"};
    }
    return InventoryReader(std::move(source), std::move(reader));
}

Result<std::optional<InventoryDevice>> InventoryReader::next() {
    for (;;) {
        VTEK_ASSIGN(const bool more, advance());
        if (!more) {
            return std::optional<InventoryDevice>();
        }
        if (isElement(1, "Device")) {
            InventoryDevice device{attribute("componentID").value_or(""), attribute("display"), {}};
            VTEK_TRY(readApplications(device));
            return std::optional(std::move(device));
        }
    }
}

Result<bool> InventoryReader::advance() {
    const int outcome = xmlTextReaderRead(reader_.get());
    if (outcome < 0) {
        return invalid("not well-formed");
    }
    if (outcome == 0) {
        return false;
    }
    // Only a document type can declare entities, so refusing it leaves nothing to expand.
    if (xmlTextReaderNodeType(reader_.get()) == XML_READER_TYPE_DOCUMENT_TYPE) {
        return invalid("a document type is not allowed");
    }
    if (!std::exchange(rootSeen_,
                       rootSeen_ || xmlTextReaderNodeType(reader_.get()) == XML_READER_TYPE_ELEMENT) &&
        rootSeen_ && !isElement(0, "SVMInventory")) {
        return invalid("the root element is not SVMInventory");
    }
    return true;
}

Error InventoryReader::invalid(const char* reason) const {
    return {ErrorNumber::InvalidArgument,
            "inventory document, line " + std::to_string(xmlTextReaderGetParserLineNumber(reader_.get())) +
                ": " + reason};
}

bool InventoryReader::isElement(int depth, const char* name) const {
    return xmlTextReaderNodeType(reader_.get()) == XML_READER_TYPE_ELEMENT &&
           xmlTextReaderDepth(reader_.get()) == depth &&
           std::strcmp(toChars(xmlTextReaderConstName(reader_.get())), name) == 0;
}

std::optional<std::string> InventoryReader::attribute(const char* name) const {
    const XmlTextPtr value(xmlTextReaderGetAttribute(reader_.get(), reinterpret_cast<const xmlChar*>(name)));
    return value ? std::optional<std::string>(toChars(value.get())) : std::nullopt;
}

Status InventoryReader::readApplications(InventoryDevice& device) {
    if (xmlTextReaderIsEmptyElement(reader_.get()) == 1) {
        return {};
    }
    for (;;) {
        VTEK_ASSIGN(const bool more, advance());
        // Depth 0 is the root element, 1 its devices, 2 their applications: depth 1 is the end of this
        // device.
        if (!more || xmlTextReaderDepth(reader_.get()) <= 1) {
            return {};
        }
        if (isElement(2, "Application")) {
            device.applications.push_back(
                {attribute("componentType"), attribute("version"), attribute("display")});
        }
    }
}

}  // namespace vtek
