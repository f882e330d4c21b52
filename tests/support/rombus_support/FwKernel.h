#pragma once

// A stand-in of the Linux kernel's FireWire device files, at the level of the kernel's own
// structures: read requests (fw_cdev_send_request) come in, responses (fw_cdev_event_response)
// and bus resets (fw_cdev_event_bus_reset) go out as events read from the file, and GET_INFO
// answers the kernel's cached ROM (quadlets in the host's order) and the bus's state. The nodes
// serve ROM images; what real buses do is injected per node: busy answers, requests that get no
// response, a ROM still booting, a bus reset or a changed ROM after some requests, a node that
// leaves the bus, a file that may not be opened. It is also the clock: waiting for an event that
// does not come, and sleeping, move its time on, so nothing really waits. The local node's file
// also serves the card's topology map (one given whole, or one made of the nodes) and PHY
// packets: remote access reads of the vendor identification page, answered by the PHYs given
// ids.
#include "lib1394/FwDevice.h"
#include "lib1394/LiveBus.h"
#include "rombus_support/RomLayout.h"

#include <linux/firewire-constants.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rombus_test {

class FwKernel : public lib1394::LiveClock {
public:
    static constexpr uint64_t RomBase = 0xFFFFF0000400ull;
    static constexpr uint64_t TopologyBase = 0xFFFFF0001000ull;
    // What one request costs on the bus, in the stand-in's time.
    static constexpr std::chrono::microseconds RequestTime{50};

    struct Node {
        unsigned card = 0;
        unsigned phyId = 0;
        unsigned speed = SCODE_400;
        bool linkActive = true;
        bool local = false;             // the card's own node, which keeps its topology map
        std::vector<uint8_t> rom;       // the device's ROM in bus order; reads past it are refused
        std::vector<uint8_t> kernelRom; // the kernel's cached copy in bus order
        int openError = 0;
        // Faults: per quadlet of the ROM, how many reads answer busy, or get no response, first.
        std::map<unsigned, unsigned> busy;
        std::map<unsigned, unsigned> silent;
        bool alwaysBusy = false;
        unsigned bootingReads = 0; // reads of the first quadlet that answer 0
        // After this many requests: a bus reset, the ROM replaced, the node gone.
        std::optional<unsigned> resetAfter;
        bool resetEventLate = false; // the reset's event comes after the response it failed
        std::optional<unsigned> changeAfter;
        std::vector<uint8_t> changedRom;
        std::optional<unsigned> vanishAfter;
        // Every request the node got.
        std::vector<fw_cdev_send_request> requests;
        bool gone = false;
    };

