#include "inspect/UnitTypes.h"

namespace rombus::decode {
namespace {

struct UnitType {
    uint32_t specifierId;
    uint32_t version;
    const char* protocol;
};

// Unit architectures by the Unit_Spec_ID and Unit_SW_Version their standards assign.
const UnitType unitTypes[] = {
    // The 1394 Trade Association (00A02Dh), its list of assigned Unit_SW_Version codes.
    {0x00A02D, 0x010001, "AV/C"},
    {0x00A02D, 0x010002, "CAL"},
    {0x00A02D, 0x010004, "EHS"},
    {0x00A02D, 0x010008, "HAVi"},
    {0x00A02D, 0x014000, "vendor unique"},
    {0x00A02D, 0x014001, "vendor unique and AV/C"},
    {0x00A02D, 0x000100, "IIDC 1.04 (digital camera)"},
    {0x00A02D, 0x000101, "IIDC 1.20 (digital camera)"},
    {0x00A02D, 0x000102, "IIDC 1.30 (digital camera)"},
    {0x00A02D, 0x0A6BE2, "Direct Print Protocol 1.0"},
    {0x00A02D, 0x4B661F, "Instrument and Industrial Control Protocol 1.0"},
    // NCITS (00609Eh): SBP-2, ANSI NCITS 325-1998, clause 7.
    {0x00609E, 0x010483, "SBP-2 (storage)"},
    // The IANA (00005Eh): RFC 2734 (IPv4) and RFC 3146 (IPv6), registered with the IANA.
    {0x00005E, 0x000001, "IPv4 over IEEE 1394"},
    {0x00005E, 0x000002, "IPv6 over IEEE 1394"},
};

} // namespace

const char* unitProtocol(uint32_t specifierId, uint32_t version) {
    for (const UnitType& type : unitTypes)
        if (type.specifierId == specifierId && type.version == version)
            return type.protocol;
    return UnknownUnitType;
}

} // namespace rombus::decode
