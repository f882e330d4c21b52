// make-sample: writes the sample sysfs tree that `rombus scan --sysfs` reads: two FireWire
// controllers (ports) with nodes whose Configuration ROMs are built here, well-formed except where
// a node is meant to show one kind of problem. Usage: make-sample FOLDER
#include "inspect/rom/RomWalk.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/SysfsTree.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using rombus_test::BusInfo;
using rombus_test::RomLayout;

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

// A sample node: its ROM's layout, its GUID, and whether the bus information block's CRC is to
// be spoilt.
struct Node {
    RomLayout rom;
    uint64_t guid;
    bool breakRomCrc = false;
};

BusInfo busInfo(uint64_t guid, const std::string& busName = "1394") {
    BusInfo info;
    info.guid = guid;
    info.cycleClockAccuracy = 100;
    info.linkSpeed = 2; // S400
    info.busName = busName;
    return info;
}

std::vector<uint8_t> buildRom(const Node& node) {
    std::vector<uint8_t> rom = node.rom.image();
    if (node.breakRomCrc) {
        rom[2] ^= 0xBE;
        rom[3] ^= 0xEF;
    }
    return rom;
}

struct Sample {
    rombus_test::SysfsTree tree;
    unsigned next = 0;

    // Adds node fwN under a controller folder, with its link in bus/firewire/devices; a node
    // without a ROM has an empty config_rom.
    fs::path add(const std::string& controller, const Node* node, uint64_t guid, bool local) {
        const std::string name = "fw" + std::to_string(next++);
        const fs::path folder =
            tree.addNode(controller, name, node ? buildRom(*node) : std::vector<uint8_t>(), guid);
        tree.write(folder / "is_local", local ? "1\n" : "0\n");
        return folder;
    }

    // The names the kernel shows for a node, taken from its root directory's descriptors.
    void name(const fs::path& nodeFolder, const std::string& vendor, const std::string& model) {
        tree.write(nodeFolder / "vendor_name", vendor + "\n");
        if (!model.empty())
            tree.write(nodeFolder / "model_name", model + "\n");
    }

    // Adds the unit device fwN.0 of a node, with its modalias and, when one is named, the link
    // to the driver bound to it: the kernel lists units too, but they are not nodes.
    void addUnit(const fs::path& nodeFolder, const Node& node, const char* driver) {
        const auto units = rombus::decode::unitsOf(buildRom(node));
        const fs::path unit = tree.addUnit(nodeFolder, 0, rombus::decode::modalias(units.at(0)));
        if (!driver)
            return;
        const fs::path drivers = tree.root() / "bus/firewire/drivers" / driver;
        fs::create_directories(drivers);
        fs::create_directory_symlink(fs::relative(drivers, unit), unit / "driver");
    }
};

constexpr uint32_t TexasInstruments = 0x080028;
constexpr uint32_t OxfordSemiconductor = 0x0030E0;
constexpr uint32_t Ncits = 0x00609E; // specifier of SBP-2 storage units
constexpr uint32_t Sbp2 = 0x010483;
constexpr uint32_t NodeCaps = 0x0083C0;

// A controller's own node: vendor and model, each with its name.
Node controller(uint64_t guid, const std::string& model) {
    RomLayout rom(busInfo(guid));
    rom.directory({RomLayout::immediate(Vendor, TexasInstruments), RomLayout::ref(Descriptor, 1),
                   RomLayout::immediate(NodeCapabilities, NodeCaps),
                   RomLayout::immediate(Model, 0x008024), RomLayout::ref(Descriptor, 2)});
    rom.textLeaf("Texas Instruments");
    rom.textLeaf(model);
    return {rom, guid};
}

// A storage device with an SBP-2 unit directory, vendor and model names.
Node disk(uint64_t guid, const std::string& busName = "1394") {
    RomLayout rom(busInfo(guid, busName));
    rom.directory({RomLayout::immediate(Vendor, OxfordSemiconductor), RomLayout::ref(Descriptor, 1),
                   RomLayout::immediate(NodeCapabilities, NodeCaps), RomLayout::ref(Unit, 2)});
    rom.textLeaf("Rombus Sample Works");
    rom.directory({RomLayout::immediate(SpecifierId, Ncits), RomLayout::immediate(Version, Sbp2),
                   RomLayout::immediate(Model, 0x000934), RomLayout::ref(Descriptor, 3)});
    rom.textLeaf("FW800 sample disk");
    return {rom, guid};
}

// A device whose root directory lacks the vendor id it must hold.
Node withoutVendor(uint64_t guid) {
    RomLayout rom(busInfo(guid));
    rom.directory({RomLayout::ref(Descriptor, 1), RomLayout::immediate(NodeCapabilities, NodeCaps),
                   RomLayout::immediate(Model, 0x000935)});
    rom.textLeaf("Device without a vendor id");
    return {rom, guid};
}

// A device whose unit directory holds node capabilities, which only a root directory may.
Node misplacedEntry(uint64_t guid) {
    RomLayout rom(busInfo(guid));
    rom.directory({RomLayout::immediate(Vendor, OxfordSemiconductor),
                   RomLayout::immediate(NodeCapabilities, NodeCaps), RomLayout::ref(Unit, 1)});
    rom.directory({RomLayout::immediate(SpecifierId, Ncits), RomLayout::immediate(Version, Sbp2),
                   RomLayout::immediate(NodeCapabilities, NodeCaps)});
    return {rom, guid};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-sample FOLDER\n");
        return 2;
    }
    Sample sample{rombus_test::SysfsTree(fs::path(argv[1]))};
    // The first controller's folder sorts after the second's: ports follow their lowest fwN.
    const std::string first = "pci0000:00/0000:00:1e.0/0000:05:00.0";
    const std::string second = "pci0000:00/0000:00:1c.0/0000:03:00.0";

    const Node local = controller(0x0800280000001394ull, "Rombus sample controller A");
    sample.name(sample.add(first, &local, local.guid, true), "Texas Instruments",
                "Rombus sample controller A");
    const Node good = disk(0x0030E00000000001ull);
    const fs::path goodFolder = sample.add(first, &good, good.guid, false);
    sample.name(goodFolder, "Rombus Sample Works", "");
    sample.addUnit(goodFolder, good, "firewire_sbp2");
    Node crcMismatch = disk(0x0030E00000000002ull);
    crcMismatch.breakRomCrc = true;
    sample.add(first, &crcMismatch, crcMismatch.guid, false);
    const Node noVendor = withoutVendor(0x0030E00000000003ull);
    sample.add(first, &noVendor, noVendor.guid, false);

    const Node local2 = controller(0x0800280000002394ull, "Rombus sample controller B");
    sample.name(sample.add(second, &local2, local2.guid, true), "Texas Instruments",
                "Rombus sample controller B");
    const Node misplaced = misplacedEntry(0x0030E00000000004ull);
    sample.addUnit(sample.add(second, &misplaced, misplaced.guid, false), misplaced, nullptr);
    const Node badName = disk(0x0030E00000000005ull, "1395");
    sample.add(second, &badName, badName.guid, false);
    sample.add(second, nullptr, 0x0030E00000000006ull, false);
    return 0;
}
