#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace rombus {

// The short names a ROM's entries go by in entry paths and ROM descriptions, from the key ids of
// IEEE 1212 and IEEE 1394: "vendor", "model", "unit", "descriptor"... Each name stands for one
// key, its usual type with its id (vendor 03h, unit D1h, descriptor 81h); any other key is
// written as two hexadecimal digits, "0x38".

// The name of a key, or "0xKK".
std::string keyToken(uint8_t key);

// The key a name or "0xKK" stands for.
std::optional<uint8_t> keyOfToken(const std::string& token);

} // namespace rombus
