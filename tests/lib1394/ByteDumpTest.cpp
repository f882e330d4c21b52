#include "lib1394/ByteDump.h"
#include "lib1394/ImageFile.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using lib1394::readByteDump;

// The file the dumps below were printed from.
const std::vector<uint8_t>& romBytes = rombus_test::smallRomBytes;

const std::string hexdumpC =
    "00000000  04 04 12 34 31 33 39 34  e0 64 80 02 00 30 e0 00  |...41394.d...0..|\n"
    "00000010  00 00 00 01 00 01 ab cd  03 00 30 e0              |..........0.|\n"
    "0000001c\n";
const std::string xxdPlain = "00000000: 0404 1234 3133 3934 e064 8002 0030 e000  ...41394.d...0..\n"
                             "00000010: 0000 0001 0001 abcd 0300 30e0            ..........0.\n";
const std::string xxdBytes =
    "00000000: 04 04 12 34 31 33 39 34 e0 64 80 02 00 30 e0 00  ...41394.d...0..\n"
    "00000010: 00 00 00 01 00 01 ab cd 03 00 30 e0              ..........0.\n";
const std::string xxdQuadlets = "00000000: 04041234 31333934 e0648002 0030e000  ...41394.d...0..\n"
                                "00000010: 00000001 0001abcd 030030e0           ..........0.\n";
// od prints the words in the little-endian order of the PC that ran it.
const std::string odWords = "000000 34120404 34393331 028064e0 00e03000\n"
                            "000010 01000000 cdab0100 e0300003\n"
                            "00001c\n";

std::vector<uint8_t> bytesOf(const std::string& dump) {
    std::vector<uint8_t> bytes;
    EXPECT_TRUE(readByteDump(dump, bytes)) << dump;
    return bytes;
}

bool isDump(const std::string& text) {
    std::vector<uint8_t> bytes;
    return readByteDump(text, bytes);
}

TEST(ByteDump, EveryFormGivesTheBytesOfTheFile) {
    EXPECT_EQ(bytesOf(hexdumpC), romBytes);
    EXPECT_EQ(bytesOf(xxdPlain), romBytes);
    EXPECT_EQ(bytesOf(xxdBytes), romBytes);
    EXPECT_EQ(bytesOf(xxdQuadlets), romBytes);
    EXPECT_EQ(bytesOf(odWords), romBytes);
    // Pasted from a mail with CR LF line ends, upper-case digits, the closing size line left out.
    EXPECT_EQ(bytesOf("00000000  04 04 12 34 31 33 39 34  E0 64 80 02 00 30 E0 00  "
                      "|...41394.d...0..|\r\n"
                      "00000010  00 00 00 01 00 01 AB CD  03 00 30 E0              "
                      "|..........0.|\r\n"),
              romBytes);
    // The text column may itself hold blanks and bars: it is taken by its length.
    EXPECT_EQ(bytesOf("00000000  20 7c 20 20                                       | |  |\n"),
              (std::vector<uint8_t>{0x20, 0x7C, 0x20, 0x20}));
    EXPECT_EQ(bytesOf("00000000: 2020 7c20                                    | \n"),
              (std::vector<uint8_t>{0x20, 0x20, 0x7C, 0x20}));
}

TEST(ByteDump, ARepeatStandsForCopiesOfTheLineBeforeUpToTheNextOffset) {
    std::vector<uint8_t> padded = romBytes;
    padded.resize(80, 0);
    EXPECT_EQ(bytesOf("00000000  04 04 12 34 31 33 39 34  e0 64 80 02 00 30 e0 00  "
                      "|...41394.d...0..|\n"
                      "00000010  00 00 00 01 00 01 ab cd  03 00 30 e0 00 00 00 00  "
                      "|..........0.....|\n"
                      "00000020  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  "
                      "|................|\n"
                      "*\n"
                      "00000050\n"),
              padded);
    EXPECT_EQ(bytesOf("000000 34120404 34393331 028064e0 00e03000\n"
                      "000010 01000000 cdab0100 e0300003 00000000\n"
                      "000020 00000000 00000000 00000000 00000000\n"
                      "*\n"
                      "000050\n"),
              padded);
    // A repeat that cannot land on the next offset, or with no line before it.
    EXPECT_FALSE(isDump("000000 00000000 00000000 00000000 00000000\n*\n000018\n"));
    EXPECT_FALSE(isDump("*\n000000 00000000\n000004\n"));
    // A repeat up to an offset past the largest file read is refused, not filled.
    EXPECT_FALSE(isDump("000000 00000000\n*\n1000004\n"));
}

TEST(ByteDump, TextThatIsNoDumpIsLeftToTheOtherReaders) {
    // Plain hex quadlets, one line of them that od could have printed, and rombus's own dump.
    EXPECT_FALSE(isDump("04041234 31333934 E0648002\n0030E000 00000001\n"));
    EXPECT_FALSE(isDump("000000 34120404 34393331 028064e0 00e03000\n"));
    EXPECT_FALSE(isDump("000  FFFFF0000400  04041234  bus information block\n"
                        "004  FFFFF0000404  31333934  bus_name \"1394\"\n"));
    // Offsets that skip a line, go back, or do not begin at 0.
    EXPECT_FALSE(isDump("000000 34120404 34393331 028064e0 00e03000\n"
                        "000020 01000000\n000024\n"));
    EXPECT_FALSE(isDump("00000010  00 00 00 01  |....|\n00000000  00 00 00 01  |....|\n"));
    EXPECT_FALSE(isDump("00000004: 0000 0001  ....\n"));
    // A text column as long as the bytes are many, and nothing after the size line.
    EXPECT_FALSE(isDump("00000000: 0404 1234  ...41\n"));
    EXPECT_FALSE(isDump("00000000  04 04 12 34  |...4\n"));
    EXPECT_FALSE(isDump(hexdumpC + "00000020  00  |.|\n"));
    // Groups of odd length, od words that are not 8 digits, more than 16 bytes on a line.
    EXPECT_FALSE(isDump("00000000: 040 4123  ..\n"));
    EXPECT_FALSE(isDump("000000 3412 0404\n000004\n"));
    EXPECT_FALSE(isDump("000000 00000000 00000000 00000000 00000000 00000000\n000014\n"));
    EXPECT_FALSE(isDump(""));
    EXPECT_FALSE(isDump("\n\n"));
}

TEST(ByteDump, ADumpInAnImageFileReadsAsTheRomInBusOrder) {
    for (const std::string& dump : {hexdumpC, xxdPlain, odWords}) {
        const lib1394::ImageFile image = lib1394::decodeImage("pasted.txt", dump);
        ASSERT_TRUE(image.ok()) << image.error;
        EXPECT_EQ(image.rom, romBytes) << dump;
    }
    // od of a sysfs config_rom, which holds little-endian quadlets: its words are the quadlets.
    const lib1394::ImageFile sysfs =
        lib1394::decodeImage("config_rom.od", "000000 04041234 31333934 e0648002\n"
                                              "00000c\n");
    ASSERT_TRUE(sysfs.ok()) << sysfs.error;
    EXPECT_EQ(sysfs.rom, std::vector<uint8_t>(romBytes.begin(), romBytes.begin() + 12));
    // A dump of more than a ROM holds is refused by its size, as the file would be.
    std::string large = "00000000  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  "
                        "|................|\n*\n00000410\n";
    const lib1394::ImageFile tooLarge = lib1394::decodeImage("large.txt", large);
    EXPECT_FALSE(tooLarge.ok());
    EXPECT_NE(tooLarge.error.find("1040 bytes"), std::string::npos) << tooLarge.error;
}

} // namespace
