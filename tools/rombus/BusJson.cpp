#include "BusJson.h"

#include "BusText.h"

#include <cstdio>

namespace rombus {
namespace {

using json = nlohmann::ordered_json;

constexpr int BusFormatVersion = 2;

std::string hex(uint64_t value, int digits) {
    char text[24];
    std::snprintf(text, sizeof text, "%0*llx", digits, static_cast<unsigned long long>(value));
    return text;
}

json optionalName(const std::optional<std::string>& name) {
    return name ? json(*name) : json(nullptr);
}

json phyIdOf(const BusView& view, const std::optional<unsigned>& index) {
    return index ? json(view.phys[*index].self.phyId) : json(nullptr);
}

json identityOf(const BusPhy& phy) {
    const lib1394::PhyIdentity& identity = phy.facts.identity;
    json out = {{"asked", identity.asked}, {"answered", identity.answered}};
    if (identity.answered) {
        out["vendorId"] = hex(identity.vendorId, 6);
        out["vendorName"] = optionalName(phy.phyVendor);
        out["productId"] = hex(identity.productId, 6);
    } else {
        out["trouble"] = identity.trouble;
    }
    return out;
}

json phyOf(const BusView& view, const BusPhy& phy) {
    const PhySelfId& self = phy.self;
    json ports = json::array();
    for (PortState state : self.ports)
        ports.push_back(portStateName(state));
    json children = json::array();
    for (const auto& [port, child] : phy.children)
        children.push_back({{"port", port}, {"phyId", view.phys[child].self.phyId}});
    return {
        {"phyId", self.phyId},
        {"linkActive", self.linkActive},
        {"gapCount", self.gapCount},
        {"speed", speedWord(self.speed)},
        {"contender", self.contender},
        {"powerClass", self.powerClass},
        {"power", powerClassName(self.powerClass)},
        {"initiatedReset", self.initiatedReset},
        {"ports", ports},
        {"parent", phyIdOf(view, phy.parent)},
        {"parentPort", phy.parentPort ? json(*phy.parentPort) : json(nullptr)},
        {"children", children},
        {"pathSpeed", phy.pathSpeed ? json(speedWord(*phy.pathSpeed)) : json(nullptr)},
        {"hops", phy.hops ? json(*phy.hops) : json(nullptr)},
        {"deviceFile", phy.facts.deviceFile.empty() ? json(nullptr) : json(phy.facts.deviceFile)},
        {"guid", phy.facts.deviceFile.empty() ? json(nullptr) : json(hex(phy.facts.guid, 16))},
        {"vendor", optionalName(phy.vendor)},
        {"model", optionalName(phy.model)},
        {"phyIds", identityOf(phy)},
    };
}

json mapOf(const BusView& view) {
    const TopologyDecode& map = view.map;
    if (view.quadlets.empty())
        return {{"read", false}, {"trouble", view.capture.topologyTrouble}};
    json out = {{"read", true},
                {"quadlets", view.quadlets.size()},
                {"length", map.length},
                {"storedCrc", hex(map.storedCrc, 4)},
                {"crc", map.crcKnown ? json(hex(map.crc, 4)) : json(nullptr)},
                {"crcOk", map.crcOk()},
                {"generation", map.generation},
                {"nodeCount", map.nodeCount},
                {"selfIdCount", map.selfIdCount}};
    out["refused"] = map.refused.empty() ? json(nullptr) : json(map.refused);
    return out;
}

json busOf(const BusView& view) {
    json phys = json::array();
    for (const BusPhy& phy : view.phys)
        phys.push_back(phyOf(view, phy));
    json health = json::array();
    for (const BusFinding& finding : view.health)
        health.push_back(
            {{"level", finding.level}, {"check", finding.check}, {"text", finding.text}});
    return {
        {"name", view.name},
        {"generation", view.capture.generation},
        {"topologyMap", mapOf(view)},
        {"tree", view.treeOk()},
        {"treeTrouble", view.treeTrouble.empty() ? json(nullptr) : json(view.treeTrouble)},
        {"maxHops", view.treeOk() ? json(view.maxHops) : json(nullptr)},
        {"optimumGapCount", view.treeOk() ? json(optimumGapCount(view.maxHops)) : json(nullptr)},
        {"root", phyIdOf(view, view.root)},
        {"irm", phyIdOf(view, view.irm)},
        {"busManager", phyIdOf(view, view.busManager)},
        {"local", phyIdOf(view, view.local)},
        {"phys", phys},
        {"health", health}};
}

} // namespace

json busJson(const std::vector<BusView>& views) {
    json buses = json::array();
    for (const BusView& view : views)
        buses.push_back(busOf(view));
    return {{"formatVersion", BusFormatVersion}, {"buses", buses}};
}

} // namespace rombus
