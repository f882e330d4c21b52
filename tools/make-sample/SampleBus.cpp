// make-sample-bus: writes the sample bus that `rombus topology` reads, as `scan --live
// --save-roms` saves one: a card's controller as root, a repeater with a disk and a slower
// camera behind it, a node the kernel gave up on, and an old S100 device whose PHY knows no
// remote access. Usage: make-sample-bus FILE
#include "inspect/io/BusFile.h"
#include "rombus_support/BusShapes.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TypicalRom.h"

#include <cstdio>
#include <fstream>

namespace {

using rombus_test::RomLayout;
using rombus_test::Shape;

constexpr uint32_t TexasInstruments = 0x080028;
constexpr uint32_t OxfordSemiconductor = 0x0030E0;

// A node's ROM: vendor and model ids, each followed by its textual descriptor.
std::vector<uint8_t> namedRom(uint64_t guid, uint32_t vendor, const std::string& vendorName,
                              const std::string& model, uint8_t linkSpeed) {
    rombus_test::BusInfo info;
    info.guid = guid;
    info.linkSpeed = linkSpeed;
    RomLayout rom(info);
    rom.directory({RomLayout::immediate(0x03, vendor), RomLayout::ref(0x81, 1),
                   RomLayout::immediate(0x17, 0x000001), RomLayout::ref(0x81, 2)});
    rom.textLeaf(vendorName);
    rom.textLeaf(model);
    return rom.image();
}

lib1394::PhyFacts node(const std::string& file, uint64_t guid, std::vector<uint8_t> rom) {
    lib1394::PhyFacts facts;
    facts.deviceFile = file;
    facts.guid = guid;
    facts.rom = std::move(rom);
    return facts;
}

lib1394::PhyIdentity ids(uint32_t vendor, uint32_t product) {
    return {true, true, vendor, product, ""};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-sample-bus FILE\n");
        return 2;
    }
    Shape disk, camera, repeater, lost, old, root;
    camera.speed = 1;
    repeater.linkActive = false;
    repeater.contender = false;
    repeater.children = {disk, camera};
    old.speed = 0;
    old.contender = false;
    root.children = {repeater, lost, old};
    const std::vector<rombus::PhySelfId> phys = rombus_test::selfIdsOf(root);

    lib1394::BusCapture bus;
    bus.name = "card 0";
    bus.generation = 4;
    bus.localNodeId = bus.rootNodeId = bus.irmNodeId = bus.bmNodeId = 0xFFC5;
    bus.filesKnown = true;
    bus.topology = rombus::encodeTopologyMap(bus.generation, phys);
    bus.phys[5] = node("/dev/fw0", 0x0800280000001394ull,
                       namedRom(0x0800280000001394ull, TexasInstruments, "Texas Instruments",
                                "Rombus sample controller A", 2));
    bus.phys[0] =
        node("/dev/fw1", 0x0030E00000000001ull, rombus_bench::typicalRom(0x0030E00000000001ull));
    bus.phys[1] = node("/dev/fw2", 0x0030E00000000011ull,
                       namedRom(0x0030E00000000011ull, OxfordSemiconductor, "Rombus Sample Works",
                                "S200 sample camera", 1));
    bus.phys[4] = node("/dev/fw3", 0x0030E00000000014ull,
                       namedRom(0x0030E00000000014ull, OxfordSemiconductor, "Rombus Sample Works",
                                "S100 sample recorder", 0));
    bus.phys[5].identity = ids(TexasInstruments, 0x831234);
    bus.phys[2].identity = ids(TexasInstruments, 0x831234);
    bus.phys[0].identity = ids(OxfordSemiconductor, 0x000942);
    bus.phys[1].identity = ids(OxfordSemiconductor, 0x000942);
    bus.phys[3].identity = ids(TexasInstruments, 0x434100);
    bus.phys[4].identity = {true, false, 0, 0,
                            "no reply to a remote access packet within 100 ms: an IEEE "
                            "1394-1995 PHY, which has no vendor identification page"};
    std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
    out << rombus::formatBusFile(bus);
    return out.good() ? 0 : 1;
}
