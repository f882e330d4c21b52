#include "inspect/rom/KeyNames.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace rombus {
namespace {

struct KeyName {
    uint8_t key;
    const char* name;
};

// Key type in bits 7-6 (0 immediate, 1 CSR offset, 2 leaf, 3 directory), key id in bits 5-0.
constexpr KeyName keyNames[] = {
    {0x81, "descriptor"},
    {0xC1, "descriptor_directory"},
    {0x82, "bus_dependent_info"},
    {0x03, "vendor"},
    {0x04, "hardware_version"},
    {0x07, "module"},
    {0x0C, "node_capabilities"},
    {0x8D, "eui_64"},
    {0xD1, "unit"},
    {0x12, "specifier_id"},
    {0x13, "version"},
    {0xD4, "dependent_info"},
    {0x95, "unit_location"},
    {0x17, "model"},
    {0xD8, "instance"},
    {0x99, "keyword"},
    {0xDA, "feature"},
    {0x9F, "modifiable_descriptor"},
    {0x20, "directory_id"},
};

} // namespace

std::string keyToken(uint8_t key) {
    for (const KeyName& known : keyNames)
        if (known.key == key)
            return known.name;
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", key);
    return text;
}

std::optional<uint8_t> keyOfToken(const std::string& token) {
    for (const KeyName& known : keyNames)
        if (token == known.name)
            return known.key;
    if (token.size() != 4 || token[0] != '0' || (token[1] != 'x' && token[1] != 'X') ||
        !std::isxdigit(static_cast<unsigned char>(token[2])) ||
        !std::isxdigit(static_cast<unsigned char>(token[3])))
        return std::nullopt;
    return static_cast<uint8_t>(std::strtoul(token.c_str() + 2, nullptr, 16));
}

} // namespace rombus
