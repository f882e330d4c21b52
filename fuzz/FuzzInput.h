#pragma once

// How the fuzz targets read their input: the first byte chooses the mode of the run, the rest is
// the data. The corpus generator writes its seeds through the same definitions.
#include <cstddef>
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

// Live target: the first byte's bits choose what the node does wrong, the next two bytes where
// (a quadlet, or a number of requests) and how often; the rest is the device's ROM.
enum LiveFault : uint8_t {
    LiveBusy = 0x01,        // the quadlet at the position answers busy, count times
    LiveSilent = 0x02,      // the quadlet at the position gets no response, count times
    LiveBooting = 0x04,     // the first quadlet reads 0, count times
    LiveReset = 0x08,       // a bus reset after position requests
    LiveChange = 0x10,      // the ROM's quadlets reversed after position requests
    LiveVanish = 0x20,      // the node gone after position requests
    LiveKernelShort = 0x40, // the kernel's copy holds only the first position quadlets
};
constexpr size_t LiveHeader = 3;

} // namespace rombus_fuzz
