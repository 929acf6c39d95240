#include "ReportReader.h"

#include "DocumentReaders.h"
#include "ReportFiles.h"
#include "ReportXml.h"
#include "XmlDocument.h"

#include <algorithm>
#include <utility>

namespace qrxinspect {
namespace {

constexpr std::string_view kXmlDeclaration = "<?xml ";

/** The documents of one file: the second one starts at the second XML declaration. */
std::vector<std::string_view> splitDocuments(std::string_view text) {
    const std::size_t second = text.find(kXmlDeclaration, 1);
    if (second == std::string_view::npos) {
        return {text};
    }
    return {text.substr(0, second), text.substr(second)};
}

/** What kind of report a text that is not well-formed was meant to be; null if none. */
const ReportKind* kindMeantBy(std::string_view text) {
    for (const ReportKind& kind : reportKinds()) {
        if (text.find(std::string("<") + kind.rootElement) != std::string_view::npos) {
            return &kind;
        }
    }
    return nullptr;
}

Report unreadable(const std::string& problem) {
    return {.outcome = Report::Outcome::Unreadable, .problem = problem};
}

Report damagedOrUnreadable(std::string_view text, const std::string& problem) {
    const ReportKind* const kind = kindMeantBy(text);
    if (kind == nullptr) {
        return unreadable(problem);
    }
    return {.kind = kind, .outcome = Report::Outcome::Damaged, .problem = problem, .text = std::string(text)};
}

/** A report without devices is not a success. */
Report::Outcome outcomeOf(const std::vector<CDeviceInfo>& devices) {
    const bool succeeded = !devices.empty() && std::all_of(devices.begin(), devices.end(), isSuccess);
    return succeeded ? Report::Outcome::Success : Report::Outcome::Failure;
}

Report readDocument(std::string_view text) {
    vtek::Result<XmlDocPtr> document = parseReport(text);
    if (!document) {
        return damagedOrUnreadable(text, document.error().message);
    }
    const std::string root = rootNameOf(**document);
    const ReportKind* const kind = kindWithRoot(root);
    if (kind == nullptr) {
        return unreadable("the root element is \"" + root + "\", not that of a report");
    }
    Report report{.kind = kind};
    kind->read(std::move(*document), report);
    report.outcome = outcomeOf(report.devices);
    return report;
}

}  // namespace

std::vector<Report> readReports(const std::string& file) {
    const vtek::Result<std::string> text = readReportFile(file);
    if (text) {
        return reportsIn(file, *text);
    }
    Report report = unreadable(text.error().message);
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

}  // namespace qrxinspect
