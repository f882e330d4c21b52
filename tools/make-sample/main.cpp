// make-sample: writes the sample sysfs tree that `rombus scan --sysfs` reads: two FireWire
// controllers (ports) with nodes whose Configuration ROMs are built here, well-formed except where
// a node is meant to show one kind of problem. Usage: make-sample FOLDER
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// IEEE 1212 CRC-16 (CRC-16/XMODEM) over quadlets, most significant byte first.
uint16_t crc16(const std::vector<uint32_t>& quadlets, size_t begin, size_t count) {
    uint32_t crc = 0;
    for (size_t i = begin; i < begin + count; ++i)
        for (int shift = 28; shift >= 0; shift -= 4) {
            const uint32_t sum = ((crc >> 12) ^ (quadlets[i] >> shift)) & 0xF;
            crc = (crc << 4) ^ (sum << 12) ^ (sum << 5) ^ sum;
        }
    return static_cast<uint16_t>(crc);
}

// Key bytes: key type (0 immediate, 2 leaf, 3 directory) in bits 7-6, key id in bits 5-0.
enum Key : uint8_t {
    Vendor = 0x03,
    NodeCapabilities = 0x0C,
    SpecifierId = 0x12,
    Version = 0x13,
    Model = 0x17,
    Descriptor = 0x81,
    Unit = 0xD1,
};

struct Block;
using BlockPtr = std::shared_ptr<Block>;

// One directory entry: an immediate value, or a pointer to a leaf or directory.
struct Entry {
    Entry(uint8_t key, uint32_t value, BlockPtr target = nullptr)
        : key(key), value(value), target(std::move(target)) {}

    uint8_t key;
    uint32_t value;
    BlockPtr target;
};

// A leaf (body quadlets) or a directory (entries); header length and CRC are computed.
struct Block {
    std::vector<Entry> entries;
    std::vector<uint32_t> body;
    bool directory = false;
    size_t at = 0; // quadlet index of the header, once laid out
};

BlockPtr directory(std::vector<Entry> entries) {
    auto block = std::make_shared<Block>();
    block->entries = std::move(entries);
    block->directory = true;
    return block;
}

// A textual descriptor leaf: type 0, specifier 0, width 0, character set 0, language 0, then
// the ASCII text padded with zero bytes to whole quadlets.
BlockPtr text(const std::string& ascii) {
    auto block = std::make_shared<Block>();
    block->body = {0, 0};
    for (size_t i = 0; i < ascii.size(); i += 4) {
        uint32_t quadlet = 0;
        for (size_t j = 0; j < 4; ++j)
            quadlet = quadlet << 8 | (i + j < ascii.size() ? uint8_t(ascii[i + j]) : 0);
        block->body.push_back(quadlet);
    }
    return block;
}

size_t bodySize(const Block& block) {
    return block.directory ? block.entries.size() : block.body.size();
}

// Lays the blocks out after the root directory, breadth first, each pointed at from its entry.
void layOut(const BlockPtr& root, std::vector<BlockPtr>& order) {
    size_t next = 5;
    order.push_back(root);
    for (size_t i = 0; i < order.size(); ++i) {
        order[i]->at = next;
        next += 1 + bodySize(*order[i]);
        for (const Entry& entry : order[i]->entries)
            if (entry.target)
                order.push_back(entry.target);
    }
}

struct Node {
    uint64_t guid;
    BlockPtr root;
    uint8_t capabilities = 0xE0; // irmc, cmc, isc
    uint8_t cycleClockAccuracy = 100;
    uint8_t maxRec = 8; // 512 bytes
    const char* busName = "1394";
    bool breakRomCrc = false;
};

std::vector<uint32_t> buildRom(const Node& node) {
    std::vector<BlockPtr> order;
    layOut(node.root, order);
    std::vector<uint32_t> rom(5);
    rom[1] = uint32_t(uint8_t(node.busName[0])) << 24 | uint32_t(uint8_t(node.busName[1])) << 16 |
             uint32_t(uint8_t(node.busName[2])) << 8 | uint8_t(node.busName[3]);
    rom[2] = uint32_t(node.capabilities) << 24 | uint32_t(node.cycleClockAccuracy) << 16 |
             uint32_t(node.maxRec) << 12 | 0x02; // link speed S400
    rom[3] = uint32_t(node.guid >> 32);
    rom[4] = uint32_t(node.guid);
    for (const BlockPtr& block : order) {
        rom.resize(block->at + 1 + bodySize(*block));
        for (size_t i = 0; i < block->entries.size(); ++i) {
            const Entry& entry = block->entries[i];
            const size_t self = block->at + 1 + i;
            const uint32_t value = entry.target ? uint32_t(entry.target->at - self) : entry.value;
            rom[self] = uint32_t(entry.key) << 24 | (value & 0xFFFFFF);
        }
        for (size_t i = 0; i < block->body.size(); ++i)
            rom[block->at + 1 + i] = block->body[i];
    }
    for (const BlockPtr& block : order)
        rom[block->at] =
            uint32_t(bodySize(*block)) << 16 | crc16(rom, block->at + 1, bodySize(*block));
    rom[0] = 0x04040000 | crc16(rom, 1, 4);
    if (node.breakRomCrc)
        rom[0] ^= 0x0000BEEF;
    return rom;
}

