#include "FailingXPath.h"

#include <dlfcn.h>
#include <libxml/xpath.h>

namespace {

bool failing = false;

}  // namespace

extern "C" xmlXPathContextPtr xmlXPathNewContext(xmlDocPtr doc) {
    static const auto theLibrarys =
        reinterpret_cast<decltype(&xmlXPathNewContext)>(dlsym(RTLD_NEXT, "xmlXPathNewContext"));
    return failing ? nullptr : theLibrarys(doc);
}

namespace test {

FailingXPathContext::FailingXPathContext() {
    failing = true;
}

FailingXPathContext::~FailingXPathContext() {
    failing = false;
}

}  // namespace test
