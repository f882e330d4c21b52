#include "inspect/knowledge/DriverTable.h"

#include "rombus_support/TestFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace {

using rombus::DriverId;
using rombus::DriverTable;

TEST(ModulesAlias, FieldsWildcardsAndTheLinesThatAreNotIeee1394) {
    const std::string text = "# Aliases extracted from modules themselves.\n"
                             "alias pci:v00001033d000000CDsv*sd*bc*sc*i* firewire_ohci\n"
                             "alias ieee1394:ven*mo*sp0000609Ever00010483* firewire_sbp2\r\n"
                             "alias ieee1394:ven00000D6Cmo00010071sp0000A02Dver* snd_bebob\n"
                             "alias ieee1394:ven0000a07emo00000004sp0000A07Ever00000001* snd_dice\n"
                             "alias ieee1394:ven00001C6Amo00000004sp*ver* snd_dice\n"
                             "\n";
    DriverTable table;
    std::string error;
    ASSERT_TRUE(rombus::parseModulesAlias(text, "m.alias", "6.12.117", table, error)) << error;
    ASSERT_EQ(table.ids.size(), 4u);
    EXPECT_EQ(table.source, "modules.alias of 6.12.117");

    const DriverId& sbp2 = table.ids[0];
    EXPECT_EQ(sbp2.driver, "firewire_sbp2");
    EXPECT_EQ(sbp2.flags, rombus::MatchSpecifier | rombus::MatchVersion);
    EXPECT_EQ(sbp2.specifier, 0x00609Eu);
    EXPECT_EQ(sbp2.version, 0x010483u);
    EXPECT_EQ(sbp2.kernel, "6.12.117");

    // The last field a wildcard: no trailing '*' of its own.
    const DriverId& bebob = table.ids[1];
    EXPECT_EQ(bebob.flags, rombus::MatchVendor | rombus::MatchModel | rombus::MatchSpecifier);
    EXPECT_EQ(bebob.vendor, 0x000D6Cu);
    EXPECT_EQ(bebob.model, 0x010071u);
    EXPECT_EQ(bebob.version, 0u);

    // Lower-case digits are read; every field named.
    EXPECT_EQ(table.ids[2].flags, 0xFu);
    EXPECT_EQ(table.ids[2].vendor, 0x00A07Eu);
    EXPECT_EQ(table.ids[3].flags, rombus::MatchVendor | rombus::MatchModel);

    // Written back as file2alias writes them: upper case, a trailing '*' once.
    EXPECT_EQ(rombus::aliasOf(sbp2), "ieee1394:ven*mo*sp0000609Ever00010483*");
    EXPECT_EQ(rombus::aliasOf(bebob), "ieee1394:ven00000D6Cmo00010071sp0000A02Dver*");
    EXPECT_EQ(rombus::aliasOf(table.ids[2]),
              "ieee1394:ven0000A07Emo00000004sp0000A07Ever00000001*");
}

TEST(ModulesAlias, AMalformedLineIsNamedWithItsNumber) {
    const char* const malformed[] = {
        "alias ieee1394:ven0D6Cmo*sp*ver* snd_bebob\n",           // too few digits
        "alias ieee1394:ven00000D6Cmo*sp*ver*\n",                 // no module
        "alias ieee1394:mo*ven*sp*ver* snd_bebob\n",              // fields out of order
        "alias ieee1394:ven0000XD6Cmo*sp*ver* snd_bebob\n",       // not hexadecimal
        "alias ieee1394:ven*mo*sp*ver*** snd_bebob\n",            // stray wildcards
        "alias ieee1394:ven*mo*sp*ver0000000100 snd_bebob\n",     // a field too long
        "alias ieee1394:ven*mo*sp*ver00000001* snd_dice extra\n", // words after the module
    };
    for (const char* line : malformed) {
        SCOPED_TRACE(line);
        DriverTable table;
        std::string error;
        EXPECT_FALSE(rombus::parseModulesAlias(std::string("alias usb:v*p* x\n") + line,
                                               "/lib/modules/x/modules.alias", "x", table, error));
        EXPECT_EQ(error.rfind("/lib/modules/x/modules.alias: line 2: ", 0), 0u) << error;
    }
}

TEST(ModulesAlias, AFileIsReadAndAMissingOneNamed) {
    const rombus_test::TestFolder folder;
    DriverTable table;
    std::string error;
    const std::string path = folder.write(
        "modules.alias", "alias ieee1394:ven*mo*sp0000005Ever00000001* firewire_net\n");
    ASSERT_TRUE(rombus::readModulesAlias(path, "6.1.0", table, error)) << error;
    ASSERT_EQ(table.ids.size(), 1u);
    EXPECT_EQ(table.ids[0].driver, "firewire_net");

    const std::string missing = (folder.path() / "none.alias").string();
    EXPECT_FALSE(rombus::readModulesAlias(missing, "6.1.0", table, error));
    EXPECT_NE(error.find(missing), std::string::npos) << error;

    // A FIFO is refused, never opened: nothing would ever write to it.
    const std::string fifo = (folder.path() / "fifo.alias").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    error.clear();
    EXPECT_FALSE(rombus::readModulesAlias(fifo, "6.1.0", table, error));
    EXPECT_EQ(error.rfind(fifo + ": ", 0), 0u) << error;
}

// The shipped table is the rebuild command's output for the aliases it holds: written back as a
// modules.alias and read again, it gives the committed source byte for byte.
TEST(ShippedDriverTable, RebuildsItsOwnSourceFromItsAliases) {
    const DriverTable& shipped = rombus::shippedDriverTable();
    std::string aliases;
    for (const DriverId& id : shipped.ids)
        aliases += "alias " + rombus::aliasOf(id) + " " + id.driver + "\n";
    DriverTable rebuilt;
    std::string error;
    ASSERT_TRUE(
        rombus::parseModulesAlias(aliases, "shipped", shipped.ids.front().kernel, rebuilt, error))
        << error;
    std::ifstream in(ROMBUS_SOURCE_DIR "/inspect/knowledge/ShippedDrivers.cpp");
    std::ostringstream source;
    source << in.rdbuf();
    EXPECT_EQ(rombus::shippedTableSource(rebuilt), source.str());
}

TEST(ShippedDriverTable, HoldsEveryFireWireDriverWithItsKernel) {
    const char* const drivers[] = {"firewire_sbp2",
                                   "firewire_net",
                                   "firedtv",
                                   "snd_bebob",
                                   "snd_dice",
                                   "snd_fireworks",
                                   "snd_oxfw",
                                   "snd_firewire_digi00x",
                                   "snd_firewire_tascam",
                                   "snd_firewire_motu",
                                   "snd_fireface",
                                   "snd_isight"};
    const DriverTable& shipped = rombus::shippedDriverTable();
    for (const char* driver : drivers)
        EXPECT_TRUE(std::any_of(shipped.ids.begin(), shipped.ids.end(), [&](const DriverId& id) {
            return id.driver == driver;
        })) << driver;
    for (const DriverId& id : shipped.ids) {
        EXPECT_FALSE(id.kernel.empty()) << id.driver;
        EXPECT_NE(id.flags, 0u) << id.driver;
    }
}

} // namespace
