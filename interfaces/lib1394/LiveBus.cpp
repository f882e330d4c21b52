#include "lib1394/LiveBus.h"

#include "lib1394/LiveNode.h"
#include "lib1394/LiveRom.h"
#include "lib1394/NodeNames.h"
#include "lib1394/PhyRegisters.h"
#include "lib1394/SysfsBus.h"
#include "lib1394/TopologyMap.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <thread>

namespace lib1394 {
namespace {

namespace fs = std::filesystem;
using Time = LiveNode::Time;

constexpr uint32_t PhysicalIdMask = 0x3F;
// A node id whose physical id is 63 names no node: a bus manager not chosen yet.
constexpr uint32_t NoPhysicalId = 0x3F;
constexpr size_t TopologyMapQuadlets = 256;

// One device file as read, with what the kernel said of its node when it answered.
struct LiveFile {
    RomNode node;
    bool known = false;
    unsigned card = 0;
    fw_cdev_event_bus_reset state{};

    unsigned phyId() const { return state.node_id & PhysicalIdMask; }
};

// A card as its files show it: the bus's latest state, and its local node's topology map.
struct CardView {
    bool seen = false;
    fw_cdev_event_bus_reset state{};
    std::string localPath;
    std::optional<TopologyMap> topology;
    std::vector<uint32_t> topologyQuadlets;
    std::string topologyTrouble = "no device file of the local node could be read";
    std::map<unsigned, PhyIdentity> identities;
};

// The device files fwN of a folder, in the order of their numbers.
std::vector<std::string> deviceFiles(const fs::path& folder, std::vector<std::string>& notes) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        if (!nodeDigits(it->path().filename().string()).empty())
            names.push_back(it->path().filename().string());
    if (error)
        notes.push_back(folder.string() + ": cannot be listed: " + error.message());
    std::sort(names.begin(), names.end(), byNodeNumber);
    return names;
}

// Why a device file could not be opened or asked for its node.
std::string openTrouble(const std::string& path, int error) {
    if (error == EACCES || error == EPERM)
        return path +
               ": permission denied; reading a node's ROM takes root, or membership of "
               "the group that owns " +
               path;
    if (error == ENOTTY || error == EINVAL)
        return path + ": not a FireWire device file (the kernel refused its requests)";
    return path + ": " + deviceTrouble(error);
}

std::string nodeName(uint32_t nodeId) {
    const uint32_t phyId = nodeId & PhysicalIdMask;
    return phyId == NoPhysicalId ? "none yet" : "node " + std::to_string(phyId);
}

// The local node's topology map, or why it could not be read; its quadlets as read go to
// quadlets.
std::optional<TopologyMap> readTopology(LiveNode& live, std::vector<uint32_t>& quadlets,
                                        std::string& trouble) {
    for (size_t i = 0, count = 1; i < count; ++i) {
        uint32_t value = 0;
        const Answer answer = live.read(TopologyMapAddress + 4 * i, value);
        if (answer != Answer::Complete) {
            quadlets.clear();
            trouble = "quadlet " + std::to_string(i) + " of the local node's topology map: " +
                      (answer == Answer::TimeUp   ? "the time for the node was spent"
                       : answer == Answer::Reset  ? std::string("a bus reset came")
                       : answer == Answer::Failed ? deviceTrouble(live.error())
                                                  : "answered " + live.trouble());
            return std::nullopt;
        }
        if (i == 0)
            count = std::min<size_t>(1 + (value >> 16), TopologyMapQuadlets);
        quadlets.push_back(value);
    }
    std::optional<TopologyMap> map = parseTopologyMap(quadlets);
    if (!map)
        trouble = "the topology map holds fewer self-ID packets than it counts";
    return map;
}

// A card's bus as captured: the state, the topology map, and per PHY its file, ROM and ids.
BusCapture captureOf(unsigned card, const CardView& view, const std::vector<LiveFile>& files) {
    BusCapture capture;
    capture.name = "card " + std::to_string(card);
    capture.generation = view.state.generation;
    capture.localNodeId = view.state.local_node_id;
    capture.rootNodeId = view.state.root_node_id;
    capture.irmNodeId = view.state.irm_node_id;
    capture.bmNodeId = view.state.bm_node_id;
    capture.topology = view.topologyQuadlets;
    capture.topologyTrouble = view.topologyQuadlets.empty() ? view.topologyTrouble : "";
    capture.filesKnown = true;
    for (const LiveFile& file : files) {
        PhyFacts& phy = capture.phys[file.phyId()];
        phy.deviceFile = file.node.label;
        phy.guid = file.node.guid;
        phy.rom = file.node.rom.empty() ? file.node.kernelRom : file.node.rom;
    }
    for (const auto& [phyId, identity] : view.identities)
        capture.phys[phyId].identity = identity;
    return capture;
}

RomPort portOf(const std::string& text, std::vector<LiveFile>& files) {
    RomPort port{text, {}};
    for (LiveFile& file : files)
        port.nodes.push_back(std::move(file.node));
    return port;
}

// A card's nodes past the 63 a bus holds (files of nodes gone, not yet removed), noted and left
// out, so that every node keeps a node id of its own.
void dropPastTheLast(unsigned card, std::vector<LiveFile>& files, LiveView& view) {
    for (size_t i = SysfsBus::MaxNodes; i < files.size(); ++i, ++view.skipped)
        view.notes.push_back("card " + std::to_string(card) + ": " + files[i].node.label +
                             " not read: the card already holds " +
                             std::to_string(SysfsBus::MaxNodes) + " nodes, the most a bus has");
    if (files.size() > SysfsBus::MaxNodes)
        files.resize(SysfsBus::MaxNodes);
}

class BusReader {
public:
    explicit BusReader(const LiveSetup& setup)
        : setup_(setup), clock_(setup.clock ? *setup.clock : systemClock_),
          deadline_(clock_.now() + setup.limits.bus) {}

