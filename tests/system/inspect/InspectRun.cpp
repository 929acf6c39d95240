#include "InspectRun.h"

namespace test {

std::string inspectProgram() {
    return QRX_INSPECT;
}

Outcome inspect(const std::filesystem::path& folder, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), QRX_INSPECT);
    return run({.arguments = std::move(arguments), .workingDirectory = folder});
}

nlohmann::json inspectJson(const std::filesystem::path& folder, std::vector<std::string> arguments) {
    return nlohmann::json::parse(inspect(folder, std::move(arguments)).output);
}

namespace report {
namespace {

const std::string kDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";

std::string failed(const std::string& root, const std::string& message) {
    return kDeclaration + "<" + root + R"( lang="en"><SPStatus result = "false" ><Message id="1">)" +
           message + "</Message></SPStatus></" + root + ">";
}

}  // namespace

std::string inventory(const std::string& componentId, const std::string& version) {
    return kDeclaration + R"(<SVMInventory lang="en"><Device  componentID=")" + componentId +
           R"(" display="QRX"><Application componentType="FRMW" version=")" + version +
           R"(" display="QRX"/></Device></SVMInventory>)";
}

std::string update(const std::string& componentId, const std::string& version, const std::string& reboot) {
    return kDeclaration + R"(<SVMExecution lang="en"><Device  componentID=")" + componentId +
           R"(" display="QRX"><Application componentType="FRMW" version=")" + version +
           R"(" display="QRX" packageVersion=")" + version +
           R"("><SPStatus result = "true" ><Message id="0">Update is successful</Message></SPStatus></Application>)" +
           "</Device><RebootRequired>" + reboot + "</RebootRequired></SVMExecution>";
}

std::string failedInventory(const std::string& message) {
    return failed("SVMInventory", message);
}

std::string failedUpdate(const std::string& message) {
    return failed("SVMExecution", message);
}

}  // namespace report
}  // namespace test
