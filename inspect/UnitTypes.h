#pragma once

#include <cstdint>

namespace rombus::decode {

// What the report says of a unit whose architecture is not in the table.
constexpr const char* UnknownUnitType = "unknown unit type";

// The protocol of a unit architecture known by its specifier id and version, else
// UnknownUnitType.
const char* unitProtocol(uint32_t specifierId, uint32_t version);

} // namespace rombus::decode
