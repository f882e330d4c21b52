#pragma once

#include "inspect/RomDecoder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// A ROM as a firmware author writes it by hand, in YAML: the bus information block's fields,
// the GUID and the root directory as a list of entries, each a key (a name of KeyNames.h or
// "0xKK") with its value: a number for an immediate or CSR offset entry, a text or a list of
// quadlets for a leaf, a list of entries for a directory. Offsets, lengths and CRCs are left
// out: building computes them, laying the blocks out in canonical order. A CRC that is to stay
// wrong is given: "crc" in bus_info, "root_crc", or a block as a map ({crc, text} or
// {crc, quadlets} for a leaf, {crc, entries} for a directory); quadlets after the last block
// are "trailing".
//
// Canonical order: the bus information block (info_length 4), the root directory at 14h, then
// the blocks the entries refer to breadth first: those of the root directory in entry order,
// then those of the first of them, and so on, each block right after the one before.

// The description of a ROM, wrong CRCs and trailing quadlets as they stand, or empty with the
// reason in refusal when a description would not build the same bytes (a block out of
// canonical order, a shared block, a gap, a block past the end): such a ROM is refused, never
// changed.
std::string describeRom(const decode::DecodedRom& rom, std::string& refusal);

// The ROM a description builds, or empty with the error (naming its line) in error.
std::vector<uint8_t> buildRom(const std::string& description, std::string& error);

} // namespace rombus
