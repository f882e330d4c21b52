#include "inspect/knowledge/DriverMatch.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

namespace {

using rombus::DriverId;
using rombus::DriverTable;
using rombus::decode::UnitIds;
using rombus_test::RomLayout;

UnitIds unitOf(uint32_t vendor, uint32_t model, uint32_t specifier, uint32_t version) {
    UnitIds unit;
    unit.vendor = vendor;
    unit.model = model;
    unit.specifier = specifier;
    unit.version = version;
    return unit;
}

std::vector<std::string> driversOf(const rombus::UnitMatch& match) {
    std::vector<std::string> names;
    for (const DriverId& id : match.matches)
        names.push_back(id.driver);
    return names;
}

// Each flag compares its field alone; a field the flags leave out may hold anything.
TEST(DriverMatch, EachMatchFlagComparesItsFieldOnly) {
    const UnitIds unit = unitOf(0x000D6C, 0x010071, 0x00A02D, 0x014001);
    struct Case {
        uint32_t flags;
        uint32_t vendor, model, specifier, version;
        bool matches;
    };
    const Case cases[] = {
        {rombus::MatchVendor, 0x000D6C, 0xFFFFFF, 0, 0, true},
        {rombus::MatchVendor, 0x000D6D, 0x010071, 0x00A02D, 0x014001, false},
        {rombus::MatchModel, 0, 0x010071, 0, 0, true},
        {rombus::MatchModel, 0x000D6C, 0x010070, 0x00A02D, 0x014001, false},
        {rombus::MatchSpecifier, 1, 2, 0x00A02D, 3, true},
        {rombus::MatchSpecifier, 0x000D6C, 0x010071, 0x00A02C, 0x014001, false},
        {rombus::MatchVersion, 1, 2, 3, 0x014001, true},
        {rombus::MatchVersion, 0x000D6C, 0x010071, 0x00A02D, 0x010001, false},
        {0xF, 0x000D6C, 0x010071, 0x00A02D, 0x014001, true},
        {0xE, 0x000D6C, 0x010071, 0x00A02D, 0x000000, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "flags " << c.flags << " model " << c.model);
        const DriverId id{"d", c.flags, c.vendor, c.model, c.specifier, c.version, "k"};
        EXPECT_EQ(rombus::entryMatches(id, unit), c.matches);
    }
}

// The ids as the kernel gathers them: the root's, a vendor directory's in the root, the unit's;
// an id no directory gives counts as 0, which an entry may name.
TEST(DriverMatch, IdsFromTheLegacyVendorDirectoryAndAbsentIdsAsZero) {
    RomLayout legacy;
    legacy.directory({RomLayout::ref(0xC3, 1), RomLayout::ref(0xD1, 2)});
    legacy.directory({RomLayout::immediate(0x03, 0x000D6C), RomLayout::immediate(0x17, 0x010060)});
    legacy.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 0x010001)});
    const auto units = rombus::decode::unitsOf(legacy.image());
    ASSERT_EQ(units.size(), 1u);
    const DriverTable& shipped = rombus::shippedDriverTable();
    EXPECT_EQ(driversOf(rombus::matchUnit(shipped, units[0])),
              std::vector<std::string>{"snd_bebob"});

    // The Phonic Helix Board Universal models have model id 0 in snd-bebob's table: a ROM that
    // gives no model id at all is taken the same.
    RomLayout noModel;
    noModel.directory({RomLayout::immediate(0x03, 0x001496), RomLayout::ref(0xD1, 1)});
    noModel.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 0x010001)});
    const auto phonic = rombus::decode::unitsOf(noModel.image());
    ASSERT_EQ(phonic.size(), 1u);
    EXPECT_EQ(phonic[0].model, 0u);
    EXPECT_EQ(driversOf(rombus::matchUnit(shipped, phonic[0])),
              std::vector<std::string>{"snd_bebob"});
}

