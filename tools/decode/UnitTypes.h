#pragma once

#include <cstdint>

namespace rombus::decode {

// The protocol of a unit architecture known by its specifier id and version, or null.
const char* unitProtocol(uint32_t specifierId, uint32_t version);

// What the report says of a unit whose architecture is not in the table.
constexpr const char* UnknownUnitType = "unknown unit type";

} // namespace rombus::decode
