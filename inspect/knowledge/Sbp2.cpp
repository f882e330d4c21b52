#include "inspect/knowledge/Sbp2.h"

#include "inspect/io/Format.h"

namespace rombus::decode {
namespace {

constexpr uint32_t Sbp2SpecifierId = 0x00609E;
constexpr uint32_t Sbp2Version = 0x010483;

// The entry keys SBP-2 defines in a unit directory, as the Linux kernel's drivers/firewire/sbp2.c
// names them too.
enum Sbp2Key : uint8_t {
    LogicalUnitNumber = 0x14,
    CommandSetSpecId = 0x38,
    CommandSet = 0x39,
    UnitCharacteristics = 0x3A,
    CommandSetRevision = 0x3B,
    FirmwareRevision = 0x3C,
    ManagementAgent = 0x54,
    LogicalUnitDirectory = 0xD4,
};

constexpr uint64_t CsrBase = 0xFFFFF0000000ull;
// Management ORB timeouts are counted in units of 500 ms.
constexpr uint32_t TimeoutUnitMs = 500;

Sbp2LogicalUnit logicalUnit(uint32_t entry, uint32_t directory, uint32_t value) {
    return {entry, directory, value & 0xFFFF, value >> 16 & 0x1F, (value >> 22 & 1) != 0};
}

// The SBP-2 entries of one directory, the unit's or a logical unit's.
void takeEntries(const std::vector<uint8_t>& rom, uint32_t directory, bool unitDirectory,
                 Sbp2Unit& unit) {
    for (const auto& [offset, quadlet] : directoryEntries(rom, directory)) {
        const uint32_t value = quadlet & 0xFFFFFF;
        switch (quadlet >> 24) {
        case CommandSetSpecId:
            unit.commandSetSpecId = value;
            break;
        case CommandSet:
            unit.commandSet = value;
            break;
        case CommandSetRevision:
            unit.commandSetRevision = value;
            break;
        case FirmwareRevision:
            unit.firmwareRevision = value;
            break;
        case UnitCharacteristics:
            unit.unitCharacteristics = value;
            break;
        case ManagementAgent:
            unit.managementAgent = value;
            break;
        case LogicalUnitNumber:
            unit.logicalUnits.push_back(logicalUnit(offset, unitDirectory ? 0 : directory, value));
            break;
        case LogicalUnitDirectory:
            if (unitDirectory)
                takeEntries(rom, offset + 4 * value, false, unit);
            break;
        }
    }
}

// The meanings of the SBP-2 entries of a directory, and of its logical unit directories.
void describeEntries(const std::vector<uint8_t>& rom, uint32_t directory, bool unitDirectory,
                     std::vector<std::pair<uint32_t, std::string>>& meanings) {
    for (const auto& [offset, quadlet] : directoryEntries(rom, directory)) {
        const std::string meaning = sbp2EntryMeaning(quadlet >> 24, quadlet & 0xFFFFFF);
        if (!meaning.empty())
            meanings.emplace_back(offset, "SBP-2 " + meaning);
        if (quadlet >> 24 == LogicalUnitDirectory && unitDirectory)
            describeEntries(rom, offset + 4 * (quadlet & 0xFFFFFF), false, meanings);
    }
}

} // namespace

std::optional<Sbp2Unit> sbp2Of(const std::vector<uint8_t>& rom, const UnitIds& unit) {
    if (unit.specifier != Sbp2SpecifierId || unit.version != Sbp2Version)
        return std::nullopt;
    Sbp2Unit sbp2;
    takeEntries(rom, unit.directory, true, sbp2);
    return sbp2;
}

std::string unitCharacteristicsText(uint32_t value) {
    return format("mgt_ORB_timeout %u ms, ORB_size %u quadlets",
                  (value >> 8 & 0xFF) * TimeoutUnitMs, value & 0xFF);
}

uint64_t managementAgentAddress(uint32_t offset) {
    return CsrBase + 4ull * offset;
}

std::string sbp2EntryMeaning(uint8_t key, uint32_t value) {
    switch (key) {
    case LogicalUnitNumber:
        return format("Logical_Unit_Number: LUN %u, device type %02Xh%s", value & 0xFFFF,
                      value >> 16 & 0x1F, (value >> 22 & 1) ? ", ordered" : "");
    case CommandSetSpecId:
        return format("Command_Set_Spec_ID %06Xh", value);
    case CommandSet:
        return format("Command_Set %06Xh", value);
    case CommandSetRevision:
        return format("Command_Set_Revision %06Xh", value);
    case FirmwareRevision:
        return format("Firmware_Revision %06Xh", value);
    case UnitCharacteristics:
        return "Unit_Characteristics: " + unitCharacteristicsText(value);
    case ManagementAgent:
        return "Management_Agent";
    case LogicalUnitDirectory:
        return "Logical_Unit_Directory";
    }
    return std::string();
}

std::vector<std::pair<uint32_t, std::string>> sbp2Meanings(const std::vector<uint8_t>& rom,
                                                           const std::vector<UnitIds>& units) {
    std::vector<std::pair<uint32_t, std::string>> meanings;
    for (const UnitIds& unit : units)
        if (sbp2Of(rom, unit))
            describeEntries(rom, unit.directory, true, meanings);
    return meanings;
}

} // namespace rombus::decode
