#pragma once

// How the fuzz targets read their input: the first byte chooses the mode of the run, the rest is
// the data. The corpus generator writes its seeds through the same definitions.
#include <cstdint>

namespace rombus_fuzz {

// ROM target: bit 0 set reads the node directly with CRC checks off (else the whole bus is
// enumerated, CRCs checked); bits 1 and 2 give CRCMismatchLogLevel 0 to 3.
constexpr uint8_t RomCrcOff = 0x01;
constexpr unsigned RomLevelShift = 1;
constexpr uint8_t romMode(bool crcOff, unsigned level) {
    return static_cast<uint8_t>((crcOff ? RomCrcOff : 0) | (level & 3) << RomLevelShift);
}

// Image target: bits 0 and 1 give the byte order (0 and 3 detect, 1 bus order, 2 little-endian);
// bit 2 set reads the data from a file instead of decoding it in memory.
constexpr uint8_t ImageFromFile = 0x04;
constexpr uint8_t imageMode(unsigned order, bool fromFile) {
    return static_cast<uint8_t>((order & 3) | (fromFile ? ImageFromFile : 0));
}

} // namespace rombus_fuzz
