#include "UnitLines.h"

#include "DriverLines.h"
#include "Text.h"
#include "inspect/model/Model.h"

namespace rombus {
namespace {

std::string joined(const std::vector<std::string>& parts, const char* separator) {
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : separator) + part;
    return text;
}

std::string sbp2Line(const Sbp2View& sbp2) {
    const decode::Sbp2Unit& found = sbp2.entries;
    std::vector<std::string> parts;
    if (found.commandSetSpecId || found.commandSet)
        parts.push_back(format("command set %06Xh:%06Xh", found.commandSetSpecId.value_or(0),
                               found.commandSet.value_or(0)));
    if (found.commandSetRevision)
        parts.push_back(format("revision %06Xh", *found.commandSetRevision));
    if (found.firmwareRevision)
        parts.push_back(format("firmware revision %06Xh", *found.firmwareRevision));
    if (sbp2.managementAgentAddress)
        parts.push_back(format("management agent %012llX",
                               static_cast<unsigned long long>(*sbp2.managementAgentAddress)));
    if (!sbp2.characteristics.empty())
        parts.push_back(sbp2.characteristics);
    for (const decode::Sbp2LogicalUnit& lun : found.logicalUnits)
        parts.push_back(format("LUN %u (device type %02Xh%s)", lun.lun, lun.deviceType,
                               lun.ordered ? ", ordered" : "") +
                        (lun.directory ? format(" at %Xh", lun.directory) : ""));
    return parts.empty() ? std::string() : "SBP-2: " + joined(parts, ", ");
}

// The driver and modalias part of a unit the kernel makes a device of.
std::string kernelPart(const UnitView& unit, bool fromBus) {
    if (!fromBus)
        return unit.modalias;
    std::string text;
    if (unit.driver)
        text = unit.driver->empty() ? "no driver bound  "
                                    : "driver " + escaped(*unit.driver, false) + "  ";
    text += unit.modalias;
    if (unit.kernelModalias)
        text += *unit.kernelModalias == unit.modalias
                    ? " (the kernel's too)"
                    : "  kernel: " + escaped(*unit.kernelModalias, false);
    return text;
}

// The textual descriptors in a unit directory and the directories below it.
std::string textsOf(const UnitView& unit) {
    std::vector<std::string> texts;
    for (const std::string& text : unit.texts)
        texts.push_back(quoted(shownText(text), true));
    return texts.empty() ? std::string() : joined(texts, " ") + "  ";
}

} // namespace

std::string unitHead(size_t index, const UnitView& unit) {
    return format("Unit %zu at %Xh -> %Xh  ", index, unit.entry, unit.directory) + unit.name;
}

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
    for (size_t i = 0; i < node.units.size(); ++i) {
        const UnitView& unit = node.units[i];
        std::string line = unitHead(i, unit) + "  " + textsOf(unit);
        line += unit.kernelIndex ? kernelPart(unit, node.source.has_value())
                                 : "in an instance directory: no kernel unit device";
        lines.push_back({0, line});
        for (UnitLine& driver : driverLines(node, i))
            lines.push_back(std::move(driver));
        if (unit.sbp2 && !sbp2Line(*unit.sbp2).empty())
            lines.push_back({1, sbp2Line(*unit.sbp2)});
    }
    return lines;
}

std::string romNamesLine(const NodeView& node) {
    std::vector<std::string> parts;
    if (node.knowledge.vendorName)
        parts.push_back("vendor " + quoted(shownText(*node.knowledge.vendorName), true));
    if (node.knowledge.modelName)
        parts.push_back("model " + quoted(shownText(*node.knowledge.modelName), true));
    return parts.empty() ? std::string() : "ROM names: " + joined(parts, ", ");
}

std::string keywordsLine(const NodeView& node) {
    std::vector<std::string> keywords;
    for (const std::string& keyword : node.knowledge.keywords)
        keywords.push_back(quoted(keyword, true));
    return keywords.empty() ? std::string() : "Keywords: " + joined(keywords, " ");
}

} // namespace rombus
