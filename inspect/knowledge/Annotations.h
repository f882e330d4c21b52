#pragma once

#include "inspect/rom/RomDecoder.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace rombus::decode {

// What the decoder knows of entries beyond their key's name, by the ROM offset of each entry:
// the text of an IIDC model name leaf, the keywords of a keyword leaf, and the meaning of every
// SBP-2 entry of an SBP-2 unit.
std::vector<std::pair<uint32_t, std::string>> entryAnnotations(const DecodedRom& decoded);

} // namespace rombus::decode
