#include "Summary.h"

#include "common/TextTable.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace qrxinspect {
namespace {

/** A column, and the views that show it. */
struct ColumnInfo {
    Column column;
    std::vector<View> views;
};

const std::vector<ColumnInfo>& columnTable() {
    static const std::vector<ColumnInfo> table{
        {{"Chassis", "chassis", &Row::chassis}, {View::Hosts}},
        {{"Host", "host", &Row::host}, {View::Hosts}},
        {{"Report", "report", &Row::report}, {View::Reports, View::Hosts}},
        {{"Operation", "operation", &Row::operation}, {View::Reports}},
        {{"Component", "id", &Row::component}, {View::Devices, View::Reports}},
        {{"Device", "name", &Row::device}, {View::Devices, View::Reports}},
        {{"Type", "type", &Row::type}, {View::Devices}},
        {{"Version", "version", &Row::version}, {View::Devices, View::Reports}},
        {{"Before", "before", &Row::before}, {View::Hosts}},
        {{"After", "after", &Row::after}, {View::Hosts}},
        {{"Outcome", "outcome", &Row::outcome}, {View::Devices, View::Reports, View::Hosts}},
        {{"Message", "message", &Row::message}, {View::Devices, View::Reports}},
        {{"Cause", "cause", &Row::message}, {View::Hosts}},
    };
    return table;
}

std::string inCapitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

Row rowWithoutDevice(const Report& report) {
    Row row{.ofWhole = report.outcome};
    row.report = report.file;
    row.operation = operationOf(report);
    row.outcome = nameOf(report.outcome);
    row.message = report.problem.empty() ? "no device" : report.problem;
    row.damagedText = report.text;
    return row;
}

std::string messageOf(const Report& report, const CDeviceInfo& device) {
    const std::string message = device.getErrorMsg();
    if (!report.rebootRequired || !isSuccess(device)) {
        return message;
    }
    return message.empty() ? "reboot required" : message + " (reboot required)";
}

}  // namespace

std::vector<Column> columnsOf(View view) {
    std::vector<Column> columns;
    for (const ColumnInfo& info : columnTable()) {
        if (std::find(info.views.begin(), info.views.end(), view) != info.views.end()) {
            columns.push_back(info.column);
        }
    }
    return columns;
}

Row rowOf(const Report& report, const CDeviceInfo& device) {
    return {.ofWhole = report.outcome,
            .report = report.file,
            .operation = operationOf(report),
            .component = idOf(device),
            .device = device.getDeviceName(),
            .type = device.getComponentType(),
            .version = device.getVersion(),
            .outcome = nameOf(isSuccess(device) ? Report::Outcome::Success : Report::Outcome::Failure),
            .message = device.getErrorMsg()};
}

std::vector<Row> summaryOf(const std::vector<Report>& reports) {
    std::vector<Row> rows;
    for (const Report& report : reports) {
        if (report.devices.empty()) {
            rows.push_back(rowWithoutDevice(report));
        }
        for (const CDeviceInfo& device : report.devices) {
            rows.push_back(rowOf(report, device));
            rows.back().message = messageOf(report, device);
        }
    }
    return rows;
}

void printTable(const tools::Console& console, View view, const std::vector<Row>& rows) {
    const std::vector<Column> columns = columnsOf(view);
    std::vector<std::string> headings;
    std::transform(columns.begin(), columns.end(), std::back_inserter(headings),
                   [](const Column& column) { return inCapitals(column.title); });
    tools::TextTable table(headings);
    for (const Row& row : rows) {
        std::vector<std::string> cells;
        std::transform(columns.begin(), columns.end(), std::back_inserter(cells),
                       [&](const Column& column) { return row.*column.value; });
        table.addRow(cells);
    }
    console.print(table);
}

std::map<Report::Outcome, std::size_t> countOutcomes(const std::vector<Report>& reports) {
    std::map<Report::Outcome, std::size_t> counts;
    for (const Report& report : reports) {
        ++counts[report.outcome];
    }
    return counts;
}

tools::ExitStatus statusOf(Report::Outcome worst) {
    switch (worst) {
        case Report::Outcome::Success:
            return tools::ExitStatus::Success;
        case Report::Outcome::NotTried:
        case Report::Outcome::NotReached:
        case Report::Outcome::Failure:
            return tools::ExitStatus::Failure;
        case Report::Outcome::Damaged:
        case Report::Outcome::Unreadable:
            break;
    }
    return tools::ExitStatus::BadInput;
}

tools::ExitStatus statusOf(const std::vector<Report>& reports) {
    const auto better = [](const Report& a, const Report& b) { return a.outcome < b.outcome; };
    return statusOf(std::max_element(reports.begin(), reports.end(), better)->outcome);
}

void printProblems(const std::vector<Report>& reports, const tools::Console& console) {
    for (const Report& report : reports) {
        if (report.outcome == Report::Outcome::Damaged) {
            console.report(report.file + ": the " + operationOf(report) +
                           " report is damaged: " + report.problem);
        } else if (report.outcome == Report::Outcome::Unreadable) {
            console.report(report.file + ": " + report.problem);
        }
    }
}

}  // namespace qrxinspect
