#pragma once

#include <string_view>

namespace test {

/** Whether OpenSSL's own CMS_verify finds that a DER signature was made over the content, by whomever. */
bool cmsVerifies(std::string_view der, std::string_view content);

}  // namespace test
