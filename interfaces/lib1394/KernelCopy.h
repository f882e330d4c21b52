#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lib1394 {

// Where the kernel's cached copy of a ROM and the ROM read from the device disagree: a run of
// quadlets of one kind, from a byte offset of the ROM.
struct RomDifference {
    uint32_t offset;
    // kernel-missing: the device holds quadlets past the end of the kernel's copy (the kernel keeps
    //   only what its walk from the root directory reached);
    // kernel-zeroed: the kernel's copy holds 0 where the device does not (the kernel zeroes
    //   entries that point past 256 quadlets and headers of blocks that run past them);
    // kernel-unreached: the kernel's copy holds 0 where the device does not, in a quadlet the
    //   kernel does not zero: one its walk never reached (it fills such gaps with 0);
    // changed: both hold other values (the ROM changed since the kernel read it, or a quadlet no
    //   block reaches that the device was not asked for);
    // device-missing: the kernel's copy holds quadlets past the end of the ROM as read.
    std::string kind;
    std::string text;
};

// The differences between the ROM read from a device and the kernel's copy, both in bus order,
// in the order of their offsets; none when they agree. Quadlets of 0 past the end of the other
// copy are no difference: the kernel and the live reader fill gaps with 0.
ROMBUS_API std::vector<RomDifference> compareKernelCopy(const std::vector<uint8_t>& deviceRom,
                                                        const std::vector<uint8_t>& kernelRom);

} // namespace lib1394
