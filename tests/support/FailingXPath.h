#pragma once

namespace test {

/** While it lives, libxml2 makes no XPath context, as if memory had run out. Linking this replaces the
 *  library's function. */
class FailingXPathContext {
public:
    FailingXPathContext();
    ~FailingXPathContext();
    FailingXPathContext(const FailingXPathContext&) = delete;
    FailingXPathContext& operator=(const FailingXPathContext&) = delete;
};

}  // namespace test
