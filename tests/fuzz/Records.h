#pragma once

#include "DeviceInfo.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/** Device records made from an input, for the report writers. */
class Records {
public:
    /** Returns the value of a text field for its bytes in the input. */
    using MakeText = std::function<std::string(const std::string& raw)>;

    /** Each line of the input is a record: status, type, message id, reboot flag, then texts separated by
     * NULs. */
    Records(std::string_view input, const MakeText& makeText);

    std::vector<CDeviceInfo*> pointers() const;
    const std::vector<std::unique_ptr<CDeviceInfo>>& all() const { return records_; }

private:
    std::vector<std::unique_ptr<CDeviceInfo>> records_;
};

/**
 * Requires what must hold for every report writer. With plain words as texts, the report is XML with this
 * root. With the input's texts, it is the same report with each word replaced by the input's bytes. Written
 * again, it is the same.
 */
void requireRawReport(std::string_view input, std::string_view root,
                      const std::function<std::string(const std::vector<CDeviceInfo*>&)>& write);

}  // namespace test
