#pragma once

#include "inspect/rom/RomDecoder.h"

#include <optional>
#include <string>

namespace rombus::decode {

// The vendor and model names a ROM gives itself, in textual descriptors: the one that follows
// the root directory's vendor id (03h) or model id (17h) entry, or that of a vendor directory
// (C3h) in the root; where the root has none, the one after a unit directory's id, else the
// vendor and model name leaves (81h, 82h) of an IIDC unit-dependent directory.
struct RomNames {
    std::optional<std::string> vendor, model;
};

RomNames romNamesOf(const DecodedRom& decoded);

} // namespace rombus::decode
