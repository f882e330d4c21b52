#include "JsonReport.h"

#include "NodeDevices.h"
#include "RomWalk.h"
#include "UnitTypes.h"
#include "libRombus/Lib1394Util.h"

#include <algorithm>
#include <cstdio>
#include <map>

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

json variables(const vesk5::Variables& set) {
    json out = json::object();
    for (const auto& [name, value] : set.all())
        out[name.zulString().str()] = propertyValue(value);
    return out;
}

json messages(const libRombus::Messages& records) {
    static const char* const levelNames[] = {"progress", "warning", "error"};
    json out = json::array();
    for (const auto& record : records) {
        const bool empty = record.message.isEmpty();
        out.push_back(
            {{"level", record.level},
             {"levelName", levelNames[std::min<uint32_t>(record.level, 2)]},
             {"id", empty ? std::string() : record.message->id().zulString().str()},
             {"text", empty ? std::string() : record.message->text().str()},
             {"variables", empty ? json::object() : variables(record.message->variables())}});
    }
    return out;
}

json textOrNull(const std::string& text) {
    return text.empty() ? json(nullptr) : json(text);
}

json busOptions(const std::vector<uint8_t>& rom) {
    const auto options = decode::busOptionsOf(rom);
    if (!options)
        return nullptr;
    return {{"irmc", options->irmc},
            {"cmc", options->cmc},
            {"isc", options->isc},
            {"bmc", options->bmc},
            {"pmc", options->pmc},
            {"cycClkAcc", options->cycClkAcc},
            {"maxRec", options->maxRec},
            {"maxRom", options->maxRom},
            {"generation", options->generation},
            {"linkSpeed", options->linkSpeed}};
}

json advisories(const std::vector<Advisory>& found) {
    json out = json::array();
    for (const Advisory& advisory : found)
        out.push_back(
            {{"offset", advisory.offset}, {"kind", advisory.kind}, {"text", advisory.text}});
    return out;
}

json units(const std::vector<decode::UnitIds>& found, const lib1394::RomNode& node) {
    json out = json::array();
    for (size_t i = 0; i < found.size(); ++i) {
        const decode::UnitIds& unit = found[i];
        out.push_back({{"directory", unit.directory},
                       {"vendorId", unit.vendor},
                       {"modelId", unit.model},
                       {"specifierId", unit.specifier},
                       {"version", unit.version},
                       {"protocol", decode::unitProtocol(unit.specifier, unit.version)},
                       {"modalias", decode::modalias(unit)},
                       {"driver", i < node.unitDrivers.size() ? textOrNull(node.unitDrivers[i])
                                                              : json(nullptr)}});
    }
    return out;
}

json entries(const std::vector<decode::RomEntry>& found, const NodeDevices& devices) {
    static const char* const types[] = {"immediate", "csr offset", "leaf", "directory"};
    json out = json::array();
    for (const decode::RomEntry& entry : found) {
        const lib1394::cr_key_value_t key = {
            entry.key,
            {uint8_t(entry.value >> 16), uint8_t(entry.value >> 8), uint8_t(entry.value)}};
        json vendor = nullptr;
        if (entry.type() == 0)
            if (const auto name = devices.property("IMMEDIATE", entry.offset, "VendorName"))
                vendor = *name;
        out.push_back({{"offset", entry.offset},
                       {"key", entry.key},
                       {"type", types[entry.type()]},
                       {"keyId", entry.keyId()},
                       {"name", libRombus::Lib1394Util::getEntryString(key).str()},
                       {"value", entry.value},
                       {"target", entry.target ? json(*entry.target) : json(nullptr)},
                       {"repeated", entry.repeated},
                       {"text", entry.text ? json(*entry.text) : json(nullptr)},
                       {"vendorName", vendor},
                       {"children", entries(entry.children, devices)}});
    }
    return out;
}

json node(const Scan& scan, size_t index) {
    const unsigned port = portOf(scan, index);
    const libRombus::lib1394_enum_log& record = scan.nodes[index];
    const lib1394::RomNode* rom = romNodeOf(scan, index);
    const lib1394::RomNode none;
    const lib1394::RomNode& bus = rom ? *rom : none;
    char guid[24];
    std::snprintf(guid, sizeof guid, "%016llx", static_cast<unsigned long long>(bus.guid));
    return {
        {"locator", record.locator.str()},
        {"source", bus.label},
        {"port", port},
        {"status", statusName(nodeStatus(scan, index))},
        {"guid", guid},
        {"busOptions", busOptions(bus.rom)},
        {"messages", messages(record.messages)},
        {"readingStopped", stop(scan.nodeExhausted[index])},
        {"notes", bus.notes},
        {"kernel",
         {{"vendorName", textOrNull(bus.vendorName)}, {"modelName", textOrNull(bus.modelName)}}},
        {"units", units(scan.decoded[index].units, bus)},
        {"advisories", advisories(scan.advisories[index])},
        {"entries", entries(scan.decoded[index].root, NodeDevices(scan.devices, port, bus.guid))}};
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
    bool ok = true;
    for (size_t i = 0; i < scan.nodes.size(); ++i) {
        nodes.push_back(node(scan, i));
        ok = ok && nodeStatus(scan, i) == NodeStatus::Ok;
    }
    json reports = json::array();
    for (const auto& report : scan.reports)
        reports.push_back({{"severity", severityName(report.severity)},
                           {"event", report.event.zulString().str()},
                           {"text", report.text.str()}});
    return {{"formatVersion", FormatVersion},
            {"ok", ok},
            {"result", scan.result},
            {"devices", std::move(devices)},
            {"nodes", std::move(nodes)},
            {"reports", std::move(reports)},
            {"notes", scan.notes}};
}

std::string jsonText(const json& report) {
    return report.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

} // namespace rombus
