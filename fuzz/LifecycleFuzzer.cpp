// A ROM's description and build as exact inverses, and repair as settling. The first byte
// chooses: bit 0 clear, the rest is a ROM image: described, it must build back byte for byte, or
// be refused; repaired, a second repair must change nothing. Bit 0 set, the rest is a
// description: built, the ROM must describe and build back to itself. Nothing may crash or take
// memory beyond what a ROM of 256 quadlets needs.
#include "inspect/lifecycle/RomDescription.h"
#include "inspect/lifecycle/RomRepair.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr uint8_t DescriptionInput = 0x01;

// A ROM's description, built again; aborts when it builds other bytes.
void describeAndBuild(const std::vector<uint8_t>& rom) {
    std::string why;
    const std::string description = rombus::describeRom(rombus::decode::decodeRom(rom), why);
    if (description.empty()) {
        if (why.empty())
            std::abort();
        return;
    }
    if (rombus::buildRom(description, why) != rom)
        std::abort();
}

void repairTwice(const std::vector<uint8_t>& rom) {
    const rombus::RomRepair first = rombus::repairRom(rom, false);
    if (!first.left.empty())
        return;
    const rombus::RomRepair second = rombus::repairRom(first.rom, false);
    if (!second.changes.empty() || second.rom != first.rom)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    if (data[0] & DescriptionInput) {
        std::string error;
        const std::vector<uint8_t> rom =
            rombus::buildRom(std::string(data + 1, data + size), error);
        if (rom.empty() != !error.empty())
            std::abort();
        if (!rom.empty())
            describeAndBuild(rom);
        return 0;
    }
    const std::vector<uint8_t> rom(data + 1, data + size);
    describeAndBuild(rom);
    repairTwice(rom);
    return 0;
}
