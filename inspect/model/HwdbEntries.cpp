#include "inspect/model/HwdbEntries.h"

#include "inspect/io/Format.h"
#include "inspect/knowledge/RomNames.h"
#include "inspect/knowledge/UnitTypes.h"

#include <algorithm>
#include <map>

namespace rombus {
namespace {

constexpr uint8_t VendorKey = 0x03;
constexpr uint8_t ModelKey = 0x17;
constexpr const char* Audio = "IEEE1394_UNIT_FUNCTION_AUDIO";
constexpr const char* Midi = "IEEE1394_UNIT_FUNCTION_MIDI";
constexpr const char* Video = "IEEE1394_UNIT_FUNCTION_VIDEO";

// The drivers whose every device has MIDI ports beside its audio.
constexpr const char* midiDrivers[] = {"snd_firewire_digi00x", "snd_firewire_tascam"};

bool isMidiDriver(const std::string& driver) {
    return std::any_of(std::begin(midiDrivers), std::end(midiDrivers),
                       [&](const char* name) { return driver == name; });
}

std::string unitsAttribute(const decode::UnitIds& unit) {
    return format("0x%06x:0x%06x", unit.specifier, unit.version);
}

// Names for the database: no line breaks, which would end the property.
std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text;
}

// A driver whose probe refuses the unit gives it no function.
bool refuses(const UnitDrivers& unit, const std::string& driver) {
    return std::any_of(unit.probes.begin(), unit.probes.end(), [&](const ProbeNote& probe) {
        return probe.driver == driver && probe.verdict == ProbeVerdict::Refuses;
    });
}

std::vector<std::pair<std::string, std::string>> functionsOf(const NodeView& node, size_t i) {
    const decode::UnitIds& unit = node.decoded.units[i];
    bool audio = false, midi = false;
    bool video = std::string(decode::unitProtocol(unit.specifier, unit.version)).find("IIDC") !=
                 std::string::npos;
    if (i < node.drivers.units.size())
        for (const DriverId& id : node.drivers.units[i].match.matches) {
            if (refuses(node.drivers.units[i], id.driver))
                continue;
            audio = audio || id.driver.rfind("snd_", 0) == 0;
            midi = midi || isMidiDriver(id.driver);
            video = video || id.driver == "firedtv";
        }
    std::vector<std::pair<std::string, std::string>> functions;
    if (midi)
        functions.push_back({Midi, "1"});
    if (audio)
        functions.push_back({Audio, "1"});
    if (video)
        functions.push_back({Video, "1"});
    return functions;
}

} // namespace

std::string hwdbNodeKey(const NodeView& node, const decode::UnitIds& unit) {
    const decode::RomEntry* vendor = decode::firstWithKey(node.decoded.root, VendorKey);
    const decode::RomEntry* model = decode::firstWithKey(node.decoded.root, ModelKey);
    size_t kernelUnits = 0;
    for (const decode::UnitIds& each : node.decoded.units)
        kernelUnits += each.kernelUnit ? 1 : 0;
    std::string key = format("ieee1394:node:ven0x%06x", vendor ? vendor->value : 0);
    if (model)
        key += format("mo0x%06x", model->value);
    return key + (kernelUnits > 1 ? "units*" + unitsAttribute(unit) + "*"
                                  : "units" + unitsAttribute(unit));
}

std::vector<HwdbEntry> hwdbEntriesOf(const NodeView& node) {
    const decode::RomNames names = decode::romNamesOf(node.decoded);
    const decode::RomEntry* vendor = decode::firstWithKey(node.decoded.root, VendorKey);
    std::optional<std::string> vendorName = names.vendor;
    if (!vendorName && vendor)
        vendorName = node.devices.property("IMMEDIATE", vendor->offset, "VendorName");
    std::vector<HwdbEntry> entries;
    for (size_t i = 0; i < node.decoded.units.size(); ++i) {
        const decode::UnitIds& unit = node.decoded.units[i];
        if (!unit.kernelUnit)
            continue;
        // The database is one of unit functions: a unit of none has no entry.
        auto functions = functionsOf(node, i);
        if (functions.empty())
            continue;
        HwdbEntry entry;
        entry.keys = {hwdbNodeKey(node, unit), decode::modalias(unit)};
        if (vendorName && !vendorName->empty())
            entry.properties.push_back({"ID_VENDOR_FROM_DATABASE", oneLine(*vendorName)});
        if (names.model && !names.model->empty())
            entry.properties.push_back({"ID_MODEL_FROM_DATABASE", oneLine(*names.model)});
        for (auto& function : functions)
            entry.properties.push_back(std::move(function));
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::vector<HwdbEntry> mergeHwdb(const std::vector<HwdbEntry>& entries,
                                 std::vector<std::string>& conflicts) {
    std::map<std::vector<std::string>, const HwdbEntry*> byKeys;
    std::vector<HwdbEntry> merged;
    for (const HwdbEntry& entry : entries) {
        const auto [kept, added] = byKeys.emplace(entry.keys, &entry);
        if (!added) {
            if (kept->second->properties != entry.properties)
                conflicts.push_back(entry.keys.back() + ": other names or functions than a ROM "
                                                        "before with the same ids; the first kept");
            continue;
        }
        auto same = std::find_if(merged.begin(), merged.end(), [&](const HwdbEntry& block) {
            return block.properties == entry.properties;
        });
        if (same == merged.end())
            merged.push_back(entry);
        else
            same->keys.insert(same->keys.end(), entry.keys.begin(), entry.keys.end());
    }
    std::sort(merged.begin(), merged.end(),
              [](const HwdbEntry& a, const HwdbEntry& b) { return a.keys[1] < b.keys[1]; });
    return merged;
}

std::string formatHwdb(const std::vector<HwdbEntry>& entries) {
    std::string text;
    for (const HwdbEntry& entry : entries) {
        if (!text.empty())
            text += "\n";
        for (const std::string& key : entry.keys)
            text += key + "\n";
        for (const auto& [name, value] : entry.properties)
            text += " " + name + "=" + value + "\n";
    }
    return text;
}

} // namespace rombus