    LiveView read();

private:
    LiveFile readFile(const std::string& path);
    void readNode(LiveNode& live, const std::string& path, LiveFile& file);
    void askPhys(FwDevice& device, LiveNode& live, CardView& card);
    void tellCard(unsigned card, const CardView& view, const std::vector<LiveFile>& files,
                  LiveView& bus) const;

    const LiveSetup& setup_;
    LiveClock systemClock_;
    LiveClock& clock_;
    Time deadline_;
    std::map<unsigned, CardView> cards_;
};

LiveView BusReader::read() {
    LiveView view;
    const fs::path folder(setup_.folder);
    const std::vector<std::string> names = deviceFiles(folder, view.notes);
    view.deviceFiles = names.size();
    std::map<unsigned, std::vector<LiveFile>> byCard;
    std::vector<LiveFile> unknown;
    for (const std::string& name : names) {
        LiveFile file = readFile((folder / name).string());
        (file.known ? byCard[file.card] : unknown).push_back(std::move(file));
    }
    for (auto& [card, files] : byCard) {
        std::stable_sort(files.begin(), files.end(), [](const LiveFile& a, const LiveFile& b) {
            return a.phyId() < b.phyId();
        });
        tellCard(card, cards_[card], files, view);
        dropPastTheLast(card, files, view);
        view.buses.push_back(captureOf(card, cards_[card], files));
        view.ports.push_back(portOf("card " + std::to_string(card), files));
    }
    for (LiveFile& file : unknown) {
        const std::string path = file.node.label;
        std::vector<LiveFile> alone;
        alone.push_back(std::move(file));
        view.ports.push_back(portOf(path, alone));
    }
    return view;
}

LiveFile BusReader::readFile(const std::string& path) {
    LiveFile file;
    file.node.label = path;
    file.node.accessible = false;
    const std::unique_ptr<FwDevice> device = setup_.makeDevice();
    if (const int error = device->open(path)) {
        file.node.notes.push_back(openTrouble(path, error));
        return file;
    }
    LiveNode live(*device, clock_, setup_.limits,
                  std::min(clock_.now() + setup_.limits.node, deadline_));
    if (const int error = live.askKernel(&file.node.kernelRom)) {
        file.node.notes.push_back(openTrouble(path, error));
        return file;
    }
    file.known = true;
    file.card = live.card();
    readNode(live, path, file);
    if (file.node.local && cards_[file.card].topology)
        askPhys(*device, live, cards_[file.card]);
    file.state = live.state();
    CardView& card = cards_[file.card];
    if (!card.seen || file.state.generation >= card.state.generation)
        card.state = file.state;
    card.seen = true;
    file.node.guid =
        guidOfRom(file.node.rom) ? guidOfRom(file.node.rom) : guidOfRom(file.node.kernelRom);
    return file;
}

void BusReader::readNode(LiveNode& live, const std::string& path, LiveFile& file) {
    if (clock_.now() >= deadline_) {
        file.node.notes.push_back(path + ": not read: the " +
                                  std::to_string(setup_.limits.bus.count()) +
                                  " ms the whole bus may take were spent");
        return;
    }
    readDeviceRom(live, path, file.node);
    const fw_cdev_event_bus_reset& state = live.state();
    file.node.local = state.node_id == state.local_node_id && state.local_node_id != 0;
    if (!file.node.local)
        return;
    CardView& card = cards_[live.card()];
    card.localPath = path;
    card.topology = readTopology(live, card.topologyQuadlets, card.topologyTrouble);
}

// Every PHY of the local node's topology map, asked for its ids through PHY packets.
void BusReader::askPhys(FwDevice& device, LiveNode& live, CardView& card) {
    std::vector<unsigned> phyIds;
    for (const SelfId& node : card.topology->nodes)
        phyIds.push_back(node.phyId);
    PhyRegisters registers(device, clock_, live.state().generation, live.kernelAbi(), deadline_);
    card.identities = registers.read(phyIds);
}

void BusReader::tellCard(unsigned card, const CardView& view, const std::vector<LiveFile>& files,
                         LiveView& bus) const {
    std::vector<std::string>& notes = bus.notes;
    const std::string name = "card " + std::to_string(card) + ": ";
    const fw_cdev_event_bus_reset& state = view.state;
    notes.push_back(name + "generation " + std::to_string(state.generation) + "; local " +
                    nodeName(state.local_node_id) +
                    (view.localPath.empty() ? "" : " (" + view.localPath + ")") + ", root " +
                    nodeName(state.root_node_id) + ", isochronous resource manager " +
                    nodeName(state.irm_node_id) + ", bus manager " + nodeName(state.bm_node_id));
    if (!view.topology) {
        notes.push_back(name + "the topology map was not read: " + view.topologyTrouble);
        return;
    }
    std::string list;
    for (const SelfId& node : view.topology->nodes)
        list += (list.empty() ? "" : ", ") + std::to_string(node.phyId) + " " +
                speedName(node.speed) + (node.linkActive ? "" : " link off");
    notes.push_back(name + "the topology map (generation " +
                    std::to_string(view.topology->generation) + ") lists " +
                    std::to_string(view.topology->nodes.size()) + " nodes: " + list);
    for (const SelfId& node : view.topology->nodes) {
        const bool hasFile = std::any_of(files.begin(), files.end(), [&](const LiveFile& file) {
            return file.phyId() == node.phyId;
        });
        if (!node.linkActive || hasFile)
            continue;
        ++bus.skipped;
        notes.push_back(name + "node " + std::to_string(node.phyId) + " (" + speedName(node.speed) +
                        ") has no device file: the kernel could not read its ROM or gave up "
                        "on it, and device files reach only the nodes the kernel knows");
    }
}

} // namespace

std::chrono::steady_clock::time_point LiveClock::now() {
    return std::chrono::steady_clock::now();
}

void LiveClock::sleep(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

LiveBus::LiveBus(const LiveSetup& setup) : LiveBus(read(setup)) {}

LiveBus::LiveBus(LiveView view)
    : RomImageBus(std::move(view.ports), std::move(view.notes), view.skipped),
      deviceFiles_(view.deviceFiles), buses_(std::move(view.buses)) {}

LiveView LiveBus::read(const LiveSetup& setup) {
    return BusReader(setup).read();
}

} // namespace lib1394
