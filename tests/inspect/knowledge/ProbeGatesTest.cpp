#include "inspect/knowledge/ProbeGates.h"
#include "inspect/knowledge/DeviceQuirks.h"
#include "inspect/knowledge/DriverMatch.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

namespace {

using rombus::ProbeVerdict;
using rombus_test::BusInfo;
using rombus_test::RomLayout;

uint64_t diceGuid(uint32_t company, uint32_t category, uint32_t product, uint32_t serial) {
    return uint64_t{company} << 40 | uint64_t{category} << 32 | uint64_t{product} << 22 | serial;
}

// A DICE device: the root names the company, one unit of the DICE interface (version 000001h)
// with the company's specifier id and a model id.
rombus::decode::DecodedRom diceRom(uint64_t guid, uint32_t specifier, uint32_t model) {
    BusInfo info;
    info.guid = guid;
    RomLayout layout(info);
    layout.directory({RomLayout::immediate(0x03, specifier), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, specifier), RomLayout::immediate(0x13, 0x000001),
                      RomLayout::immediate(0x17, model)});
    return rombus::decode::decodeRom(layout.image());
}

std::vector<rombus::ProbeNote> notesOf(const rombus::decode::DecodedRom& decoded) {
    const auto match = rombus::matchUnit(rombus::shippedDriverTable(), decoded.units.at(0));
    return rombus::probeNotes(decoded, decoded.units.at(0), match.matches);
}

TEST(DiceGate, TheGuidMustCarryTheCompanyCategoryAndProduct) {
    struct Case {
        uint64_t guid;
        uint32_t specifier, model;
        ProbeVerdict verdict;
        const char* text;
        bool likelyBug = false;
    };
    const Case cases[] = {
        {diceGuid(0x00130E, 0x04, 0x005, 1234), 0x00130E, 0x005, ProbeVerdict::Passes,
         "snd_dice: the GUID has the DICE layout the driver checks (category 04h, product 005h, "
         "serial 1234)"},
        {diceGuid(0x00130E, 0x05, 0x005, 1), 0x00130E, 0x005, ProbeVerdict::Refuses,
         "snd_dice refuses it: the GUID's category byte is 05h, the driver wants 04h", true},
        {diceGuid(0x00130E, 0x04, 0x006, 1), 0x00130E, 0x005, ProbeVerdict::Refuses,
         "snd_dice refuses it: the GUID's product id is 006h, the unit's model id 000005h", true},
        {diceGuid(0x00130F, 0x04, 0x005, 1), 0x00130E, 0x005, ProbeVerdict::Refuses,
         "snd_dice refuses it: the GUID's company id 00130Fh is not the unit's specifier id "
         "00130Eh"},
        // Loud's own category is 10h: 04h is refused.
        {diceGuid(0x000FF2, 0x04, 0x005, 1), 0x000FF2, 0x005, ProbeVerdict::Refuses,
         "snd_dice refuses it: the GUID's category byte is 04h, the driver wants 10h", true},
        {diceGuid(0x000FF2, 0x10, 0x005, 1), 0x000FF2, 0x005, ProbeVerdict::Passes, nullptr},
        // A model id past the GUID's ten bits can never be met.
        {diceGuid(0x00130E, 0x04, 0x005, 1), 0x00130E, 0x405, ProbeVerdict::Refuses, nullptr, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.guid);
        const auto notes = notesOf(diceRom(c.guid, c.specifier, c.model));
        ASSERT_EQ(notes.size(), 1u);
        EXPECT_EQ(notes[0].driver, "snd_dice");
        EXPECT_EQ(notes[0].verdict, c.verdict);
        EXPECT_EQ(notes[0].likelyBug, c.likelyBug);
        if (c.text)
            EXPECT_EQ(notes[0].text, c.text);
    }
}

TEST(DiceGate, ADeviceOfItsOwnEntryIsNotChecked) {
    // Weiss's DAC202 (001C6Ah, model 000007h) has an entry of its own in snd-dice's table.
    const auto notes = notesOf(diceRom(diceGuid(0x001C6A, 0x04, 0x007, 1), 0x001C6A, 0x000007));
    EXPECT_TRUE(notes.empty());
}

TEST(DiceGuid, FieldsFromTheirBits) {
    const auto guid = rombus::diceGuidOf(0x0001C6A00FFFFFFFull);
    EXPECT_EQ(guid.company, 0x0001C6u);
    EXPECT_EQ(guid.category, 0xA0u);
    EXPECT_EQ(guid.product, 0x03Fu);
    EXPECT_EQ(guid.serial, 0x3FFFFFu);
    EXPECT_EQ(rombus::diceCategoryFor(0x001C6A), 0x00u);
    EXPECT_EQ(rombus::diceCategoryFor(0x000FF2), 0x10u);
    EXPECT_EQ(rombus::diceCategoryFor(0x00130E), 0x04u);
}

rombus::decode::DecodedRom avcRom(uint32_t vendor, uint32_t model, const std::string& name) {
    RomLayout layout;
    layout.directory({RomLayout::immediate(0x03, vendor), RomLayout::ref(0xD1, 1)});
    layout.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 0x010001),
                      RomLayout::immediate(0x17, model), RomLayout::ref(0x81, 2)});
    layout.textLeaf(name);
    return rombus::decode::decodeRom(layout.image());
}

