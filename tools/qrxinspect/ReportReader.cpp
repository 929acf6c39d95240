#include "ReportReader.h"

#include "ExecutionReader.h"
#include "InputFile.h"
#include "InventoryReader.h"
#include "XmlDocument.h"

#include <algorithm>
#include <optional>

namespace tools {
namespace {

constexpr std::string_view kXmlDeclaration = "<?xml ";
constexpr const char* kInventoryRoot = "SVMInventory";
constexpr const char* kExecutionRoot = "SVMExecution";

/** The documents of one file: the second one starts at the second XML declaration. */
std::vector<std::string_view> splitDocuments(std::string_view text) {
    const std::size_t second = text.find(kXmlDeclaration, 1);
    if (second == std::string_view::npos) {
        return {text};
    }
    return {text.substr(0, second), text.substr(second)};
}

bool contains(std::string_view text, const std::string& part) {
    return text.find(part) != std::string_view::npos;
}

Report::Operation operationOf(const std::string& root) {
    if (root == kInventoryRoot) {
        return Report::Operation::Inventory;
    }
    return root == kExecutionRoot ? Report::Operation::Update : Report::Operation::Unknown;
}

/** What kind of report a text that is not well-formed was meant to be. */
Report::Operation operationMeantBy(std::string_view text) {
    for (const std::string root : {kInventoryRoot, kExecutionRoot}) {
        if (contains(text, "<" + root)) {
            return operationOf(root);
        }
    }
    return Report::Operation::Unknown;
}

Report unreadable(const Problem& problem) {
    return {.outcome = Report::Outcome::Unreadable, .problem = problem.message};
}

Report damagedOrNoReport(std::string_view text, const Problem& problem) {
    const Report::Operation operation = operationMeantBy(text);
    if (operation == Report::Operation::Unknown) {
        return unreadable(problem);
    }
    return {.operation = operation,
            .outcome = Report::Outcome::Damaged,
            .problem = problem.message,
            .text = std::string(text)};
}

/** A report that tells of no device tells of no success either. */
Report::Outcome outcomeOf(const std::vector<CDeviceInfo>& devices) {
    const bool succeeded = !devices.empty() && std::all_of(devices.begin(), devices.end(), isSuccess);
    return succeeded ? Report::Outcome::Success : Report::Outcome::Failure;
}

Report inventoryIn(std::string_view text) {
    Result<std::vector<CDeviceInfo>> devices = readInventory(text);
    if (!devices) {
        return unreadable(devices.problem());
    }
    return {.operation = Report::Operation::Inventory,
            .outcome = outcomeOf(*devices),
            .devices = std::move(*devices)};
}

Report executionIn(const xmlDoc& document) {
    Report report{.operation = Report::Operation::Update};
    readExecution(*xmlDocGetRootElement(&document), report);
    report.outcome = outcomeOf(report.devices);
    return report;
}

Report readDocument(std::string_view text) {
    const Result<XmlDocPtr> document = parseDocument(text);
    if (!document) {
        return damagedOrNoReport(text, document.problem());
    }
    const std::string root = rootNameOf(**document);
    switch (operationOf(root)) {
        case Report::Operation::Inventory:
            return inventoryIn(text);
        case Report::Operation::Update:
            return executionIn(**document);
        case Report::Operation::Unknown:
            break;
    }
    return unreadable({"the root element is \"" + root + "\", not that of a report"});
}

}  // namespace

std::vector<Report> readReports(const std::string& file) {
    const Result<std::string> text = readInput(file);
    if (text) {
        return reportsIn(file, *text);
    }
    Report report = unreadable(text.problem());
    report.file = file;
    return {report};
}

std::vector<Report> reportsIn(const std::string& file, std::string_view text) {
    std::vector<Report> reports;
    for (const std::string_view document : splitDocuments(text)) {
        reports.push_back(readDocument(document));
        reports.back().file = file;
    }
    return reports;
}

}  // namespace tools
