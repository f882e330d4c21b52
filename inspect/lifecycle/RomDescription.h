#pragma once

#include "inspect/rom/RomDecoder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// A ROM as a firmware author writes it by hand, in YAML: the bus information block's fields,
// the GUID and the root directory as a list of entries, each a key (a name of KeyNames.h or
// "0xKK") with its value: a number for an immediate or CSR offset entry, a text or a list of
// quadlets for a leaf, a list of entries for a directory. Offsets, lengths and CRCs are left
// out: building computes them, laying the blocks out in canonical order. What a ROM holds out of
// that order is written as it stands: a CRC that is not the block's ("crc" in bus_info,
// "root_crc", or a block written as a map, {crc, text} or {crc, quadlets} for a leaf, {crc,
// entries} for a directory), a block's offset ("at" in that map), an entry that refers to a
// block described before or outside the ROM ({value: N}, the entry's value as it stands) and
// the quadlets no block holds ("unreferenced", by offset).
//
// Canonical order: the bus information block (info_length 4), the root directory at 14h, then
// the blocks the entries refer to breadth first: those of the root directory in entry order,
// then those of the first of them, and so on, each block right after the one before.

// The description of a ROM: in canonical layout when that builds the same bytes, else with every
// block at its offset. Empty, with the reason in refusal, when no description builds the same
// bytes (a block past the end of the ROM, a bus information block of another length than 4):
// such a ROM is refused, never changed.
std::string describeRom(const decode::DecodedRom& rom, std::string& refusal);

// The ROM a description builds, or empty with the error (naming its line) in error.
std::vector<uint8_t> buildRom(const std::string& description, std::string& error);

} // namespace rombus
