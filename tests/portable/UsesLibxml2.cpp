/**
 * Makes a platform library that uses a libxml2 of its own: parses when it is loaded and when it is unloaded,
 * after the program's last use of its libxml2. The file $XML_ORIGINS gets the name of the file that each
 * function came from.
 */

#include <dlfcn.h>
#include <libxml/parser.h>

#include <cstdlib>
#include <fstream>

namespace {

/** Appends the file that the loader took a function from. */
template <class Function>
void reportOrigin(std::ofstream& report, const char* name, Function* function) {
    Dl_info info{};
    const bool known = dladdr(reinterpret_cast<void*>(function), &info) != 0;
    report << name << ' ' << (known ? info.dli_fname : "unknown") << '\n';
}

void useLibxml2() {
    std::ofstream report(std::getenv("XML_ORIGINS"), std::ios::app);
    constexpr char kDocument[] = "<platform/>";
    xmlDoc* const document =
        xmlReadMemory(kDocument, sizeof kDocument - 1, nullptr, nullptr, XML_PARSE_NONET);
    report << (document == nullptr ? "not parsed" : "parsed") << '\n';
    xmlFreeDoc(document);
    reportOrigin(report, "xmlReadMemory", &xmlReadMemory);
    reportOrigin(report, "xmlFreeDoc", &xmlFreeDoc);
    reportOrigin(report, "xmlCleanupParser", &xmlCleanupParser);
}

struct WholeLife {
    WholeLife() { useLibxml2(); }
    ~WholeLife() { useLibxml2(); }
};

const WholeLife wholeLife;

}  // namespace
