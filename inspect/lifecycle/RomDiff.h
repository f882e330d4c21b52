#pragma once

#include "inspect/rom/RomDecoder.h"

#include <string>
#include <vector>

namespace rombus {

// One difference between two ROMs, aligned by structure: an entry is known by its path
// ("root/unit[0]/model"), the bus information block by its fields ("bus/max_rec", "guid").
struct RomChange {
    enum Kind { Changed, Added, Removed };
    Kind kind = Changed;
    std::string path;
    // "value" (an entry's value, a leaf's contents, a field), "crc" (a block's CRC: "ok", or
    // "FFFFh, not 2973h" as stored and as computed), "offset" (where a block stands, compared
    // only when asked) or "bytes" (a quadlet "rom/3Ch" whose bytes differ where no entry or
    // field tells it: "0000ABCD, outside every block").
    std::string aspect;
    std::string before; // empty for an added item
    std::string after;  // empty for a removed item
};

// The differences from ROM a to ROM b, in the order of b with what a alone holds where it stood,
// then the quadlets that differ outside every block, and, when the structure shows no
// difference, those that differ inside one: none only when the ROMs are equal byte for byte.
// Blocks that moved are told when layout is set, or when nothing else differs.
std::vector<RomChange> diffRoms(const decode::DecodedRom& a, const decode::DecodedRom& b,
                                bool layout);

// "changed", "added", "removed".
const char* changeKindName(RomChange::Kind kind);

} // namespace rombus
