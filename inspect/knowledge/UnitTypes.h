#pragma once

#include <cstdint>
#include <optional>
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

// Whether a unit's name needs the name of its specifier id's owner: the table does not know its
// architecture and the specifier id is one company's.
bool namedByOwner(uint32_t specifierId, uint32_t version);

// The name of a unit: its protocol when the table knows it; else, for a specifier id of one
// company whose name is known, "vendor-specific unit of <owner>"; else UnknownUnitType.
std::string unitName(uint32_t specifierId, uint32_t version,
                     const std::optional<std::string>& owner);

} // namespace rombus::decode
