#include "BusText.h"

#include "Text.h"
#include "inspect/verdicts/BusHealth.h"

#include <algorithm>
#include <cstdio>

namespace rombus {
namespace {

std::string hex(uint64_t value, int digits) {
    char text[24];
    std::snprintf(text, sizeof text, "%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string quoted(const std::optional<std::string>& name) {
    return name ? "\"" + escaped(*name, false) + "\"" : "";
}

// What one PHY of the tree is, on its line.
std::string treeLine(const BusView& view, unsigned index) {
    const BusPhy& phy = view.phys[index];
    std::string line = "PHY " + std::to_string(phy.self.phyId) + "  ";
    line += phy.facts.deviceFile.empty()
                ? fileless(view, phy)
                : escaped(phy.facts.deviceFile, false) + "  " + hex(phy.facts.guid, 16);
    for (const auto& name : {phy.vendor, phy.model})
        if (name)
            line += "  " + quoted(name);
    line += "  " + speedWord(phy.self.speed);
    if (phy.pathSpeed && phy.hops && *phy.hops > 0)
        line += ", path " + speedWord(*phy.pathSpeed) + " over " + std::to_string(*phy.hops) +
                (*phy.hops == 1 ? " hop" : " hops");
    const std::string roles = rolesOf(view, index);
    return line + (roles.empty() ? "" : "  [" + roles + "]");
}

// Columns a tree line keeps for its text however deep it stands.
constexpr size_t TextColumns = 40;

// The PHYs below one, each line indented by its depth and wrapped below its own text. A line
// deeper than the width leaves room for stays at the deepest indent and names its level, so that
// a chain of 63 PHYs still fits.
void subtree(const BusView& view, unsigned index, size_t depth, size_t width, std::string& out) {
    const size_t deepest = width > TextColumns ? (width - TextColumns) / 4 : 0;
    const size_t indent = 4 * std::min(depth, deepest);
    const std::string level = depth > deepest ? "(level " + std::to_string(depth) + ") " : "";
    for (const auto& [port, child] : view.phys[index].children) {
        out += wrapped(level + "|__ Port " + std::to_string(port) + ": " + treeLine(view, child),
                       indent, indent + 4, width);
        subtree(view, child, depth + 1, width, out);
    }
}

std::string portsText(const PhySelfId& self) {
    std::string text;
    for (size_t i = 0; i < self.ports.size(); ++i)
        if (self.ports[i] != PortState::None)
            text +=
                (text.empty() ? "" : ", ") + std::to_string(i) + " " + portStateName(self.ports[i]);
    return text.empty() ? "no ports" : "ports " + text;
}

std::string identityText(const BusPhy& phy) {
    const lib1394::PhyIdentity& identity = phy.facts.identity;
    if (identity.answered)
        return "PHY vendor " + hex(identity.vendorId, 6) +
               (phy.phyVendor ? " " + quoted(phy.phyVendor) : "") + ", product " +
               hex(identity.productId, 6);
    if (identity.asked || !identity.trouble.empty())
        return "PHY ids not read: " + identity.trouble;
    return "PHY ids not asked";
}

std::string phyDetails(const BusPhy& phy) {
    const PhySelfId& self = phy.self;
    return "PHY " + std::to_string(self.phyId) + ": link " + (self.linkActive ? "on" : "off") +
           ", gap count " + std::to_string(self.gapCount) + ", " + speedWord(self.speed) + ", " +
           (self.contender ? "contender" : "not a contender") + ", " +
           powerClassName(self.powerClass) + (self.initiatedReset ? ", initiated the reset" : "") +
           "; " + portsText(self) + "; " + identityText(phy);
}

std::string headerOf(const BusView& view) {
    std::string line = "Bus " + escaped(view.name, false);
    if (view.quadlets.empty())
        return line + ": the topology map was not read";
    line += ": generation " + std::to_string(view.map.generation) + ", " +
            std::to_string(view.phys.size()) + (view.phys.size() == 1 ? " PHY" : " PHYs");
    if (view.treeOk())
        line += ", " + std::to_string(view.maxHops) + " hops at most (gap count optimum " +
                std::to_string(optimumGapCount(view.maxHops)) + ")";
    if (view.map.crcKnown)
        line += ", topology map CRC " + hex(view.map.storedCrc, 4) +
                (view.map.crcOk() ? " ok" : " wrong (it is " + hex(view.map.crc, 4) + ")");
    return line;
}

} // namespace

std::string fileless(const BusView& view, const BusPhy& phy) {
    if (!phy.self.linkActive)
        return "link off";
    return view.capture.filesKnown ? "no device file" : "link on";
}

std::string speedWord(unsigned speed) {
    return phySpeedName(speed);
}

std::string rolesOf(const BusView& view, unsigned index) {
    std::string roles;
    const std::pair<const std::optional<unsigned>*, const char*> named[] = {
        {&view.root, "root"},
        {&view.irm, "IRM"},
        {&view.busManager, "bus manager"},
        {&view.local, "local"}};
    for (const auto& [slot, name] : named)
        if (*slot && **slot == index)
            roles += (roles.empty() ? "" : ", ") + std::string(name);
    return roles;
}

std::string busText(const BusView& view, size_t width) {
    std::string out = wrapped(headerOf(view), 0, 4, width);
    // The tree hangs from the PHY that sent its self-ID last, the one without a parent.
    if (view.treeOk()) {
        const unsigned top = static_cast<unsigned>(view.phys.size() - 1);
        out += wrapped("/:  " + treeLine(view, top), 0, 4, width);
        subtree(view, top, 1, width, out);
    }
    if (!view.phys.empty())
        out += "PHYs:\n";
    for (const BusPhy& phy : view.phys)
        out += wrapped(phyDetails(phy), 2, 6, width);
    out += view.health.empty() ? "Health: no problem found\n" : "Health:\n";
    for (const BusFinding& finding : view.health) {
        const std::string level = finding.level + std::string(9 - finding.level.size(), ' ');
        out += wrapped(level + finding.text + " (" + finding.check + ")", 2, 11, width);
    }
    return out;
}

} // namespace rombus
