#include "JsonReport.h"

#include "JsonDrivers.h"
#include "inspect/model/Model.h"

#include <cctype>
#include <cstdio>

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
    static const char* const names[] = {"reads", "entries", "lookups"};
    return {{"budget", names[static_cast<int>(*spent)]},
            {"limit", lib1394::ConfigROMContext::budgetOf(*spent)}};
}

json variables(const vesk5::Variables& set) {
    json out = json::object();
    for (const auto& [name, value] : set.all())
        out[name.zulString().str()] = propertyValue(value);
    return out;
}

template <typename Number> json numberOrNull(const std::optional<Number>& number) {
    return number ? json(*number) : json(nullptr);
}

json explanation(const Explanation& found) {
    return {{"kind", found.kind},
            {"offset", numberOrNull(found.offset)},
            {"block", found.block.empty() ? json(nullptr) : json(found.block)},
            {"storedCrc", numberOrNull(found.storedCrc)},
            {"correctCrc", numberOrNull(found.correctCrc)},
            {"fix", numberOrNull(found.fix)},
            {"causes", found.causes},
            {"causeOfEveryBadCrc", found.causeOfEveryBadCrc},
            {"key", numberOrNull(found.key)},
            {"definedBy", found.definedBy.empty() ? json(nullptr) : json(found.definedBy)},
            {"note", found.note}};
}

json textOrNull(const std::string& text) {
    return text.empty() ? json(nullptr) : json(text);
}

json messages(const NodeView& view) {
    json out = json::array();
    for (size_t i = 0; i < view.records.size(); ++i) {
        const auto& record = view.records[i];
        const bool empty = record.message.isEmpty();
        const RecordVerdict verdict = i < view.verdicts.size() ? view.verdicts[i] : RecordVerdict{};
        out.push_back(
            {{"level", record.level},
             {"levelName", levelName(record.level)},
             {"id", recordId(record)},
             {"text", recordText(record)},
             {"variables", empty ? json::object() : variables(record.message->variables())},
             {"explanation",
              i < view.explanations.size() ? explanation(view.explanations[i]) : json(nullptr)},
             {"class", className(verdict.recordClass)},
             {"standard", textOrNull(verdict.standard)}});
    }
    return out;
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
        out.push_back({{"offset", advisory.offset},
                       {"kind", advisory.kind},
                       {"severity", severityName(advisory.severity)},
                       {"text", advisory.text}});
    return out;
}

json optionalNumber(const std::optional<uint32_t>& value) {
    return value ? json(*value) : json(nullptr);
}

json sbp2(const std::optional<Sbp2View>& view) {
    if (!view)
        return nullptr;
    const decode::Sbp2Unit& found = view->entries;
    json luns = json::array();
    for (const decode::Sbp2LogicalUnit& lun : found.logicalUnits)
        luns.push_back({{"entry", lun.entry},
                        {"directory", lun.directory ? json(lun.directory) : json(nullptr)},
                        {"lun", lun.lun},
                        {"deviceType", lun.deviceType},
                        {"ordered", lun.ordered}});
    return {{"commandSetSpecId", optionalNumber(found.commandSetSpecId)},
            {"commandSet", optionalNumber(found.commandSet)},
            {"commandSetRevision", optionalNumber(found.commandSetRevision)},
            {"firmwareRevision", optionalNumber(found.firmwareRevision)},
            {"unitCharacteristics", optionalNumber(found.unitCharacteristics)},
            {"managementAgent", optionalNumber(found.managementAgent)},
            {"logicalUnits", std::move(luns)}};
}

json units(const NodeView& view) {
    json out = json::array();
    for (size_t i = 0; i < view.units.size(); ++i) {
        const UnitView& unit = view.units[i];
        out.push_back(
            {{"entry", unit.entry},
             {"directory", unit.directory},
             {"path", unit.path},
             {"vendorId", unit.vendor},
             {"modelId", unit.model},
             {"specifierId", unit.specifier},
             {"version", unit.version},
             {"name", unit.name},
             {"architecture", textOrNull(unit.architecture)},
             {"protocol", unit.name},
             {"kernelUnit", unit.kernelIndex.has_value()},
             {"kernelIndex", unit.kernelIndex ? json(*unit.kernelIndex) : json(nullptr)},
             {"texts", unit.texts},
             {"modalias", unit.modalias},
             {"kernelModalias", unit.kernelModalias ? json(*unit.kernelModalias) : json(nullptr)},
             {"driver", unit.driver ? json(*unit.driver) : json(nullptr)},
             {"sbp2", sbp2(unit.sbp2)},
             {"drivers", i < view.drivers.units.size() ? unitDriversJson(view.drivers.units[i])
                                                       : json(nullptr)}});
    }
    return out;
}

