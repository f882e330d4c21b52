#pragma once

#include "inspect/rom/RomDecoder.h"
#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rombus {

// Why a block's stored CRC is not the one of its quadlets: the ids of the firmware mistakes that
// give the stored value ("placeholder", "length-whole-rom", "length-info", "length-quadlets",
// "header-included", "little-endian", "bytes-swapped"), and what they mean ("the CRC was computed
// over the whole ROM (24 quadlets) instead of crc_length (4)"). No id when no known mistake, or
// combination of two or three, gives the stored value.
struct CrcCause {
    std::vector<std::string> ids;
    std::string text;

    bool known() const { return !ids.empty(); }
};

// The causes of a complete block's wrong CRC, tried in a fixed order: a placeholder, another
// length, the header included, little-endian quadlets, the result's bytes swapped, then their
// combinations, fewest first.
ROMBUS_API CrcCause crcCauseOf(const decode::DecodedRom& decoded, const decode::RomBlock& block);

// "the bus information block", "the directory", "the leaf".
ROMBUS_API const char* blockName(const decode::RomBlock& block);

// The quadlet to store at a block's header for its CRC to be right: its lengths as they are,
// the CRC of the quadlets it covers.
ROMBUS_API uint32_t fixedHeader(const decode::DecodedRom& decoded, const decode::RomBlock& block);

} // namespace rombus
