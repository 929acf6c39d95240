#include "Json.h"

#include "Summary.h"

namespace qrxinspect {
namespace {

using nlohmann::ordered_json;

ordered_json toJson(View view, const Row& row) {
    ordered_json json;
    for (const Column& column : columnsOf(view)) {
        json[column.key] = row.*column.value;
    }
    return json;
}

ordered_json toJson(const Report& report) {
    ordered_json json{{"file", report.file},
                      {"operation", operationOf(report)},
                      {"outcome", nameOf(report.outcome)},
                      {"rebootRequired", report.rebootRequired},
                      {"devices", ordered_json::array()},
                      {"problem", report.problem},
                      {"text", report.text}};
    for (const CDeviceInfo& device : report.devices) {
        json["devices"].push_back(toJson(View::Devices, rowOf(report, device)));
    }
    return json;
}

}  // namespace

ordered_json toJson(const std::vector<Report>& reports) {
    ordered_json list = ordered_json::array();
    ordered_json counts{{"success", 0}, {"failure", 0}, {"damaged", 0}, {"unreadable", 0}};
    for (const Report& report : reports) {
        list.push_back(toJson(report));
        counts[nameOf(report.outcome)] = counts[nameOf(report.outcome)].get<int>() + 1;
    }
    return {{"reports", list}, {"counts", counts}};
}

ordered_json toJson(const Overview& overview) {
    ordered_json json;
    if (overview.view == View::Hosts) {
        json["hosts"] = ordered_json::array();
        for (const Row& row : overview.rows) {
            json["hosts"].push_back(toJson(View::Hosts, row));
        }
    }
    json.update(toJson(overview.reports));
    return json;
}

}  // namespace qrxinspect
