#include "JsonReport.h"

namespace rombus {
namespace {

using json = nlohmann::ordered_json;

json propertyValue(const vesk5::Value& value) {
    switch (value.type()) {
    case vesk5::DataType::Boolean:
        return value.valueBool();
    case vesk5::DataType::Uint32:
        return value.valueUint32();
    default:
        return value.valueString().zulString().str();
    }
}

json device(const vesk5::SysInfoDevice& device) {
    json busIds = json::array();
    for (const vesk5::VeskString& busId : device.childBusIds())
        busIds.push_back(busId.zulString().str());
    json properties = json::object();
    for (const auto& property : device.properties())
        properties[property.name.zulString().str()] = propertyValue(property.value);
    return {{"name", device.name().zulString().str()},
            {"locator", device.hwLocator().zulString().str()},
            {"childBusIds", std::move(busIds)},
            {"properties", std::move(properties)}};
}

// What a node's reading ran out of, and how much of it a node may use; null when it did not.
json stop(const std::optional<lib1394::Budget>& spent) {
    if (!spent)
        return nullptr;
    if (*spent == lib1394::Budget::Reads)
        return {{"budget", "reads"}, {"limit", lib1394::ConfigROMContext::readBudget()}};
    return {{"budget", "entries"}, {"limit", lib1394::ConfigROMContext::entryBudget()}};
}

json node(const libRombus::lib1394_enum_log& node, const std::optional<lib1394::Budget>& spent,
          const std::vector<std::string>& notes) {
    json messages = json::array();
    for (const auto& record : node.messages)
        messages.push_back(
            {{"level", record.level},
             {"text", record.message.isEmpty() ? std::string() : record.message->text().str()}});
    return {{"locator", node.locator.str()},
            {"messages", std::move(messages)},
            {"readingStopped", stop(spent)},
            {"notes", notes}};
}

const char* severityName(vesk5::DiagModule::Severity severity) {
    switch (severity) {
    case vesk5::DiagModule::Severity::Progress:
        return "progress";
    case vesk5::DiagModule::Severity::Warning:
        return "warning";
    default:
        return "error";
    }
}

} // namespace

json jsonReport(const Scan& scan) {
    json devices = json::array();
    for (const auto& each : scan.devices)
        devices.push_back(device(each));
    json nodes = json::array();
    for (size_t i = 0; i < scan.nodes.size(); ++i)
        nodes.push_back(node(scan.nodes[i], scan.nodeExhausted[i], nodeNotes(scan, i)));
    json reports = json::array();
    for (const auto& report : scan.reports)
        reports.push_back({{"severity", severityName(report.severity)},
                           {"event", report.event.zulString().str()},
                           {"text", report.text.str()}});
    return {{"result", scan.result},
            {"devices", std::move(devices)},
            {"nodes", std::move(nodes)},
            {"reports", std::move(reports)},
            {"notes", scan.notes}};
}

std::string jsonText(const json& report) {
    return report.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

} // namespace rombus