// What the kernel's tables take, typed from the drivers' published ids.
TEST(DriverMatch, TheShippedTableTakesTheUnitsItsDriversTake) {
    struct Case {
        UnitIds unit;
        std::vector<std::string> drivers;
    };
    const Case cases[] = {
        {unitOf(0x0030E0, 0x000001, 0x00609E, 0x010483), {"firewire_sbp2"}},
        // IPv4's version 000001h is the DICE interface's too (see below).
        {unitOf(0, 0, 0x00005E, 0x000001), {"firewire_net", "snd_dice"}},
        {unitOf(0, 0, 0x00005E, 0x000002), {"firewire_net"}},
        {unitOf(0x001287, 0x000024, 0x00A02D, 0x010001), {"firedtv"}},
        {unitOf(0x00130E, 0x000005, 0x00130E, 0x000001), {"snd_dice"}},
        {unitOf(0x001486, 0x000AF2, 0x00A02D, 0x010000), {"snd_fireworks"}},
        {unitOf(0x000A35, 0x101800, 0x000A35, 0x000004), {"snd_fireface"}},
        {unitOf(0x0001F2, 0x104800, 0x0001F2, 0x000033), {"snd_firewire_motu"}},
        {unitOf(0x0001F2, 0x000000, 0x0001F2, 0x000001), {"snd_firewire_motu", "snd_dice"}},
        {unitOf(0x00022E, 0x800003, 0x00022E, 0x800003), {"snd_firewire_tascam"}},
        // Version 000001h is also the DICE interface: snd-dice's general entry takes the unit
        // too, and refuses it at probe time when the GUID is not a DICE one.
        {unitOf(0x00A07E, 0x000001, 0x00A07E, 0x000001), {"snd_firewire_digi00x", "snd_dice"}},
        {unitOf(0x000A27, 0x000008, 0x000A27, 0x000010), {"snd_isight"}},
        {unitOf(0x001292, 0x00F970, 0x00A02D, 0x010001), {"snd_oxfw"}},
        // Loud's AV/C units: snd-oxfw's entry for any of its models, and snd-bebob's own model.
        {unitOf(0x000FF2, 0x010065, 0x00A02D, 0x010001), {"snd_oxfw", "snd_bebob"}},
        {unitOf(0x0030E0, 0x000001, 0x00A02D, 0x010001), {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(rombus::decode::modalias(c.unit));
        auto drivers = driversOf(rombus::matchUnit(rombus::shippedDriverTable(), c.unit));
        auto expected = c.drivers;
        std::sort(drivers.begin(), drivers.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(drivers, expected);
    }
}

TEST(DriverMatch, ADriverIsKeptOnceByItsMostSpecificEntry) {
    DriverTable table;
    table.ids = {{"snd_dice", rombus::MatchVersion, 0, 0, 0, 1, "k"},
                 {"snd_dice", rombus::MatchVendor | rombus::MatchModel, 0x001C6A, 4, 0, 0, "k"},
                 {"snd_dice", rombus::MatchVendor | rombus::MatchModel, 0x001C6A, 5, 0, 0, "k"}};
    const auto match = rombus::matchUnit(table, unitOf(0x001C6A, 4, 0x001C6A, 1));
    ASSERT_EQ(match.matches.size(), 1u);
    EXPECT_EQ(match.matches[0].flags, rombus::MatchVendor | rombus::MatchModel);
    EXPECT_EQ(match.matches[0].model, 4u);
    EXPECT_TRUE(match.nearest.empty());
}

// Where nothing takes a unit, the entries of its vendor (or of none) that miss it by one id.
TEST(DriverMatch, NearestEntriesSayWhichIdDiffers) {
    DriverTable table;
    table.ids = {
        {"snd_oxfw", rombus::MatchVendor | rombus::MatchSpecifier, 0x000FF2, 0, 0xA02D, 0, "k"},
        {"snd_bebob", 0x7, 0x000D6C, 0x010070, 0x00A02D, 0, "k"},
        {"snd_bebob", 0x7, 0x000D6C, 0x010081, 0x00A02E, 0, "k"},
        {"firewire_sbp2", 0xC, 0, 0, 0x00A02D, 0x010483, "k"},
        {"snd_dice", rombus::MatchVersion, 0, 0, 0, 1, "k"}};
    const auto match = rombus::matchUnit(table, unitOf(0x000D6C, 0x010071, 0x00A02D, 0x010001));
    EXPECT_TRUE(match.matches.empty());
    ASSERT_EQ(match.nearest.size(), 2u);
    EXPECT_EQ(match.nearest[0].text(), "snd_bebob: model 010071h here, the table has 010070h");
    EXPECT_EQ(match.nearest[1].text(),
              "firewire_sbp2: version 010001h here, the table has 010483h");
    // Another vendor's entry, or an entry of one field only, is no near miss.
    EXPECT_TRUE(rombus::matchUnit(table, unitOf(0x000FF3, 2, 0xA02E, 4)).nearest.empty());
}

} // namespace
