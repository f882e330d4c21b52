#include "UnitLines.h"

#include "DriverLines.h"
#include "Text.h"
#include "inspect/io/Format.h"
#include "inspect/knowledge/RomNames.h"
#include "inspect/knowledge/Sbp2.h"
#include "inspect/knowledge/UnitTypes.h"

namespace rombus {
namespace {

std::string joined(const std::vector<std::string>& parts, const char* separator) {
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : separator) + part;
    return text;
}

std::string sbp2Line(const decode::Sbp2Unit& sbp2) {
    std::vector<std::string> parts;
    if (sbp2.commandSetSpecId || sbp2.commandSet)
        parts.push_back(format("command set %06Xh:%06Xh", sbp2.commandSetSpecId.value_or(0),
                               sbp2.commandSet.value_or(0)));
    if (sbp2.commandSetRevision)
        parts.push_back(format("revision %06Xh", *sbp2.commandSetRevision));
    if (sbp2.firmwareRevision)
        parts.push_back(format("firmware revision %06Xh", *sbp2.firmwareRevision));
    if (sbp2.managementAgent)
        parts.push_back(format("management agent %012llX",
                               static_cast<unsigned long long>(
                                   decode::managementAgentAddress(*sbp2.managementAgent))));
    if (sbp2.unitCharacteristics)
        parts.push_back(decode::unitCharacteristicsText(*sbp2.unitCharacteristics));
    for (const decode::Sbp2LogicalUnit& lun : sbp2.logicalUnits)
        parts.push_back(format("LUN %u (device type %02Xh%s)", lun.lun, lun.deviceType,
                               lun.ordered ? ", ordered" : "") +
                        (lun.directory ? format(" at %Xh", lun.directory) : ""));
    return parts.empty() ? std::string() : "SBP-2: " + joined(parts, ", ");
}

// The driver and modalias part of a unit the kernel makes a device of, by its place M in fwN.M.
std::string kernelPart(const decode::UnitIds& unit, size_t index, const lib1394::RomNode* bus) {
    const std::string rom = decode::modalias(unit);
    if (!bus)
        return rom;
    std::string text;
    if (index < bus->unitDrivers.size())
        text = bus->unitDrivers[index].empty()
                   ? "no driver bound  "
                   : "driver " + escaped(bus->unitDrivers[index], false) + "  ";
    text += rom;
    const std::string kernel =
        index < bus->unitModaliases.size() ? bus->unitModaliases[index] : std::string();
    if (!kernel.empty())
        text += kernel == rom ? " (the kernel's too)" : "  kernel: " + escaped(kernel, false);
    return text;
}

// The textual descriptors in a unit directory and the directories below it.
std::string textsOf(const NodeView& node, const decode::UnitIds& unit) {
    const decode::RomEntry* entry = decode::entryAt(node.decoded.root, unit.directory);
    if (!entry)
        return std::string();
    std::vector<std::string> texts;
    for (const std::string& text : decode::textsBelow(entry->children))
        texts.push_back(quoted(text, true));
    return texts.empty() ? std::string() : joined(texts, " ") + "  ";
}

void collectKeywords(const std::vector<decode::RomEntry>& entries,
                     std::vector<std::string>& keywords) {
    for (const decode::RomEntry& entry : entries) {
        if (entry.keywords)
            for (const std::string& keyword : *entry.keywords)
                keywords.push_back(quoted(keyword, true));
        collectKeywords(entry.children, keywords);
    }
}

} // namespace

std::string quoted(const std::string& text, bool asciiOnly) {
    std::string inner;
    for (char c : escaped(text, asciiOnly)) {
        if (c == '"')
            inner += '\\';
        inner += c;
    }
    return "\"" + inner + "\"";
}

std::vector<UnitLine> unitLines(const NodeView& node) {
    std::vector<UnitLine> lines;
    const lib1394::RomNode* bus = node.source ? &*node.source : nullptr;
    size_t kernelIndex = 0;
    for (size_t i = 0; i < node.decoded.units.size(); ++i) {
        const decode::UnitIds& unit = node.decoded.units[i];
        std::string line = format("Unit %zu at %Xh  ", i, unit.directory) +
                           decode::unitName(unit, node.devices) + "  " + textsOf(node, unit);
        line += unit.kernelUnit ? kernelPart(unit, kernelIndex++, bus)
                                : "in an instance directory: no kernel unit device";
        lines.push_back({0, line});
        for (UnitLine& driver : driverLines(node, i))
            lines.push_back(std::move(driver));
        const auto sbp2 = decode::sbp2Of(node.rom(), unit);
        if (sbp2 && !sbp2Line(*sbp2).empty())
            lines.push_back({1, sbp2Line(*sbp2)});
    }
    return lines;
}

std::string romNamesLine(const NodeView& node) {
    const decode::RomNames names = decode::romNamesOf(node.decoded);
    std::vector<std::string> parts;
    if (names.vendor)
        parts.push_back("vendor " + quoted(*names.vendor, true));
    if (names.model)
        parts.push_back("model " + quoted(*names.model, true));
    return parts.empty() ? std::string() : "ROM names: " + joined(parts, ", ");
}

std::string keywordsLine(const NodeView& node) {
    std::vector<std::string> keywords;
    collectKeywords(node.decoded.root, keywords);
    return keywords.empty() ? std::string() : "Keywords: " + joined(keywords, " ");
}

} // namespace rombus
