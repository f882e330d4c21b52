// Arbitrary device ROMs and misbehaving nodes read live through the kernel's stand-in: the first
// bytes choose the faults (FuzzInput.h), the rest is the ROM the device answers from, past 256
// quadlets as well. Whatever the device does, the reader asks for no quadlet past the ROM's 256,
// places every quadlet it keeps where the device holds it, and keeps within its time.
#include "FuzzInput.h"
#include "lib1394/KernelCopy.h"
#include "lib1394/LiveBus.h"
#include "lib1394/RomImageBus.h"
#include "rombus_support/FwKernel.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace rombus_fuzz;
using rombus_test::FwKernel;

const std::filesystem::path& folder() {
    static const std::filesystem::path path = [] {
        const std::filesystem::path made = std::filesystem::temp_directory_path() /
                                           ("rombus-fuzz-live-" + std::to_string(::getpid()));
        std::filesystem::create_directories(made);
        return made;
    }();
    return path;
}

struct RemoveFolder {
    ~RemoveFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder(), ignored);
    }
} removeFolder;

FwKernel::Node nodeOf(uint8_t faults, unsigned position, unsigned count, std::vector<uint8_t> rom) {
    FwKernel::Node node;
    node.local = true;
    node.kernelRom = rom;
    if (faults & LiveKernelShort)
        node.kernelRom.resize(std::min<size_t>(rom.size() / 4, position) * 4);
    if (faults & LiveBusy)
        node.busy[position] = count;
    if (faults & LiveSilent)
        node.silent[position] = count;
    if (faults & LiveBooting)
        node.bootingReads = count;
    if (faults & LiveReset)
        node.resetAfter = position;
    if (faults & LiveChange) {
        node.changeAfter = position;
        node.changedRom = rom;
        lib1394::swapQuadlets(node.changedRom);
    }
    if (faults & LiveVanish)
        node.vanishAfter = position;
    node.rom = std::move(rom);
    return node;
}

// Every quadlet kept is 0 (not read) or what the device held there, before or after a change.
bool placedRight(const std::vector<uint8_t>& kept, const FwKernel::Node& served,
                 const std::vector<uint8_t>& before) {
    if (kept.size() % 4 != 0 || kept.size() > lib1394::MaxRomSize)
        return false;
    for (size_t i = 0; i < kept.size(); i += 4) {
        const auto same = [&](const std::vector<uint8_t>& rom) {
            return i + 4 <= rom.size() &&
                   std::equal(kept.begin() + i, kept.begin() + i + 4, rom.begin() + i);
        };
        const bool zero = std::all_of(kept.begin() + i, kept.begin() + i + 4,
                                      [](uint8_t byte) { return byte == 0; });
        if (!zero && !same(before) && !same(served.rom))
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < LiveHeader)
        return 0;
    const std::vector<uint8_t> rom(data + LiveHeader, data + size);
    FwKernel kernel(folder());
    const FwKernel::Node& served = kernel.add("fw0", nodeOf(data[0], data[1], data[2], rom));
    lib1394::LiveLimits limits;
    const lib1394::LiveView view = lib1394::LiveBus::read(kernel.setup(limits));

    for (const fw_cdev_send_request& request : served.requests)
        if ((request.offset < FwKernel::RomBase || request.offset >= FwKernel::RomBase + 1024) &&
            request.offset < FwKernel::TopologyBase)
            std::abort();
    if (kernel.elapsed() > limits.bus + std::chrono::milliseconds(100))
        std::abort();
    if (view.ports.size() != 1 || view.ports[0].nodes.size() != 1)
        std::abort();
    const lib1394::RomNode& node = view.ports[0].nodes[0];
    if (!placedRight(node.rom, served, rom))
        std::abort();
    uint32_t last = 0;
    for (const lib1394::RomDifference& difference :
         lib1394::compareKernelCopy(node.rom, node.kernelRom)) {
        if (difference.offset < last || difference.offset >= lib1394::MaxRomSize)
            std::abort();
        last = difference.offset + 4;
    }
    return 0;
}