json romNames(const RomKnowledge& knowledge) {
    return {{"vendorName", knowledge.vendorName ? json(*knowledge.vendorName) : json(nullptr)},
            {"modelName", knowledge.modelName ? json(*knowledge.modelName) : json(nullptr)}};
}

// The key type's name in lower case, as the report's entries give it.
std::string typeName(unsigned type) {
    std::string name = keyTypeName(type);
    for (char& c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
}

json entries(const std::vector<decode::RomEntry>& found, const NodeDevices& devices) {
    json out = json::array();
    for (const decode::RomEntry& entry : found) {
        json vendor = nullptr;
        if (entry.type() == 0)
            if (const auto name = devices.property("IMMEDIATE", entry.offset, "VendorName"))
                vendor = *name;
        out.push_back({{"offset", entry.offset},
                       {"key", entry.key},
                       {"type", typeName(entry.type())},
                       {"keyId", entry.keyId()},
                       {"name", entryName(entry.key)},
                       {"value", entry.value},
                       {"target", entry.target ? json(*entry.target) : json(nullptr)},
                       {"repeated", entry.repeated},
                       {"text", entry.text ? json(*entry.text) : json(nullptr)},
                       {"keywords", entry.keywords ? json(*entry.keywords) : json(nullptr)},
                       {"vendorName", vendor},
                       {"children", entries(entry.children, devices)}});
    }
    return out;
}

json node(const NodeView& view) {
    static const lib1394::RomNode none;
    const lib1394::RomNode& bus = view.source ? *view.source : none;
    char guid[24];
    std::snprintf(guid, sizeof guid, "%016llx", static_cast<unsigned long long>(bus.guid));
    return {
        {"locator", view.locator},
        {"source", bus.label},
        {"port", view.port},
        {"status", statusName(view.status())},
        {"verdict", verdictName(verdictOf(view))},
        {"local", bus.local},
        {"guid", guid},
        {"busOptions", busOptions(bus.rom)},
        {"messages", messages(view)},
        {"crcCause", textOrNull(view.knowledge.crcCause)},
        {"beyondVerdict", view.beyondVerdict},
        {"readingStopped", stop(view.stopped)},
        {"notes", bus.notes},
        {"kernel",
         {{"vendorName", textOrNull(bus.vendorName)}, {"modelName", textOrNull(bus.modelName)}}},
        {"romNames", romNames(view.knowledge)},
        {"keywords", view.knowledge.keywords},
        {"units", units(view)},
        {"linux", nodeDriversJson(view.drivers)},
        {"guidAssignment",
         view.guidAssignment ? guidAssignmentJson(*view.guidAssignment) : json(nullptr)},
        {"advisories", advisories(view.advisories)},
        {"entries", entries(view.decoded.root, view.devices)}};
}

} // namespace

json jsonReport(const Inspection& inspection, const std::set<size_t>& hidden) {
    json devices = json::array();
    for (size_t i = 0; i < inspection.devices.size(); ++i)
        if (!hidden.count(i))
            devices.push_back(device(inspection.devices[i]));
    json nodes = json::array();
    for (const NodeView& view : inspection.nodes)
        nodes.push_back(node(view));
    json reports = json::array();
    for (const auto& report : inspection.reports)
        reports.push_back({{"severity", levelName(static_cast<uint32_t>(report.severity))},
                           {"event", report.event.zulString().str()},
                           {"text", report.text.str()}});
    return {{"formatVersion", FormatVersion}, {"ok", isClean(inspection)},
            {"result", inspection.result},    {"devices", std::move(devices)},
            {"nodes", std::move(nodes)},      {"reports", std::move(reports)},
            {"notes", inspection.notes}};
}

std::string jsonText(const json& report) {
    return jsonDocumentText(report);
}

} // namespace rombus
