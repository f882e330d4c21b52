#include "lib1394/KernelCopy.h"

#include "lib1394/HexText.h"

#include <algorithm>
#include <bitset>
#include <utility>

namespace lib1394 {
namespace {

struct KindText {
    const char* kind;
    const char* text;
};

// What each kind of difference says, after the quadlets it concerns.
constexpr KindText KindTexts[] = {
    {"", ""},
    {"kernel-missing", "on the device but past the end of the kernel's copy, which keeps only "
                       "what its walk from the root directory reached"},
    {"kernel-zeroed", "on the device but 0 in the kernel's copy, which zeroes entries that point "
                      "past 256 quadlets and headers of blocks that run past them"},
    {"kernel-unreached", "on the device but 0 in the kernel's copy, whose walk from the root "
                         "directory did not reach them: it fills the quadlets between the blocks "
                         "it read with 0"},
    {"changed", "different in the kernel's copy: the ROM changed since the kernel read it"},
    {"device-missing", "in the kernel's copy but past the end of the ROM read from the device"},
};

enum Kind { Same, KernelMissing, KernelZeroed, KernelUnreached, Changed, DeviceMissing };

constexpr size_t RomQuadlets = 256;
using Marks = std::bitset<RomQuadlets>;

// A quadlet of a ROM as a number, 0 past its end.
uint32_t quadletAt(const std::vector<uint8_t>& rom, size_t index) {
    if (4 * index + 4 > rom.size())
        return 0;
    const uint8_t* bytes = rom.data() + 4 * index;
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// The quadlets of a device's ROM that the kernel's walk zeroes in its copy: walking from the
// root directory through directory and leaf entries, each block once, it zeroes an entry that
// points past the ROM's 256 quadlets and the header of a block that runs past them.
Marks zeroedByKernel(const std::vector<uint8_t>& rom) {
    Marks zeroed, seen;
    const size_t count = std::min(rom.size() / 4, RomQuadlets);
    if (count == 0)
        return zeroed;
    std::vector<std::pair<size_t, bool>> blocks{{1 + (quadletAt(rom, 0) >> 24), true}};
    while (!blocks.empty()) {
        const auto [header, directory] = blocks.back();
        blocks.pop_back();
        if (header >= count || seen.test(header))
            continue;
        seen.set(header);
        const size_t end = header + 1 + (quadletAt(rom, header) >> 16);
        if (end > RomQuadlets) {
            zeroed.set(header);
            continue;
        }
        for (size_t i = header + 1; directory && i < std::min(end, count); ++i) {
            const uint32_t entry = quadletAt(rom, i);
            if (entry >> 30 < 2)
                continue;
            const size_t target = i + (entry & 0xFFFFFF);
            if (target >= RomQuadlets)
                zeroed.set(i);
            else
                blocks.push_back({target, entry >> 30 == 3});
        }
    }
    return zeroed;
}

Kind kindOf(size_t index, size_t deviceQuadlets, size_t kernelQuadlets, uint32_t device,
            uint32_t kernel, const Marks& zeroed) {
    if (device == kernel)
        return Same;
    if (index >= kernelQuadlets)
        return KernelMissing;
    if (index >= deviceQuadlets)
        return DeviceMissing;
    if (kernel != 0)
        return Changed;
    return index < RomQuadlets && zeroed.test(index) ? KernelZeroed : KernelUnreached;
}

std::string describe(Kind kind, size_t first, size_t last, uint32_t device, uint32_t kernel) {
    std::string text =
        first == last
            ? "quadlet " + std::to_string(first) + " (offset " + hexText(4 * first, 3) + ")"
            : "quadlets " + std::to_string(first) + " to " + std::to_string(last) + " (offsets " +
                  hexText(4 * first, 3) + " to " + hexText(4 * last, 3) + ")";
    text += first == last ? " is " : " are ";
    text += KindTexts[kind].text;
    if (first == last)
        text += " (device " + hexText(device, 8) + ", kernel " + hexText(kernel, 8) + ")";
    return text;
}

} // namespace

std::vector<RomDifference> compareKernelCopy(const std::vector<uint8_t>& deviceRom,
                                             const std::vector<uint8_t>& kernelRom) {
    const size_t deviceQuadlets = deviceRom.size() / 4, kernelQuadlets = kernelRom.size() / 4;
    const size_t count = std::max(deviceQuadlets, kernelQuadlets);
    const Marks zeroed = zeroedByKernel(deviceRom);
    std::vector<RomDifference> differences;
    for (size_t first = 0; first < count;) {
        const uint32_t device = quadletAt(deviceRom, first), kernel = quadletAt(kernelRom, first);
        const Kind kind = kindOf(first, deviceQuadlets, kernelQuadlets, device, kernel, zeroed);
        size_t last = first;
        while (last + 1 < count &&
               kindOf(last + 1, deviceQuadlets, kernelQuadlets, quadletAt(deviceRom, last + 1),
                      quadletAt(kernelRom, last + 1), zeroed) == kind)
            ++last;
        if (kind != Same)
            differences.push_back({static_cast<uint32_t>(4 * first), KindTexts[kind].kind,
                                   describe(kind, first, last, device, kernel)});
        first = last + 1;
    }
    return differences;
}

} // namespace lib1394