    explicit FwKernel(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // A node with a device file of that name in the folder (an empty file: only its name counts).
    Node& add(const std::string& file, Node node) {
        std::ofstream(folder_ / file, std::ios::binary | std::ios::trunc);
        nodes_.push_back(std::make_unique<Node>(std::move(node)));
        files_[file] = nodes_.back().get();
        return *nodes_.back();
    }
    // A node of the bus for which the kernel made no device file.
    Node& addWithoutFile(Node node) {
        nodes_.push_back(std::make_unique<Node>(std::move(node)));
        return *nodes_.back();
    }

    lib1394::LiveSetup setup(lib1394::LiveLimits limits = {}) {
        lib1394::LiveSetup setup;
        setup.folder = folder_.string();
        setup.makeDevice = [this] { return std::make_unique<Device>(*this); };
        setup.clock = this;
        setup.limits = limits;
        return setup;
    }

    std::chrono::steady_clock::time_point now() override { return Start + elapsed_; }
    void sleep(std::chrono::milliseconds duration) override { elapsed_ += duration; }
    std::chrono::steady_clock::duration elapsed() const { return elapsed_; }
    uint32_t generation(unsigned card) { return generations_[card]; }
    // The topology map a card's local node serves, quadlets as numbers, instead of one made of
    // its nodes.
    void setTopology(unsigned card, std::vector<uint32_t> quadlets) {
        topologies_[card] = std::move(quadlets);
    }
    // A PHY that answers remote access to its vendor identification page with these ids.
    void setPhyIds(unsigned card, unsigned phyId, uint32_t vendor, uint32_t product) {
        phyIds_[{card, phyId}] = {vendor, product};
    }
    // The PHY packet (counted from 1) that comes with a bus reset, before it is sent.
    size_t resetAtPhyPacket = 0;
    // Every PHY packet the cards sent.
    const std::vector<fw_cdev_send_phy_packet>& phyPackets() const { return phyPackets_; }

private:
    static constexpr std::chrono::steady_clock::time_point Start{};
    static constexpr uint32_t NoResponse = ~0u;

    class Device : public lib1394::FwDevice {
    public:
        explicit Device(FwKernel& kernel) : kernel_(kernel) {}

        int open(const std::string& path) override {
            const auto it = kernel_.files_.find(std::filesystem::path(path).filename().string());
            if (it == kernel_.files_.end())
                return ENOENT;
            if (it->second->openError != 0)
                return it->second->openError;
            node_ = it->second;
            kernel_.devices_.push_back(this);
            return 0;
        }

        ~Device() override { std::erase(kernel_.devices_, this); }

        int getInfo(fw_cdev_get_info& info) override {
            if (node_->gone)
                return ENODEV;
            fw_cdev_event_bus_reset state = kernel_.stateOf(*node_);
            state.closure = info.bus_reset_closure;
            std::memcpy(reinterpret_cast<void*>(info.bus_reset), &state, sizeof(state));
            const size_t count = std::min<size_t>(info.rom_length, node_->kernelRom.size()) / 4;
            for (size_t i = 0; i < count; ++i) {
                const uint8_t* bytes = node_->kernelRom.data() + 4 * i;
                const uint32_t quadlet = uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 |
                                         uint32_t{bytes[2]} << 8 | bytes[3];
                std::memcpy(reinterpret_cast<uint8_t*>(info.rom) + 4 * i, &quadlet, 4);
            }
            info.rom_length = static_cast<uint32_t>(node_->kernelRom.size());
            info.card = node_->card;
            info.version = 5;
            return 0;
        }

        int sendRequest(const fw_cdev_send_request& request) override {
            if (node_->gone)
                return ENODEV;
            if (request.tcode != TCODE_READ_QUADLET_REQUEST || request.length != 4 ||
                request.data == 0)
                return EINVAL;
            kernel_.elapsed_ += RequestTime;
            node_->requests.push_back(request);
            return kernel_.answer(*node_, request);
        }

        int readEvent(void* buffer, size_t& size, std::chrono::milliseconds timeout) override {
            if (node_->gone)
                return ENODEV;
            if (events_.empty()) {
                kernel_.elapsed_ += timeout;
                size = 0;
                return 0;
            }
            const std::vector<uint8_t> event = std::move(events_.front());
            events_.pop_front();
            size = std::min(size, event.size());
            std::memcpy(buffer, event.data(), size);
            return 0;
        }

        int receivePhyPackets(fw_cdev_receive_phy_packets& request) override {
            if (node_->gone)
                return ENODEV;
            if (!node_->local)
                return ENOSYS;
            phyClosure_ = request.closure;
            receiving_ = true;
            return 0;
        }

        int sendPhyPacket(fw_cdev_send_phy_packet& packet) override {
            if (node_->gone)
                return ENODEV;
            if (!node_->local)
                return ENOSYS;
            kernel_.elapsed_ += RequestTime;
            kernel_.phyPackets_.push_back(packet);
            if (kernel_.phyPackets_.size() == kernel_.resetAtPhyPacket) {
                ++kernel_.generations_[node_->card];
                kernel_.announceReset(node_->card);
            }
            const bool current = packet.generation == kernel_.generations_[node_->card];
            events_.push_back(phyEvent(FW_CDEV_EVENT_PHY_PACKET_SENT, packet.closure,
                                       current ? RCODE_COMPLETE : RCODE_GENERATION, {}));
            if (current)
                kernel_.replyTo(node_->card, packet.data[0], packet.data[1]);
            return 0;
        }

        static std::vector<uint8_t> phyEvent(uint32_t type, uint64_t closure, uint32_t rcode,
                                             const std::vector<uint32_t>& data) {
            fw_cdev_event_phy_packet head{};
            head.closure = closure;
            head.type = type;
            head.rcode = rcode;
            head.length = static_cast<uint32_t>(4 * data.size());
            std::vector<uint8_t> event(sizeof(head) + head.length);
            std::memcpy(event.data(), &head, sizeof(head));
            if (!data.empty())
                std::memcpy(event.data() + sizeof(head), data.data(), head.length);
            return event;
        }

        Node* node() const { return node_; }
        std::deque<std::vector<uint8_t>> events_;
        bool receiving_ = false;
        uint64_t phyClosure_ = 0;

    private:
        FwKernel& kernel_;
        Node* node_ = nullptr;
    };

    // A PHY's remote reply to a paged read of its vendor identification page, received by every
    // file of the card that receives PHY packets. Packets whose second quadlet is not the first's
    // complement are lost, as on the bus.
    void replyTo(unsigned card, uint32_t quadlet, uint32_t check) {
        const unsigned phyId = quadlet >> 24 & 0x3F;
        const unsigned type = quadlet >> 18 & 0xF;
        const unsigned page = quadlet >> 15 & 7;
        const unsigned reg = quadlet >> 8 & 7;
        const auto ids = phyIds_.find({card, phyId});
        if (check != ~quadlet || quadlet >> 30 != 0 || type != 5 || page != 1 ||
            ids == phyIds_.end())
            return;
        const uint32_t value = reg >= 2 && reg <= 4   ? ids->second.first >> (8 * (4 - reg))
                               : reg >= 5 && reg <= 7 ? ids->second.second >> (8 * (7 - reg))
                                                      : 0;
        const uint32_t reply = (quadlet & 0xFFC3FF00u) | 7u << 18 | (value & 0xFF);
        for (Device* device : devices_)
            if (device->receiving_ && device->node()->card == card)
                device->events_.push_back(Device::phyEvent(FW_CDEV_EVENT_PHY_PACKET_RECEIVED,
                                                           device->phyClosure_, RCODE_COMPLETE,
                                                           {reply, ~reply}));
    }

    // What a request makes happen, its response queued on every open file of the node.
    int answer(Node& node, const fw_cdev_send_request& request) {
        const size_t count = node.requests.size();
        if (node.vanishAfter && count > *node.vanishAfter) {
            node.gone = true;
            return ENODEV;
        }
        const bool reset = node.resetAfter && count == *node.resetAfter + 1;
        if (reset)
            ++generations_[node.card];
        if (reset && !node.resetEventLate)
            announceReset(node.card);
        if (node.changeAfter && count == *node.changeAfter + 1)
            node.rom = node.changedRom;
        std::vector<uint8_t> data;
        const uint32_t rcode = request.generation != generations_[node.card]
                                   ? RCODE_GENERATION
                                   : serve(node, request.offset, data);
        if (rcode != NoResponse)
            respond(node, request.closure, rcode, data);
        if (reset && node.resetEventLate)
            announceReset(node.card);
        return 0;
    }

    // The rcode of a read and its data, or NoResponse.
    uint32_t serve(Node& node, uint64_t address, std::vector<uint8_t>& data) {
        if (address >= TopologyBase && node.local)
            return quadletOf(topologyMap(node.card), (address - TopologyBase) / 4, data);
        if (address < RomBase || address >= RomBase + 1024 || address % 4 != 0)
            return RCODE_ADDRESS_ERROR;
        const unsigned index = static_cast<unsigned>((address - RomBase) / 4);
        if (node.alwaysBusy || spend(node.busy, index))
            return RCODE_BUSY;
        if (spend(node.silent, index))
            return NoResponse;
        const uint32_t rcode = quadletOf(node.rom, index, data);
        if (index == 0 && rcode == RCODE_COMPLETE && node.bootingReads > 0) {
            --node.bootingReads;
            data.assign(4, 0);
        }
        return rcode;
    }

    static bool spend(std::map<unsigned, unsigned>& faults, unsigned index) {
        const auto it = faults.find(index);
        if (it == faults.end() || it->second == 0)
            return false;
        --it->second;
        return true;
    }

    static uint32_t quadletOf(const std::vector<uint8_t>& bytes, size_t index,
                              std::vector<uint8_t>& data) {
        if (4 * index + 4 > bytes.size())
            return RCODE_ADDRESS_ERROR;
        data.assign(bytes.begin() + 4 * index, bytes.begin() + 4 * index + 4);
        return RCODE_COMPLETE;
    }

    void respond(const Node& node, uint64_t closure, uint32_t rcode,
                 const std::vector<uint8_t>& data) {
        fw_cdev_event_response response{};
        response.closure = closure;
        response.type = FW_CDEV_EVENT_RESPONSE;
        response.rcode = rcode;
        response.length = rcode == RCODE_COMPLETE ? static_cast<uint32_t>(data.size()) : 0;
        std::vector<uint8_t> event(sizeof(response) + response.length);
        std::memcpy(event.data(), &response, sizeof(response));
        if (response.length > 0)
            std::memcpy(event.data() + offsetof(fw_cdev_event_response, data), data.data(),
                        data.size());
        for (Device* device : devices_)
            if (device->node() == &node)
                device->events_.push_back(event);
    }

    void announceReset(unsigned card) {
        for (Device* device : devices_) {
            if (device->node()->card != card)
                continue;
            const fw_cdev_event_bus_reset state = stateOf(*device->node());
            std::vector<uint8_t> event(sizeof(state));
            std::memcpy(event.data(), &state, sizeof(state));
            device->events_.push_back(event);
        }
    }

    // A node's view of its bus: the root and resource manager are the highest physical id, the
    // bus manager the local node.
    fw_cdev_event_bus_reset stateOf(const Node& node) {
        fw_cdev_event_bus_reset state{};
        state.type = FW_CDEV_EVENT_BUS_RESET;
        state.node_id = 0xFFC0 | node.phyId;
        state.local_node_id = 0xFFFF;
        state.bm_node_id = 0xFFFF;
        for (const auto& other : nodes_) {
            if (other->card != node.card)
                continue;
            if (other->local)
                state.local_node_id = state.bm_node_id = 0xFFC0 | other->phyId;
            state.root_node_id = std::max(state.root_node_id, 0xFFC0 | other->phyId);
        }
        state.irm_node_id = state.root_node_id;
        state.generation = generations_[node.card];
        return state;
    }

    // The topology map of a card in bus order: self-ID packet 0 of every node, in the order of
    // their physical ids, each node followed by one extended packet of more ports.
    std::vector<uint8_t> topologyMap(unsigned card) {
        if (const auto given = topologies_.find(card); given != topologies_.end())
            return busOrderBytes(given->second);
        std::vector<const Node*> members;
        for (const auto& node : nodes_)
            if (node->card == card)
                members.push_back(node.get());
        std::sort(members.begin(), members.end(),
                  [](const Node* a, const Node* b) { return a->phyId < b->phyId; });
        std::vector<uint32_t> quadlets = {
            0, generations_[card],
            static_cast<uint32_t>(members.size() << 16 | 2 * members.size())};
        for (const Node* node : members) {
            quadlets.push_back(0x80000000u | node->phyId << 24 | (node->linkActive ? 1u << 22 : 0) |
                               node->speed << 14 | 1u);
            quadlets.push_back(0x80800000u | node->phyId << 24);
        }
        quadlets[0] = static_cast<uint32_t>(quadlets.size() - 1) << 16;
        return busOrderBytes(quadlets);
    }

    std::filesystem::path folder_;
    std::vector<std::unique_ptr<Node>> nodes_;
    std::map<std::string, Node*> files_;
    std::vector<Device*> devices_;
    std::map<unsigned, uint32_t> generations_;
    std::map<unsigned, std::vector<uint32_t>> topologies_;
    std::map<std::pair<unsigned, unsigned>, std::pair<uint32_t, uint32_t>> phyIds_;
    std::vector<fw_cdev_send_phy_packet> phyPackets_;
    std::chrono::steady_clock::duration elapsed_{};
};

} // namespace rombus_test
