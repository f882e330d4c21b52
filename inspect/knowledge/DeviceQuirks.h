#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// A quirk the Linux FireWire core gives a device from its ROM when it reads it, by the core's
// own name for it, and what the kernel does about it.
struct DeviceQuirk {
    const char* name;
    std::string text;
};

// The quirks the core detects from the bus information block (the bus options' generation, the
// GUID's company id) and from quadlets of the root directory that identify a model.
ROMBUS_API std::vector<DeviceQuirk> deviceQuirksOf(const std::vector<uint8_t>& rom);

} // namespace rombus
