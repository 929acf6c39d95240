#include "ReportXml.h"

#include "XmlDocument.h"
#include "base/Utf8.h"
#include "common/InputFile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <regex>
#include <string>
#include <utility>

namespace qrxinspect {
namespace {

constexpr std::size_t kSizeLimit = std::size_t{1024} * 1024;  // bytes; the program writes less than 2 KiB
constexpr int kDepthLimit = 64;                               // elements; the program nests five
constexpr std::size_t kDeclarationLimit = 128;                // bytes

const char* const kDeclaration =
    R"re(<\?xml[ \t\r\n]+version[ \t\r\n]*=[ \t\r\n]*("1\.0"|'1\.0'))re"
    R"re(([ \t\r\n]+encoding[ \t\r\n]*=[ \t\r\n]*("[Uu][Tt][Ff]-8"|'[Uu][Tt][Ff]-8'))?)re"
    R"re(([ \t\r\n]+standalone[ \t\r\n]*=[ \t\r\n]*("(yes|no)"|'(yes|no)'))?[ \t\r\n]*\?>)re";

struct Refusal {
    std::string_view text;
    const char* problem;
};

constexpr std::array kRefused{
    Refusal{"<!DOCTYPE", "has a document type declaration"},
    Refusal{"<!", "has a comment or a CDATA section"},
    Refusal{"<?", "has a processing instruction"},
    Refusal{"xmlns", "has a namespace"},
};

/** The length of the XML declaration; 0 if it is not one of version 1.0 in UTF-8. */
std::size_t declarationLength(std::string_view text) {
    static const std::regex pattern(kDeclaration);
    const std::string start(text.substr(0, kDeclarationLimit));
    std::smatch match;
    const bool found = std::regex_search(start, match, pattern, std::regex_constants::match_continuous);
    return found ? static_cast<std::size_t>(match.length()) : 0;
}

/** Why the text is not parsed at all; null if nothing is wrong. */
const char* problemBeforeParsing(std::string_view text) {
    if (text.size() > kSizeLimit) {
        return "is larger than 1 MiB";
    }
    if (!vtek::isUtf8(text)) {
        return "is not UTF-8";
    }
    if (text.starts_with("<?xml")) {
        const std::size_t declaration = declarationLength(text);
        if (declaration == 0) {
            return "has an XML declaration other than version 1.0 and UTF-8";
        }
        text.remove_prefix(declaration);
    }
    const auto* const refused = std::find_if(
        kRefused.begin(), kRefused.end(),
        [text](const Refusal& refusal) { return text.find(refusal.text) != std::string_view::npos; });
    return refused == kRefused.end() ? nullptr : refused->problem;
}

/** The parser knows the prefix xml without a declaration; other prefixes stay in the name. */
template <class Node>
bool hasPlainName(const Node& node) {
    const std::string_view name = asChars(node.name);
    return node.ns == nullptr && std::all_of(name.begin(), name.end(), [](char c) {
               return c != ':' && static_cast<unsigned char>(c) < 0x80;
           });
}

bool hasPlainNames(const xmlNode& element) {
    for (const xmlAttr* attribute = element.properties; attribute != nullptr; attribute = attribute->next) {
        if (!hasPlainName(*attribute)) {
            return false;
        }
    }
    return hasPlainName(element);
}

/** Why a well-formed element, with all below it, is not part of a report; null if nothing is wrong. */
const char* problemIn(const xmlNode& element, int depth) {
    if (!hasPlainNames(element)) {
        return "has a name that no report has";
    }
    if (depth > kDepthLimit) {
        return "is nested too deeply";
    }
    for (const xmlNode* child : childElements(element)) {
        if (const char* problem = problemIn(*child, depth + 1)) {
            return problem;
        }
    }
    return nullptr;
}

}  // namespace

vtek::Result<XmlDocPtr> parseReport(std::string_view text) {
    if (const char* problem = problemBeforeParsing(text)) {
        return tools::inputError(problem);
    }
    vtek::Result<XmlDocPtr> document = parseDocument(text, Blanks::Kept);
    if (!document) {
        return document;
    }
    if (const char* problem = problemIn(*xmlDocGetRootElement(document->get()), 1)) {
        return tools::inputError(problem);
    }
    return document;
}

}  // namespace qrxinspect
