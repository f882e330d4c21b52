#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// A ROM with every CRC the decoder reaches set to the one of its block, and what that changed.
struct RomRepair {
    std::vector<uint8_t> rom;
    std::vector<std::string> changes; // one sentence each: the block and its old and new value
    std::vector<std::string> left;    // blocks whose CRC cannot be known or made right, and why
};

// Corrects the CRCs of the bus information block and of every directory and leaf reached from
// the root directory, and, when fixCrcLength is set, first sets crc_length to cover the whole
// ROM. A block covered by another (crc_length over the whole ROM, overlapping leaves) is
// corrected before it, pass after pass until no CRC changes, so that one repair leaves every
// CRC it can right; what it cannot is told in left.
RomRepair repairRom(const std::vector<uint8_t>& rom, bool fixCrcLength);

} // namespace rombus