TEST(Bootloader, ByIdsByTheAudiophileNameAndByAName) {
    const auto fw1814 = avcRom(0x000D6C, 0x010070, "FW 1814");
    EXPECT_EQ(rombus::unitModelName(fw1814, fw1814.units[0]), "FW 1814");
    const auto notes = notesOf(fw1814);
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0].verdict, ProbeVerdict::Bootloader);
    EXPECT_NE(notes[0].text.find("M-Audio FireWire 1814"), std::string::npos) << notes[0].text;

    // The Audiophile and its bootloader share their ids: the name tells them apart.
    const auto booting = avcRom(0x000D6C, 0x010060, "FW Audiophile Bootloader");
    EXPECT_FALSE(rombus::bootloaderOf(booting, booting.units[0]).empty());
    const auto running = avcRom(0x000D6C, 0x010060, "FW Audiophile");
    EXPECT_TRUE(rombus::bootloaderOf(running, running.units[0]).empty());
    EXPECT_TRUE(notesOf(running).empty());

    // Any device that calls itself a bootloader, whether a driver takes it or not.
    const auto other = avcRom(0x123456, 0x000001, "Interface BOOTLOADER v2");
    EXPECT_NE(rombus::bootloaderOf(other, other.units[0]).find("Interface BOOTLOADER v2"),
              std::string::npos);
}

TEST(LoudGate, SndOxfwTakesAnyLoudModelOnlyByItsName) {
    // Mackie's Onyx FireWire card: snd-bebob's own entry takes it; snd-oxfw's refuses it.
    const auto onyx = avcRom(0x000FF2, 0x010065, "Onyx FireWire");
    const auto notes = notesOf(onyx);
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0].driver, "snd_oxfw");
    EXPECT_EQ(notes[0].verdict, ProbeVerdict::Refuses);
    EXPECT_EQ(notes[0].text, "snd_oxfw refuses it: its entry for any Loud model takes only units "
                             "named Onyxi, Onyx-i, Onyx 1640i, d.Pro or U.420, and this one is "
                             "named \"Onyx FireWire\"");
    EXPECT_FALSE(notes[0].likelyBug);
    EXPECT_TRUE(notesOf(avcRom(0x000FF2, 0x081216, "Onyx-i")).empty());
    // The whole name, not a part of it.
    EXPECT_EQ(notesOf(avcRom(0x000FF2, 0x081216, "Onyx-i 1220")).size(), 1u);
    // The Tapco Link.FireWire 4x6 has an entry of its own model: no check.
    EXPECT_TRUE(notesOf(avcRom(0x000FF2, 0x000460, "LINK.firewire 4x6")).empty());
}

std::vector<std::string> quirkNames(const std::vector<uint32_t>& quadlets) {
    std::vector<std::string> names;
    for (const auto& quirk : rombus::deviceQuirksOf(rombus_test::busOrderBytes(quadlets)))
        names.push_back(quirk.name);
    return names;
}

// The quirks the core finds in a ROM, quadlet by quadlet: no CRC is looked at.
TEST(DeviceQuirks, FromTheBusInformationBlockAndTheRootDirectory) {
    const uint32_t bib[] = {0x0404ABCD, 0x31333934, 0xE0008032, 0x0030E000, 0x00000001};
    std::vector<uint32_t> rom(std::begin(bib), std::end(bib));
    EXPECT_TRUE(quirkNames(rom).empty());

    rom[2] = 0xE0008002; // generation 0
    EXPECT_EQ(quirkNames(rom), std::vector<std::string>{"IRM_IS_1394_1995_ONLY"});
    rom[2] = 0xE0008032;
    rom[3] = 0x00008500; // Canon's company id
    EXPECT_EQ(quirkNames(rom), std::vector<std::string>{"IRM_IGNORES_BUS_MANAGER"});

    // The MOTU Audio Express, by its root directory's quadlets 1, 3, 4, 6, 7 and 8.
    rom[3] = 0x0001F200;
    const uint32_t motu[] = {0x00080000, 0x030001F2, 0x0C0083C0, 0xD1000002, 0x8D000005,
                             0x00000000, 0x120001F2, 0x13000033, 0x17104800};
    rom.insert(rom.end(), std::begin(motu), std::end(motu));
    EXPECT_EQ(quirkNames(rom), std::vector<std::string>{"ACK_PACKET_WITH_INVALID_PENDING_CODE"});
    rom[5 + 7] = 0x13000034;
    EXPECT_TRUE(quirkNames(rom).empty());
    // A ROM that ends before the quadlets it is known by is not the model.
    rom.resize(5 + 8);
    rom[5 + 7] = 0x13000033;
    EXPECT_TRUE(quirkNames(rom).empty());

    rom.resize(5);
    const uint32_t tascam[] = {0x00080000, 0x0300022E, 0x0C0083C0, 0x8D000006, 0xD1000001,
                               0x00000000, 0x1200022E, 0x00000000, 0xD4000004};
    rom.insert(rom.end(), std::begin(tascam), std::end(tascam));
    EXPECT_EQ(quirkNames(rom), std::vector<std::string>{"UNSTABLE_AT_S400"});
}

} // namespace
