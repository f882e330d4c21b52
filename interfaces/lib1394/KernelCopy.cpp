#include "lib1394/KernelCopy.h"

#include "lib1394/HexText.h"

#include <algorithm>

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
    {"changed", "different in the kernel's copy: the ROM changed since the kernel read it"},
    {"device-missing", "in the kernel's copy but past the end of the ROM read from the device"},
};

enum Kind { Same, KernelMissing, KernelZeroed, Changed, DeviceMissing };

// A quadlet of a ROM as a number, 0 past its end.
uint32_t quadletAt(const std::vector<uint8_t>& rom, size_t index) {
    if (4 * index + 4 > rom.size())
        return 0;
    const uint8_t* bytes = rom.data() + 4 * index;
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

Kind kindOf(size_t index, size_t deviceQuadlets, size_t kernelQuadlets, uint32_t device,
            uint32_t kernel) {
    if (device == kernel)
        return Same;
    if (index >= kernelQuadlets)
        return KernelMissing;
    if (index >= deviceQuadlets)
        return DeviceMissing;
    return kernel == 0 ? KernelZeroed : Changed;
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
    std::vector<RomDifference> differences;
    for (size_t first = 0; first < count;) {
        const uint32_t device = quadletAt(deviceRom, first), kernel = quadletAt(kernelRom, first);
        const Kind kind = kindOf(first, deviceQuadlets, kernelQuadlets, device, kernel);
        size_t last = first;
        while (last + 1 < count &&
               kindOf(last + 1, deviceQuadlets, kernelQuadlets, quadletAt(deviceRom, last + 1),
                      quadletAt(kernelRom, last + 1)) == kind)
            ++last;
        if (kind != Same)
            differences.push_back({static_cast<uint32_t>(4 * first), KindTexts[kind].kind,
                                   describe(kind, first, last, device, kernel)});
        first = last + 1;
    }
    return differences;
}

} // namespace lib1394
