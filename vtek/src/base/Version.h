#pragma once

#include <compare>
#include <string_view>

namespace vtek {

/**
 * A version, in the order of the UAPI group's version format as `systemd-analyze compare-versions` implements
 * it. Numbers count as numbers: 2.0 is below 2.01, which equals 2.1, and 9 is below 10. "~" marks what comes
 * before a release: 2.0~rc1 is below 2.0. More parts are higher: 2 is below 2.0. Characters other than
 * letters, digits and "-.~^" are skipped.
 *
 * Versions that are equal in this order can have different texts. The text must outlive the version.
 */
class Version {
public:
    explicit Version(std::string_view text) : text_(text) {}

    friend std::weak_ordering operator<=>(Version left, Version right);
    friend bool operator==(Version left, Version right) { return left <=> right == 0; }

private:
    std::string_view text_;
};

}  // namespace vtek
