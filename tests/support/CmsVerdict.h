#pragma once

#include <string_view>

namespace test {

/** Whether OpenSSL's own CMS_verify accepts a DER signature over the content; does not check who signed. */
bool cmsVerifies(std::string_view der, std::string_view content);

}  // namespace test
