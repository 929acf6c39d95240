#include "Process.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

/** The names of the functions that the built program defines, one on each line. */
const std::string& definedFunctions() {
    static const std::string names = run({{NM, "--demangle", "--defined-only", QRX_PROGRAM}}).output;
    return names;
}

/** One operation of each class of the base utilities, including those that no run reaches. */
class LinkedClass : public ::testing::TestWithParam<const char*> {};

TEST_P(LinkedClass, IsInTheProgram) {
    const std::string function = std::string(" T ") + GetParam();
    // A function that returns a string carries the library's tag.
    EXPECT_THAT(definedFunctions(), AnyOf(HasSubstr(function + "("), HasSubstr(function + "[abi:cxx11](")));
}

INSTANTIATE_TEST_SUITE_P(
    BaseUtilities, LinkedClass,
    ::testing::Values("CCommandLineParser::parseCLI", "CLogger::log", "CDeviceInfo::getFilePath",
                      "CXMLWriter::WriteUpdateXML", "CPlatformLayer::isUSBblacklisted",
                      "CSoftwareComponentInfo::GetInvFromTVK", "CSoftwareComponentInfo::GetSupportedDevices",
                      "CSoftwareComponentInfo::getMarketingNameForPCIDevice",
                      "CSoftwareComponentInfo::getDependencyInfo",
                      "CSoftwareComponentInfo::AddDependencyInfo",
                      "CSoftwareComponentInfo::getCompIDMarkNameInfo",
                      "CSoftwareComponentInfo::getMarketingNameForNonPCIDevice",
                      "CSoftwareComponentInfo::GetComponentDisplayString", "CInventoryXMLWriter::GetXML",
                      "CUpdateXMLWriter::GetXML", "CLinuxImpl::isESXSystem", "CLinuxImpl::isESXiSystem",
                      "CLinuxImpl::isUSBblacklisted", "CLinuxImpl::isUSBblacklistedusingConfFile",
                      "CLinuxImpl::isTOLVInstalled", "CLinuxImpl::isKOBATOLVInstalled",
                      "CLinuxImpl::InstallTolv", "CLinuxImpl::UninstallTolv", "CLinuxImpl::LoadTolvLibrary",
                      "CPIEConfigInfo::Init", "CDeviceInventoryInfo::GetDeviceInfo"));

}  // namespace
}  // namespace test