// config_rom as the kernel shows it on a little-endian machine: each quadlet byte-reversed.
std::string littleEndian(const std::vector<uint32_t>& rom) {
    std::string bytes;
    for (uint32_t quadlet : rom)
        for (int shift = 0; shift < 32; shift += 8)
            bytes += char(quadlet >> shift);
    return bytes;
}

void writeFile(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

std::string hexGuid(uint64_t guid) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llx\n", static_cast<unsigned long long>(guid));
    return text;
}

void link(const fs::path& from, const fs::path& to) {
    std::error_code ignored;
    fs::remove(from, ignored);
    fs::create_directory_symlink(to, from);
}

struct Sample {
    fs::path root;
    unsigned next = 0;

    // Adds node fwN under a controller folder, with its link in bus/firewire/devices.
    fs::path add(const std::string& controller, const Node* node, uint64_t guid, bool local) {
        const std::string name = "fw" + std::to_string(next++);
        const fs::path folder = root / "devices" / controller / name;
        fs::create_directories(folder);
        writeFile(folder / "config_rom", node ? littleEndian(buildRom(*node)) : std::string());
        writeFile(folder / "guid", hexGuid(guid));
        writeFile(folder / "is_local", local ? "1\n" : "0\n");
        link(root / "bus/firewire/devices" / name,
             fs::path("../../../devices") / controller / name);
        return folder;
    }

    // Adds the unit device fwN.0 of a node: the kernel lists it too, but it is not a node.
    void addUnit(const fs::path& nodeFolder) {
        const std::string name = nodeFolder.filename().string() + ".0";
        fs::create_directories(nodeFolder / name);
        writeFile(nodeFolder / name / "modalias",
                  "ieee1394:ven0030E0mo00000934sp0000609Ever00010483\n");
        const fs::path controller = nodeFolder.parent_path().lexically_relative(root / "devices");
        link(root / "bus/firewire/devices" / name,
             fs::path("../../../devices") / controller / nodeFolder.filename() / name);
    }
};

constexpr uint32_t TexasInstruments = 0x080028;
constexpr uint32_t OxfordSemiconductor = 0x0030E0;
constexpr uint32_t Ncits = 0x00609E; // specifier of SBP-2 storage units
constexpr uint32_t Sbp2 = 0x010483;
constexpr uint32_t NodeCaps = 0x0083C0;

// A controller's own node: vendor and model, each with its name.
Node controller(uint64_t guid, const std::string& model) {
    return {guid, directory({{Vendor, TexasInstruments},
                             {Descriptor, 0, text("Texas Instruments")},
                             {NodeCapabilities, NodeCaps},
                             {Model, 0x008024},
                             {Descriptor, 0, text(model)}})};
}

// A storage device with an SBP-2 unit directory, vendor and model names.
Node disk(uint64_t guid) {
    return {guid, directory({{Vendor, OxfordSemiconductor},
                             {Descriptor, 0, text("Rombus Sample Works")},
                             {NodeCapabilities, NodeCaps},
                             {Unit, 0,
                              directory({{SpecifierId, Ncits},
                                         {Version, Sbp2},
                                         {Model, 0x000934},
                                         {Descriptor, 0, text("FW800 sample disk")}})}})};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-sample FOLDER\n");
        return 2;
    }
    Sample sample{fs::path(argv[1])};
    fs::create_directories(sample.root / "bus/firewire/devices");
    // The first controller's folder sorts after the second's: ports follow their lowest fwN.
    const std::string first = "pci0000:00/0000:00:1e.0/0000:05:00.0";
    const std::string second = "pci0000:00/0000:00:1c.0/0000:03:00.0";

    const Node local = controller(0x0800280000001394ull, "Rombus sample controller A");
    sample.add(first, &local, local.guid, true);
    const Node good = disk(0x0030E00000000001ull);
    sample.addUnit(sample.add(first, &good, good.guid, false));
    Node crcMismatch = disk(0x0030E00000000002ull);
    crcMismatch.breakRomCrc = true;
    sample.add(first, &crcMismatch, crcMismatch.guid, false);
    const Node noVendor{0x0030E00000000003ull,
                        directory({{Descriptor, 0, text("Device without a vendor id")},
                                   {NodeCapabilities, NodeCaps},
                                   {Model, 0x000935}})};
    sample.add(first, &noVendor, noVendor.guid, false);

    const Node local2 = controller(0x0800280000002394ull, "Rombus sample controller B");
    sample.add(second, &local2, local2.guid, true);
    const Node misplaced{
        0x0030E00000000004ull,
        directory(
            {{Vendor, OxfordSemiconductor},
             {NodeCapabilities, NodeCaps},
             {Unit, 0,
              directory({{SpecifierId, Ncits}, {Version, Sbp2}, {NodeCapabilities, NodeCaps}})}})};
    sample.addUnit(sample.add(second, &misplaced, misplaced.guid, false));
    Node badName = disk(0x0030E00000000005ull);
    badName.busName = "1395";
    sample.add(second, &badName, badName.guid, false);
    sample.add(second, nullptr, 0x0030E00000000006ull, false);
    return 0;
}
