/**
 * Preloaded into a program, makes calls of one libxml2 function fail.
 *
 * FAILING_XML is the function's name, optionally followed by a colon and the number, from 1, of the only call
 * that fails.
 */

#include <dlfcn.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <cstdlib>
#include <string>

namespace {

bool fails(const std::string& function) {
    static int calls = 0;
    const char* const setting = std::getenv("FAILING_XML");
    const std::string wanted = setting == nullptr ? "" : setting;
    if (wanted == function) {
        return true;
    }
    const std::size_t colon = wanted.find(':');
    return wanted.substr(0, colon) == function && ++calls == std::stoi(wanted.substr(colon + 1));
}

template <typename Function>
Function* theLibrarys(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

xmlDocPtr xmlParseFile(const char* file) {
    return fails("xmlParseFile") ? nullptr : theLibrarys<decltype(xmlParseFile)>("xmlParseFile")(file);
}

xmlDocPtr xmlParseMemory(const char* text, int size) {
    return fails("xmlParseMemory") ? nullptr
                                   : theLibrarys<decltype(xmlParseMemory)>("xmlParseMemory")(text, size);
}

xmlXPathContextPtr xmlXPathNewContext(xmlDocPtr doc) {
    return fails("xmlXPathNewContext") ? nullptr
                                       : theLibrarys<decltype(xmlXPathNewContext)>("xmlXPathNewContext")(doc);
}

xmlXPathObjectPtr xmlXPathEvalExpression(const xmlChar* expression, xmlXPathContextPtr context) {
    return fails("xmlXPathEvalExpression")
               ? nullptr
               : theLibrarys<decltype(xmlXPathEvalExpression)>("xmlXPathEvalExpression")(expression, context);
}

xmlBufferPtr xmlBufferCreate() {
    return fails("xmlBufferCreate") ? nullptr : theLibrarys<decltype(xmlBufferCreate)>("xmlBufferCreate")();
}

}  // extern "C"
