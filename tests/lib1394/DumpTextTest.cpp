#include "lib1394/ImageFile.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using lib1394::decodeImage;

const std::vector<uint8_t>& romBytes = rombus_test::smallRomBytes;

TEST(DumpText, EveryAnnotatedLayoutReadsBackAsTheRom) {
    // rombus's own: a report before, wrapped meanings, notes under a quadlet, and the quadlets
    // out of order.
    const std::string own = "Port 0  IEEE1394PORT:0  (image files)\n"
                            "  Node 0  rom.hex\n"
                            "    ROM:\n"
                            "000  FFFFF0000400  04041234  bus information block: info_length 4,\n"
                            "                             crc_length 4, CRC 1234h\n"
                            "004  FFFFF0000404  31333934  bus_name \"1394\"\n"
                            "008  FFFFF0000408  E0648002  bus options\n"
                            "                           ^ advisory: 100 ppm\n"
                            "010  FFFFF0000410  00000001  GUID: chip_id_lo 00000001h\n"
                            "00C  FFFFF000040C  0030E000  GUID: node_vendor_id\n"
                            "014  FFFFF0000414  0001ABCD  directory \"Root\", length 1\n"
                            "018  FFFFF0000418  030030E0  key 03h\r\n";
    // Other tools: register offsets or CSR addresses with a colon, any text after.
    const std::string registers = "400  0404c2a1 ignored\n"
                                  "# a comment line\n"
                                  "404  31333934\n408  e0648002\n40c  0030e000\n410  00000001\n"
                                  "414  0001abcd\n418  030030e0  vendor\n";
    const std::string addresses = "fffff0000400: 04041234\nfffff0000404: 31333934\n"
                                  "fffff0000408: E0648002\nfffff000040c: 0030E000\n"
                                  "fffff0000410: 00000001\nfffff0000414: 0001ABCD\n"
                                  "fffff0000418: 030030E0\n";
    for (const std::string& dump : {own, addresses}) {
        const auto image = decodeImage("dump.txt", dump);
        ASSERT_TRUE(image.ok()) << image.error;
        EXPECT_EQ(image.rom, romBytes);
    }
    const auto image = decodeImage("dump.txt", registers);
    ASSERT_TRUE(image.ok()) << image.error;
    EXPECT_EQ(image.rom.size(), romBytes.size());
    EXPECT_EQ(image.rom[2], 0xC2);
    // Plain hex text whose first quadlet could pass for an offset stays plain hex text.
    const auto plain = decodeImage("rom.txt", "00000400 31333934\n");
    ASSERT_TRUE(plain.ok()) << plain.error;
    EXPECT_EQ(plain.rom.size(), 8u);
}

TEST(DumpText, AGapAClashOrAStrayAddressNamesItsLine) {
    const std::pair<std::string, std::string> malformed[] = {
        {"0  04041234\n4  31333934\nC  0030E000\n",
         "dump.txt: line 3: offset Ch follows a gap; the quadlets from 8h are missing"},
        {"0  04041234\n4  31333934\n4  31333935\n",
         "dump.txt: line 3: offset 4h was already given on line 2"},
        {"0  04041234\n6  31333934\n", "dump.txt: line 2: address 6h is not a quadlet of the ROM"},
        {"Node 0\n004  FFFFF0000404  31333934  bus_name\n",
         "dump.txt: line 2: offset 4h follows a gap; the quadlets from 0h are missing"},
        {"0  04041234\n400  31333934\n",
         "dump.txt: line 2: address 400h is not a quadlet of the ROM"},
        {"000  FFFFF0000400  04041234\n004  FFFFF0000408  31333934\n",
         "dump.txt: line 2: CSR address FFFFF0000408h is not that of offset 4h"},
        // A quadlet that lost or gained a digit in an edit is an error, not a line skipped.
        {"0: 04041234\n4: 3133394\n8: E0648002\n",
         "dump.txt: line 2: \"3133394\" is not a quadlet of eight hexadecimal digits"},
        {"000  FFFFF0000400  04041234\n004:  FFFFF0000404  313339340\n",
         "dump.txt: line 2: \"313339340\" is not a quadlet of eight hexadecimal digits"},
    };
    for (const auto& [dump, error] : malformed) {
        const auto image = decodeImage("dump.txt", dump);
        EXPECT_FALSE(image.ok());
        EXPECT_EQ(image.error, error);
        EXPECT_TRUE(image.rom.empty());
    }
}

TEST(DumpText, AnnotationsInUtf8AreTextNotBinary) {
    // A vendor name out of the registry beyond ASCII, and a user's comment in UTF-8: the file
    // is still text, and reads back quadlet for quadlet.
    const std::string dump = "0: 04041234  bus information block\n"
                             "4: 31333934  bus_name \"1394\"\n"
                             "8: E0648002  bus options \xE2\x80\x94 M\xC3\xBCller & S\xC3\xB6hne\n"
                             "C: 0030E000  node_vendor_id \xE6\x97\xA5\xE6\x9C\xAC\n"
                             "10: 00000001\n14: 0001ABCD\n18: 030030E0\n";
    const auto image = decodeImage("dump.txt", dump);
    ASSERT_TRUE(image.ok()) << image.error;
    EXPECT_EQ(image.rom, romBytes);
}

} // namespace
