#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace rombus {

// The hardware locators the module gives its devices: "IEEE1394PORT:<port>" for a port,
// "IEEE1394NODE:<port>:0x<GUID>" for a node, and for an entry of a node's ROM the node's locator
// followed by ':', a word (IMMEDIATE, LEAF, DIRECTORY) and '@' with the entry's CSR address in
// hexadecimal. This is the one place that reads them back.

// The CSR address at which a node's Configuration ROM begins.
constexpr uint64_t RomBase = 0xFFFFF0000400ull;

// The word and CSR address of an entry locator ("DIRECTORY", FFFFF0000414h).
struct EntryAddress {
    std::string word;
    uint64_t address = 0;

    // The ROM offset of the address, when it lies in the ROM's space.
    std::optional<uint32_t> romOffset() const;
};

// What follows the last ':' of a locator, when it is WORD@<hex digits>.
std::optional<EntryAddress> entryAddressOf(const std::string& locator);

// "DIRECTORY@fffff0000414": the last part of the locator of an entry at a ROM offset.
std::string entryLocatorTail(const char* word, uint32_t offset);

} // namespace rombus
