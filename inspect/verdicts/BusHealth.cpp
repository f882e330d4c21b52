#include "inspect/verdicts/BusHealth.h"

#include <cstdio>
#include <map>

namespace rombus {
namespace {

// Bus options of the bus information block (its third quadlet): cmc, cycle master capable.
constexpr uint32_t CycleMasterCapable = 1u << 30;

std::string hex4(unsigned value) {
    char text[8];
    std::snprintf(text, sizeof text, "%04Xh", value & 0xFFFF);
    return text;
}

std::string phyName(const BusPhy& phy) {
    return "PHY " + std::to_string(phy.self.phyId) +
           (phy.facts.deviceFile.empty() ? "" : " (" + phy.facts.deviceFile + ")");
}

std::string idList(const std::vector<unsigned>& ids) {
    std::string text;
    for (unsigned id : ids)
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    return (ids.size() == 1 ? "PHY " : "PHYs ") + text;
}

class Checker {
public:
    explicit Checker(const BusView& view) : view_(view) {}

    std::vector<BusFinding> run();

private:
    void add(const char* level, const char* check, std::string text) {
        findings_.push_back({level, check, std::move(text)});
    }
    void checkMap();
    void checkGapCounts();
    void checkRoot();
    void checkResources();
    void checkDeviceFiles();

    const BusView& view_;
    std::vector<BusFinding> findings_;
};

std::vector<BusFinding> Checker::run() {
    if (view_.quadlets.empty()) {
        add("error", "topology-map",
            "the topology map was not read: " + view_.capture.topologyTrouble +
                "; the tree and the bus's health are unknown");
        return findings_;
    }
    checkMap();
    if (!view_.map.refused.empty())
        return findings_;
    checkGapCounts();
    checkRoot();
    checkResources();
    checkDeviceFiles();
    return findings_;
}

void Checker::checkMap() {
    const TopologyDecode& map = view_.map;
    if (!map.refused.empty()) {
        add("error", "topology-map", "the topology map is refused: " + map.refused);
        return;
    }
    if (!map.crcOk())
        add("error", "topology-crc",
            "the topology map's CRC is " + hex4(map.crc) + ", its header stores " +
                hex4(map.storedCrc) +
                ": the map was damaged, or read while a bus reset rewrote it; read it again");
    for (const std::string& fault : map.faults)
        add("error", "self-id-sequence", fault);
    if (map.nodeCount > MaxPhys)
        add("error", "too-many-nodes",
            "the map counts " + std::to_string(map.nodeCount) + " nodes; a bus holds at most " +
                std::to_string(MaxPhys));
    else if (map.nodeCount != view_.phys.size())
        add("error", "node-count",
            "the map counts " + std::to_string(map.nodeCount) +
                " nodes, but its self-ID packets tell of " + std::to_string(view_.phys.size()) +
                " PHYs: a self-ID was lost or the map is stale");
    if (!view_.treeTrouble.empty())
        add("error", "tree",
            "the port states form no tree: " + view_.treeTrouble +
                "; the paths, hops and gap count optimum are unknown");
}

void Checker::checkGapCounts() {
    std::map<unsigned, std::vector<unsigned>> byGap;
    for (const BusPhy& phy : view_.phys)
        byGap[phy.self.gapCount].push_back(phy.self.phyId);
    if (byGap.size() > 1) {
        std::string groups;
        for (const auto& [gap, ids] : byGap)
            groups += (groups.empty() ? "" : "; ") + std::to_string(gap) + " at " + idList(ids);
        add("error", "gap-count-mismatch",
            "the PHYs differ in gap count (" + groups +
                "): PHYs that wait different times to arbitrate collide, so packets are lost and "
                "the bus resets; a PHY configuration packet from the bus manager gives every PHY "
                "the same");
        return;
    }
    if (byGap.empty() || !view_.treeOk())
        return;
    const unsigned gap = byGap.begin()->first;
    const unsigned optimum = optimumGapCount(view_.maxHops);
    const std::string hops = std::to_string(view_.maxHops) + " hops";
    if (gap > optimum)
        add("notice", "gap-count-large",
            "the gap count " + std::to_string(gap) + " is larger than " + std::to_string(optimum) +
                ", the optimum for the bus's " + hops +
                ": every PHY waits longer than it must between packets, which costs bandwidth" +
                (gap == 63 ? " (63 is the value after power-up, until a bus manager sets one)"
                           : ""));
    else if (gap < optimum)
        add("warning", "gap-count-small",
            "the gap count " + std::to_string(gap) + " is smaller than " + std::to_string(optimum) +
                ", the optimum for the bus's " + hops +
                ": a PHY may start to arbitrate before the far end's packet has reached it, so "
                "packets collide and the bus resets");
}

void Checker::checkRoot() {
    if (!view_.root)
        return;
    const BusPhy& root = view_.phys[*view_.root];
    if (!root.self.linkActive) {
        add("warning", "root-link-off",
            "the root, " + phyName(root) +
                ", has its link layer off: it cannot be cycle master, so no cycle start packets "
                "and no isochronous traffic (audio, video) until another PHY is forced root");
        return;
    }
    const std::vector<uint8_t>& rom = root.facts.rom;
    if (rom.size() < 12)
        return;
    const uint32_t options =
        uint32_t{rom[8]} << 24 | uint32_t{rom[9]} << 16 | uint32_t{rom[10]} << 8 | rom[11];
    if ((options & CycleMasterCapable) == 0)
        add("warning", "root-not-cycle-master",
            "the root, " + phyName(root) +
                ", says in its bus options (cmc 0) that it cannot be cycle master: isochronous "
                "traffic waits until a bus manager forces a capable PHY to be root");
}

void Checker::checkResources() {
    for (const BusPhy& phy : view_.phys)
        if (phy.self.contender && phy.self.linkActive)
            return;
    add("warning", "no-irm-contender",
        "no PHY with an active link is a contender: the bus has no isochronous resource "
        "manager, so no channel or bandwidth can be allocated");
}

void Checker::checkDeviceFiles() {
    if (!view_.capture.filesKnown)
        return;
    for (const BusPhy& phy : view_.phys)
        if (phy.self.linkActive && phy.facts.deviceFile.empty())
            add("warning", "no-device-file",
                "PHY " + std::to_string(phy.self.phyId) +
                    " has an active link but no device file: the kernel could not read its ROM "
                    "or gave up on it, so it cannot be reached through /dev/fw*");
}

} // namespace

std::vector<BusFinding> busHealth(const BusView& view) {
    return Checker(view).run();
}

} // namespace rombus
