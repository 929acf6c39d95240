#include "XmlDocument.h"

#include "XmlReading.h"
#include "common/InputFile.h"

#include <memory>
#include <optional>

namespace qrxinspect {
namespace {

// Without XML_PARSE_NOERROR, which in newer libxml2 (2.15) silences our own handler, too.
constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_BIG_LINES;

struct ParserContextDeleter {
    void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
using ParserContextPtr = std::unique_ptr<xmlParserCtxt, ParserContextDeleter>;

vtek::Error errorOf(const xmlError& error) {
    const std::string message = error.message == nullptr ? "" : error.message;
    return tools::inputError("not well-formed XML, line " + std::to_string(error.line) + ": " +
                             message.substr(0, message.find('\n')));
}

/** A parser that prints nothing and keeps its first error; later errors usually follow from the first. */
class QuietParser {
public:
    QuietParser() : context_(xmlNewParserCtxt()) {
        if (context_) {
            context_->_private = this;
            context_->sax->serror = [](void* context, auto* error) {
                static_cast<QuietParser*>(static_cast<xmlParserCtxt*>(context)->_private)->keep(*error);
            };
        }
    }

    vtek::Result<XmlDocPtr> parse(std::string_view text, Blanks blanks) {
        if (!context_) {
            return tools::inputError("no memory for a parser");
        }
        const int options = blanks == Blanks::Dropped ? kParseOptions | XML_PARSE_NOBLANKS : kParseOptions;
        XmlDocPtr document(xmlCtxtReadMemory(context_.get(), text.data(), static_cast<int>(text.size()),
                                             nullptr, nullptr, options));
        if (document) {
            return document;
        }
        return firstError_.value_or(tools::inputError("not well-formed XML"));
    }

private:
    void keep(const xmlError& error) {
        if (!firstError_ && error.level >= XML_ERR_ERROR) {
            firstError_ = errorOf(error);
        }
    }

    ParserContextPtr context_;
    std::optional<vtek::Error> firstError_;
};

}  // namespace

vtek::Result<XmlDocPtr> parseDocument(std::string_view text, Blanks blanks) {
    if (text.empty()) {
        return tools::inputError("is empty");
    }
    vtek::Result<XmlDocPtr> document = QuietParser().parse(text, blanks);
    if (document && (*document)->intSubset != nullptr) {
        return tools::inputError("has a document type declaration");
    }
    return document;
}

vtek::Result<XmlDocPtr> parseDocumentOf(std::string_view text, const char* rootName) {
    vtek::Result<XmlDocPtr> document = parseDocument(text);
    if (!document) {
        return document;
    }
    const std::string root = rootNameOf(**document);
    if (root != rootName) {
        return tools::inputError("the root element is \"" + root + "\", not \"" + rootName + "\"");
    }
    return document;
}

std::string rootNameOf(const xmlDoc& document) {
    const xmlNode* const root = xmlDocGetRootElement(&document);
    const std::string name = asChars(root->name);
    return root->ns == nullptr ? name : '{' + textOrEmpty(root->ns->href) + '}' + name;
}

std::vector<const xmlNode*> childElements(const xmlNode& parent) {
    std::vector<const xmlNode*> elements;
    for (const xmlNode* child = parent.children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            elements.push_back(child);
        }
    }
    return elements;
}

std::vector<const xmlNode*> childElements(const xmlNode& parent, const char* name) {
    std::vector<const xmlNode*> elements = childElements(parent);
    std::erase_if(elements, [name](const xmlNode* element) { return !isNamed(*element, name); });
    return elements;
}

std::vector<const xmlNode*> elementsNamed(const xmlNode& top, const char* name) {
    std::vector<const xmlNode*> found;
    if (isNamed(top, name)) {
        found.push_back(&top);
    }
    for (const xmlNode* child : childElements(top)) {
        const std::vector<const xmlNode*> below = elementsNamed(*child, name);
        found.insert(found.end(), below.begin(), below.end());
    }
    return found;
}

bool isNamed(const xmlNode& element, const char* name) {
    return xmlStrEqual(element.name, asXmlChars(name)) != 0;
}

std::string attributeOf(const xmlNode& element, const char* name) {
    return textOrEmpty(XmlCharPtr(xmlGetNoNsProp(&element, asXmlChars(name))).get());
}

std::string contentOf(const xmlNode& node) {
    return textOrEmpty(XmlCharPtr(xmlNodeGetContent(&node)).get());
}

long lineOf(const xmlNode& element) {
    return xmlGetLineNo(&element);
}

}  // namespace qrxinspect
