#include "Json.h"

#include "Summary.h"

namespace qrxinspect {
namespace {

using nlohmann::ordered_json;

ordered_json toJson(const Row& row) {
    ordered_json json;
    for (const Column& column : columnsOf(View::Devices)) {
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
        json["devices"].push_back(toJson(rowOf(report, device)));
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

}  // namespace qrxinspect
