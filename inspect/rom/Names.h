#pragma once

#include <cstdint>
#include <string>

namespace rombus {

// The names the reports give to the module's record levels and to the four key types, in one
// place so that the text report, the dump and JSON say the same.

// "progress" (0), "warning" (1), "error" (2 and above, as the module takes them).
const char* levelName(uint32_t level);

// "immediate", "CSR offset", "leaf", "directory" for key types 0 to 3.
const char* keyTypeName(unsigned type);

// The module's name of an entry key ("Immediate - Vendor", "Leaf - Textual Descriptor"...).
std::string entryName(uint8_t key);

} // namespace rombus
