#pragma once

#include "vesk5/SysInfoDevice.h"

#include <string>

namespace rombus {

// The properties the module published for a device, as a person reads them in the tree: in the
// order published, except that an entry's value leads and its vendor's name follows it; a ROM
// text as the kernel shows it; nothing for what the tree itself shows.
std::string properties(const vesk5::SysInfoDevice& device);

} // namespace rombus
