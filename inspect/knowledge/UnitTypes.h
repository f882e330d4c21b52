#pragma once

#include "inspect/model/NodeDevices.h"
#include "inspect/rom/RomWalk.h"

#include <cstdint>
#include <string>

namespace rombus::decode {

// What the report says of a unit whose architecture is not in the table.
constexpr const char* UnknownUnitType = "unknown unit type";

// The protocol of a unit architecture known by its specifier id and version, else
// UnknownUnitType.
const char* unitProtocol(uint32_t specifierId, uint32_t version);

// Whether a specifier id belongs to a body that publishes unit architectures for anyone to
// implement (the 1394 TA, NCITS, the IANA), rather than to one company.
bool isStandardsBody(uint32_t specifierId);

// The name of a unit: its protocol when the table knows it; else, for a specifier id of one
// company, "vendor-specific unit of <name>" with the name the module published for the
// specifier id entry; else UnknownUnitType.
std::string unitName(const UnitIds& unit, const NodeDevices& devices);

} // namespace rombus::decode
