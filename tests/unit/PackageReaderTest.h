#pragma once

#include "PackageFolder.h"
#include "SoftwareComponentInfo.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

namespace test {

/** Declares the entities name, nested and empty for the document that follows. */
inline constexpr const char* kEntities =
    R"(<!DOCTYPE SoftwareComponent [<!ENTITY name "Name"><!ENTITY nested "a &name; b"><!ENTITY empty "">]>)";

/** A package folder and readers of it. */
class PackageReaderTest : public ::testing::Test {
protected:
    /** Makes a package.xml of these supported devices. */
    void setDevices(std::string_view devices) const {
        std::string xml = "<SoftwareComponent><SupportedDevices>";
        package_.setPackage(xml.append(devices).append("</SupportedDevices></SoftwareComponent>"));
    }

    /** What one question to a new reader logs. */
    template <typename Ask>
    std::vector<std::string> logOf(Ask ask) {
        CSoftwareComponentInfo reader;
        package_.clearLog();
        ask(reader);
        return package_.messages();
    }

    PackageFolder package_;
};

}  // namespace test
