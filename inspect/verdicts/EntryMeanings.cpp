#include "inspect/verdicts/EntryMeanings.h"

#include "inspect/knowledge/UnitTypes.h"

namespace rombus {
namespace {

using decode::RomEntry;

constexpr uint8_t DependentDirectoryKey = 0xD4;

// Key ids of IEEE 1212-1994 that IEEE 1212-2001 no longer defines as they were, the directory
// IEEE 1212-1994 put them in (the root directory, else a unit directory), and the fact's place
// in a current ROM.
struct FormerKey {
    uint8_t keyId;
    const char* name;
    bool inRoot;
    const char* now;
};

const FormerKey formerKeys[] = {
    {0x05, "Module_Spec_Id", true, "a unit directory's Specifier_ID entry (key 12h)"},
    {0x06, "Module_Sw_Version", true, "a unit directory's Version entry (key 13h)"},
    {0x08, "Node_Vendor_Id", true,
     "the Vendor entry (key 03h) of the root directory and the GUID's company id"},
    {0x09, "Node_Hw_Version", true, "the Hardware_Version entry (key 04h)"},
    {0x0A, "Node_Spec_Id", true, "a unit directory's Specifier_ID entry (key 12h)"},
    {0x0B, "Node_Sw_Version", true, "a unit directory's Version entry (key 13h)"},
    {0x0E, "Node_Units_Extent", true, "nothing: IEEE 1212-2001 dropped it"},
    {0x0F, "Node_Memory_Extent", true, "nothing: IEEE 1212-2001 dropped it"},
    {0x10, "Node_Dependent_Info", true, "a Dependent_Info entry (key 14h)"},
    {0x16, "Unit_Poll_Mask", false, "nothing: IEEE 1212-2001 dropped it"},
};

const FormerKey* formerKey(uint8_t key) {
    for (const FormerKey& former : formerKeys)
        if (former.keyId == (key & 0x3F))
            return &former;
    return nullptr;
}

// Entries a unit architecture puts in its unit directory or unit-dependent directory, where the
// IEEE 1212 rules refuse them, for the versions first to last of the architecture.
struct ArchitectureEntry {
    uint32_t specifierId;
    uint32_t firstVersion, lastVersion;
    uint8_t key;
    const char* name;
};

// The IIDC standard for 1394-based digital cameras, versions 1.04 to 1.30: the camera's register
// base as a CSR offset, and its vendor and model name leaves.
const ArchitectureEntry architectureEntries[] = {
    {0x00A02D, 0x000100, 0x000102, 0x40, "command_regs_base"},
    {0x00A02D, 0x000100, 0x000102, 0x81, "vendor_name_leaf"},
    {0x00A02D, 0x000100, 0x000102, 0x82, "model_name_leaf"},
};

// Whether the directory at an offset is the unit directory at another or one of its
// unit-dependent directories.
bool ofUnit(const decode::DecodedRom& decoded, uint32_t unitDirectory, uint32_t directory) {
    if (unitDirectory == directory)
        return true;
    for (const RomEntry& entry : decoded.root) {
        if (entry.target != unitDirectory)
            continue;
        for (const RomEntry& child : entry.children)
            if (child.key == DependentDirectoryKey && child.target == directory)
                return true;
    }
    return false;
}

} // namespace

std::string formerMeaning(uint8_t key) {
    const FormerKey* former = formerKey(key);
    if (!former)
        return std::string();
    return std::string(former->name) +
           " in IEEE 1212-1994, superseded by IEEE 1212-2001: current ROMs write it in " +
           former->now;
}

bool formerlyPermitted(uint8_t key, bool rootDirectory) {
    const FormerKey* former = formerKey(key);
    return former && former->inRoot == rootDirectory;
}

std::optional<ArchitectureMeaning> architectureMeaning(const decode::DecodedRom& decoded,
                                                       uint32_t directory, uint8_t key) {
    for (const decode::UnitIds& unit : decoded.units) {
        if (!ofUnit(decoded, unit.directory, directory))
            continue;
        for (const ArchitectureEntry& known : architectureEntries)
            if (known.specifierId == unit.specifier && unit.version >= known.firstVersion &&
                unit.version <= known.lastVersion && known.key == key)
                return ArchitectureMeaning{decode::unitProtocol(unit.specifier, unit.version),
                                           known.name};
    }
    return std::nullopt;
}

} // namespace rombus
