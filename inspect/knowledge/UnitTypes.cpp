#include "inspect/knowledge/UnitTypes.h"

#include <algorithm>

namespace rombus::decode {
namespace {

struct UnitType {
    uint32_t specifierId;
    uint32_t version;
    const char* protocol;
};

constexpr uint32_t Ta1394 = 0x00A02D;
constexpr uint32_t Ncits = 0x00609E;
constexpr uint32_t Iana = 0x00005E;

// Unit architectures by the Unit_Spec_ID and Unit_SW_Version their owners assign.
const UnitType unitTypes[] = {
    // The 1394 Trade Association (00A02Dh), its list of assigned Unit_SW_Version codes.
    {Ta1394, 0x010001, "AV/C"},
    {Ta1394, 0x010002, "CAL"},
    {Ta1394, 0x010004, "EHS"},
    {Ta1394, 0x010008, "HAVi"},
    {Ta1394, 0x014000, "vendor unique"},
    {Ta1394, 0x014001, "vendor unique and AV/C"},
    {Ta1394, 0x000100, "IIDC 1.04 (digital camera)"},
    {Ta1394, 0x000101, "IIDC 1.20 (digital camera)"},
    {Ta1394, 0x000102, "IIDC 1.30 (digital camera)"},
    // The 1394 TA's IIDC2 digital camera standard, version code 000110h.
    {Ta1394, 0x000110, "IIDC2 (digital camera)"},
    {Ta1394, 0x0A6BE2, "Direct Print Protocol 1.0"},
    {Ta1394, 0x4B661F, "Instrument and Industrial Control Protocol 1.0"},
    // NCITS (00609Eh): SBP-2, ANSI NCITS 325-1998, clause 7; AV/C over SBP-3, the 1394 TA's
    // "AV/C over SBP-3" document (Unit_SW_Version 0105BBh under NCITS's specifier id).
    {Ncits, 0x010483, "SBP-2 (storage)"},
    {Ncits, 0x0105BB, "AV/C over SBP-3"},
    // The IANA (00005Eh): RFC 2734 (IPv4) and RFC 3146 (IPv6), registered with the IANA.
    {Iana, 0x000001, "IPv4 over IEEE 1394"},
    {Iana, 0x000002, "IPv6 over IEEE 1394"},
    // Point Grey Research (00B09Dh) gives its cameras' IIDC units its own specifier id with the
    // IIDC version codes; libdc1394 accepts them as IIDC cameras.
    {0x00B09D, 0x000100, "IIDC 1.04 (digital camera, Point Grey)"},
    {0x00B09D, 0x000101, "IIDC 1.20 (digital camera, Point Grey)"},
    {0x00B09D, 0x000102, "IIDC 1.30 (digital camera, Point Grey)"},
    // Apple (000A27h), the iSight camera: its audio unit is SW_ISIGHT_AUDIO (000010h) of the
    // Linux kernel's sound/firewire/isight.c; 000011h and 000012h its factory and iris units.
    {0x000A27, 0x000010, "Apple iSight audio"},
    {0x000A27, 0x000011, "Apple iSight factory"},
    {0x000A27, 0x000012, "Apple iSight iris"},
};

} // namespace

const char* unitProtocol(uint32_t specifierId, uint32_t version) {
    for (const UnitType& type : unitTypes)
        if (type.specifierId == specifierId && type.version == version)
            return type.protocol;
    return UnknownUnitType;
}

bool isStandardsBody(uint32_t specifierId) {
    static const uint32_t bodies[] = {Ta1394, Ncits, Iana};
    return std::find(std::begin(bodies), std::end(bodies), specifierId) != std::end(bodies);
}

bool namedByOwner(uint32_t specifierId, uint32_t version) {
    return unitProtocol(specifierId, version) == UnknownUnitType && !isStandardsBody(specifierId);
}

std::string unitName(uint32_t specifierId, uint32_t version,
                     const std::optional<std::string>& owner) {
    if (namedByOwner(specifierId, version) && owner && !owner->empty())
        return "vendor-specific unit of " + *owner;
    return unitProtocol(specifierId, version);
}

} // namespace rombus::decode
