#include "inspect/knowledge/ProbeGates.h"

#include "inspect/io/Format.h"
#include "lib1394/RomImageBus.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace rombus {
namespace {

constexpr uint8_t ModelKey = 0x17;
constexpr uint8_t SpecifierKey = 0x12;
constexpr uint8_t DescriptorLeafKey = 0x81;

// snd-dice checks the GUID layout of the units its general entry (DICE interface version
// 000001h alone) takes; the category byte is 04h but for two companies of their own.
struct DiceCategory {
    uint32_t company;
    uint32_t category;
};
constexpr uint32_t DefaultDiceCategory = 0x04;
constexpr DiceCategory diceCategories[] = {{0x001C6A, 0x00}, {0x000FF2, 0x10}};

// snd-oxfw's entry for any model of Loud Technologies (000FF2h) takes a unit only when its
// model name is one of these, whole.
constexpr uint32_t LoudCompany = 0x000FF2;
constexpr const char* loudModels[] = {"Onyxi", "Onyx-i", "Onyx 1640i", "d.Pro", "U.420"};

// Models that snd-bebob takes as bootloaders: it tells them to start their firmware, and the
// device comes back with another ROM. The Audiophile shares its model id with its bootloader,
// which its model name tells apart.
struct Bootloader {
    const char* driver;
    uint32_t vendor, model;
    const char* namePrefix; // null: the ids alone tell
    const char* device;
};
constexpr Bootloader bootloaders[] = {
    {"snd_bebob", 0x0007F5, 0x010058, nullptr, "M-Audio FireWire 410"},
    {"snd_bebob", 0x000D6C, 0x010070, nullptr, "M-Audio FireWire 1814"},
    {"snd_bebob", 0x000D6C, 0x010060, "FW Audiophile B", "M-Audio FireWire Audiophile"},
};

const decode::RomEntry* unitEntry(const decode::DecodedRom& decoded, const decode::UnitIds& unit) {
    return decode::entryAt(decoded.root, unit.directory);
}

// A value of the unit directory itself, as the drivers read it: no inheritance from the root.
std::optional<uint32_t> ownValue(const decode::DecodedRom& decoded, const decode::UnitIds& unit,
                                 uint8_t key) {
    const decode::RomEntry* entry = unitEntry(decoded, unit);
    const decode::RomEntry* found = entry ? decode::firstWithKey(entry->children, key) : nullptr;
    return found ? std::optional<uint32_t>(found->value) : std::nullopt;
}

// snd-dice's check of the GUID against the unit directory's specifier and model ids; an id the
// directory lacks never matches, as in the driver.
ProbeNote diceGate(const decode::DecodedRom& decoded, const decode::UnitIds& unit) {
    const DiceGuid guid = diceGuidOf(lib1394::guidOfRom(decoded.rom));
    const auto specifier = ownValue(decoded, unit, SpecifierKey);
    const auto model = ownValue(decoded, unit, ModelKey);
    ProbeNote note{"snd_dice", ProbeVerdict::Refuses, ""};
    if (!specifier || !model) {
        note.text = "snd_dice refuses it: its general entry checks the GUID against the unit "
                    "directory's specifier and model ids, and the unit directory lacks one";
        return note;
    }
    const uint32_t category = diceCategoryFor(*specifier);
    if (guid.company != *specifier)
        note.text = format("snd_dice refuses it: the GUID's company id %06Xh is not the unit's "
                           "specifier id %06Xh",
                           guid.company, *specifier);
    else if (guid.category != category)
        note = {"snd_dice", ProbeVerdict::Refuses,
                format("snd_dice refuses it: the GUID's category byte is %02Xh, the driver wants "
                       "%02Xh",
                       guid.category, category),
                true};
    else if (guid.product != *model)
        note = {"snd_dice", ProbeVerdict::Refuses,
                format("snd_dice refuses it: the GUID's product id is %03Xh, the unit's model id "
                       "%06Xh",
                       guid.product, *model),
                true};
    else
        note = {"snd_dice", ProbeVerdict::Passes,
                format("snd_dice: the GUID has the DICE layout the driver checks (category %02Xh, "
                       "product %03Xh, serial %u)",
                       guid.category, guid.product, guid.serial)};
    return note;
}

std::optional<ProbeNote> loudGate(const decode::DecodedRom& decoded, const decode::UnitIds& unit) {
    const std::string name = unitModelName(decoded, unit);
    if (std::any_of(std::begin(loudModels), std::end(loudModels),
                    [&](const char* model) { return name == model; }))
        return std::nullopt;
    return ProbeNote{"snd_oxfw", ProbeVerdict::Refuses,
                     "snd_oxfw refuses it: its entry for any Loud model takes only units named "
                     "Onyxi, Onyx-i, Onyx 1640i, d.Pro or U.420, and this one is " +
                         (name.empty() ? std::string("not named") : "named \"" + name + "\"")};
}

bool startsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

} // namespace

DiceGuid diceGuidOf(uint64_t guid) {
    const auto low = static_cast<uint32_t>(guid);
    return {static_cast<uint32_t>(guid >> 40), static_cast<uint32_t>(guid >> 32) & 0xFF, low >> 22,
            low & 0x3FFFFF};
}

uint32_t diceCategoryFor(uint32_t specifier) {
    for (const DiceCategory& own : diceCategories)
        if (own.company == specifier)
            return own.category;
    return DefaultDiceCategory;
}

std::string unitModelName(const decode::DecodedRom& decoded, const decode::UnitIds& unit) {
    const decode::RomEntry* entry = unitEntry(decoded, unit);
    if (!entry)
        return std::string();
    const auto& children = entry->children;
    for (size_t i = 0; i + 1 < children.size(); ++i)
        if (children[i].key == ModelKey)
            return children[i + 1].key == DescriptorLeafKey && children[i + 1].text
                       ? *children[i + 1].text
                       : std::string();
    return std::string();
}

std::string bootloaderOf(const decode::DecodedRom& decoded, const decode::UnitIds& unit) {
    const std::string name = unitModelName(decoded, unit);
    for (const Bootloader& known : bootloaders)
        if (unit.vendor == known.vendor && unit.model == known.model &&
            (!known.namePrefix || startsWith(name, known.namePrefix)))
            return format("the bootloader of the %s: %s tells it to start its firmware, and the "
                          "device comes back with the firmware's ROM",
                          known.device, known.driver);
    const std::string lower = lowered(name);
    if (lower.find("bootloader") != std::string::npos ||
        lower.find("firmware update") != std::string::npos)
        return "it names itself \"" + name + "\": a device waiting for its firmware";
    return std::string();
}

std::vector<ProbeNote> probeNotes(const decode::DecodedRom& decoded, const decode::UnitIds& unit,
                                  const std::vector<DriverId>& matches) {
    std::vector<ProbeNote> notes;
    for (const DriverId& id : matches) {
        if (id.driver == "snd_dice" && id.flags == MatchVersion)
            notes.push_back(diceGate(decoded, unit));
        else if (id.driver == "snd_oxfw" && id.vendor == LoudCompany && !(id.flags & MatchModel)) {
            if (auto refusal = loudGate(decoded, unit))
                notes.push_back(std::move(*refusal));
        } else if (id.driver == "snd_bebob" && !bootloaderOf(decoded, unit).empty())
            notes.push_back({id.driver, ProbeVerdict::Bootloader, bootloaderOf(decoded, unit)});
    }
    return notes;
}

} // namespace rombus
