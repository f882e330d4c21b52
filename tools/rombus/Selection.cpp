#include "Selection.h"

#include "inspect/model/DeviceTree.h"
#include "inspect/rom/RomWalk.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace rombus {
namespace {

constexpr uint8_t VendorKey = 0x03;
constexpr uint8_t ModelKey = 0x17;
constexpr size_t GuidDigits = 16;
constexpr unsigned MaxId = 0xFFFFFF;

// A number of the given base filling the whole text; nullopt for an empty or bad one.
std::optional<uint64_t> numberOf(std::string_view text, int base) {
    if (base == 16 && text.starts_with("0x"))
        text.remove_prefix(2);
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

// A part of -s or -d: empty (any), or a number that must fit.
bool partFits(std::string_view part, int base, uint64_t most) {
    const std::optional<uint64_t> value = numberOf(part, base);
    return part.empty() || (value && *value <= most);
}

bool partMatches(std::string_view part, int base, uint64_t value) {
    return part.empty() || numberOf(part, base) == value;
}

// The port and node parts of -s: "PORT:NODE", "NODE".
std::pair<std::string_view, std::string_view> slotParts(std::string_view slot) {
    const size_t colon = slot.find(':');
    if (colon == std::string_view::npos)
        return {"", slot};
    return {slot.substr(0, colon), slot.substr(colon + 1)};
}

// The vendor and model parts of -d: "VENDOR", "VENDOR:MODEL", ":MODEL".
std::pair<std::string_view, std::string_view> idParts(std::string_view ids) {
    const size_t colon = ids.find(':');
    if (colon == std::string_view::npos)
        return {ids, ""};
    return {ids.substr(0, colon), ids.substr(colon + 1)};
}

bool isDeviceName(std::string_view slot) {
    return slot.starts_with("fw") && numberOf(slot.substr(2), 10).has_value();
}

bool isGuid(std::string_view slot) {
    if (slot.starts_with("0x"))
        slot.remove_prefix(2);
    return slot.size() == GuidDigits && numberOf(slot, 16).has_value();
}

bool slotMatches(std::string_view slot, const NodeView& node) {
    if (slot.empty())
        return true;
    if (isDeviceName(slot))
        return node.source && node.source->label == slot;
    if (isGuid(slot))
        return numberOf(slot, 16) == node.guid();
    const auto [port, number] = slotParts(slot);
    return partMatches(port, 10, node.port) && partMatches(number, 10, node.physicalId);
}

std::optional<uint64_t> rootValue(const NodeView& node, uint8_t key) {
    const decode::RomEntry* entry = decode::firstWithKey(node.decoded.root, key);
    return entry ? std::optional<uint64_t>(entry->value) : std::nullopt;
}

bool idsMatch(std::string_view ids, const NodeView& node) {
    const auto [vendor, model] = idParts(ids);
    const std::optional<uint64_t> vendorId = rootValue(node, VendorKey);
    const std::optional<uint64_t> modelId = rootValue(node, ModelKey);
    const uint64_t company = vendorId.value_or(node.guid() >> 40);
    return partMatches(vendor, 16, company) &&
           (model.empty() || (modelId && partMatches(model, 16, *modelId)));
}

} // namespace

std::string selectionError(const Options& options) {
    const std::string_view slot = options.slot;
    const auto [port, number] = slotParts(slot);
    if (!slot.empty() && !isDeviceName(slot) && !isGuid(slot) &&
        (!partFits(port, 10, 0xFFFF) || !partFits(number, 10, 62)))
        return "-s " + options.slot +
               ": give [PORT]:[NODE] (node 0 to 62), fwN, or a GUID of 16 hexadecimal digits";
    const auto [vendor, model] = idParts(options.ids);
    if (!partFits(vendor, 16, MaxId) || !partFits(model, 16, MaxId))
        return "-d " + options.ids +
               ": give [VENDOR][:[MODEL]], each 24 bits in hexadecimal (-d 0030e0:1)";
    return "";
}

std::set<size_t> keepSelected(Inspection& inspection, const Options& options) {
    std::set<size_t> leftOut;
    if (options.slot.empty() && options.ids.empty())
        return leftOut;
    std::vector<NodeView> kept;
    for (NodeView& node : inspection.nodes) {
        if (slotMatches(options.slot, node) && idsMatch(options.ids, node))
            kept.push_back(std::move(node));
        else if (node.device)
            leftOut.insert(*node.device);
    }
    inspection.nodes = std::move(kept);
    // A node's entry devices are those published between the port or node device before it
    // and its own.
    std::set<size_t> hidden;
    size_t first = 0;
    for (size_t i = 0; i < inspection.devices.size(); ++i) {
        const vesk5::SysInfoDevice& device = inspection.devices[i];
        if (!isNodeDevice(device) && !isPortDevice(device))
            continue;
        if (leftOut.count(i))
            for (size_t each = first; each <= i; ++each)
                hidden.insert(each);
        first = i + 1;
    }
    return hidden;
}

} // namespace rombus
