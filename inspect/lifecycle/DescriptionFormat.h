#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The numbers and tables a ROM description is read and written by.
namespace rombus::description {

constexpr unsigned ImmediateType = 0, CsrOffsetType = 1, LeafType = 2, DirectoryType = 3;
constexpr uint32_t BusInfoQuadlets = 5;
constexpr uint32_t InfoLength = 4;
constexpr uint32_t MinimalInfoLength = 1;
constexpr uint32_t MaxValue = 0xFFFFFF;
constexpr uint32_t MaxQuadlets = 256;
constexpr uint32_t MaxRomBytes = 4 * MaxQuadlets;

// The fields of the bus options quadlet: name, lowest bit, width.
struct BusField {
    const char* name;
    unsigned shift, width;
};
constexpr BusField busFields[] = {
    {"irmc", 31, 1},      {"cmc", 30, 1},         {"isc", 29, 1},     {"bmc", 28, 1},
    {"pmc", 27, 1},       {"cyc_clk_acc", 16, 8}, {"max_rec", 12, 4}, {"max_rom", 8, 2},
    {"generation", 4, 4}, {"link_spd", 0, 3},
};
// The bits of the bus options that no field holds, set only by "reserved".
constexpr uint32_t ReservedBusOptions = 0x07000C08;
constexpr uint32_t BusName1394 = 0x31333934;

// A textual descriptor in minimal ASCII: the two quadlets of zeros, then the text padded with
// zero bytes to a whole quadlet.
inline std::vector<uint32_t> textLeaf(const std::string& text) {
    std::vector<uint32_t> body = {0, 0};
    for (size_t i = 0; i < text.size(); i += 4) {
        uint32_t quadlet = 0;
        for (size_t j = 0; j < 4; ++j)
            quadlet = quadlet << 8 | (i + j < text.size() ? static_cast<uint8_t>(text[i + j]) : 0);
        body.push_back(quadlet);
    }
    return body;
}

} // namespace rombus::description
