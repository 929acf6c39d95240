#pragma once

#include "DeviceInfo.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/** Device records made of an input's bytes, for the report writers. */
class Records {
public:
    /** What a text field of a record becomes, given the bytes that the input has for it. */
    using MakeText = std::function<std::string(const std::string& raw)>;

    /** Lines of the input, each one record: status, type, message id, reboot flag, then the texts between
     * NULs. */
    Records(std::string_view input, const MakeText& makeText);

    std::vector<CDeviceInfo*> pointers() const;
    const std::vector<std::unique_ptr<CDeviceInfo>>& all() const { return records_; }

private:
    std::vector<std::unique_ptr<CDeviceInfo>> records_;
};

/**
 * Requires what holds for every report writer, given what it writes for a list of records:
 * with plain words for texts the document is XML with this root; with the input's own texts it is the same
 * document, each word replaced by the bytes as they are; and asked again it is the same.
 */
void requireRawReport(std::string_view input, std::string_view root,
                      const std::function<std::string(const std::vector<CDeviceInfo*>&)>& write);

}  // namespace test
