#include "lib1394/ImageFile.h"

#include "rombus_support/RomLayout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using lib1394::ByteOrder;
using lib1394::decodeImage;

const std::vector<uint8_t>& romBytes = rombus_test::smallRomBytes;
const std::string bigEndian(romBytes.begin(), romBytes.end());

std::string littleEndian(std::vector<uint8_t> bytes) {
    lib1394::swapQuadlets(bytes);
    return std::string(bytes.begin(), bytes.end());
}

std::string repeated(const std::string& text, int times) {
    std::string out;
    while (times-- > 0)
        out += text;
    return out;
}

TEST(ImageFile, AllThreeFormsGiveTheSameBusOrderImage) {
    const std::string text = "# node 1, written by hand\n"
                             "0x04041234, 31333934 // bus name\n"
                             "0XE0648002\t0030e000 00000001\r\n"
                             "  0001abcd,,030030E0   # vendor\n";
    const std::pair<std::string, std::string> forms[] = {
        {"rom.bin", bigEndian}, {"rom.le", littleEndian(romBytes)}, {"rom.txt", text}};
    for (const auto& [name, content] : forms) {
        const auto image = decodeImage(name, content);
        EXPECT_TRUE(image.ok()) << image.error;
        EXPECT_EQ(image.rom, romBytes) << name;
    }
    EXPECT_EQ(lib1394::guidOfRom(romBytes), 0x0030E00000000001ull);
    EXPECT_EQ(lib1394::guidOfRom(std::vector<uint8_t>(romBytes.begin(), romBytes.begin() + 19)),
              0u);
}

TEST(ImageFile, ByteOrderCanBeNamedAndABrokenSignatureIsLeftAsItIs) {
    // Named little-endian: exchanged although the signature reads forwards; named big-endian:
    // a little-endian copy stays as it is.
    const std::string little = littleEndian(romBytes);
    EXPECT_EQ(decodeImage("rom.bin", bigEndian, ByteOrder::Little).rom,
              std::vector<uint8_t>(little.begin(), little.end()));
    EXPECT_EQ(decodeImage("rom.le", little, ByteOrder::Big).rom,
              std::vector<uint8_t>(little.begin(), little.end()));
    // A bus name that is neither "1394" nor "4931" is not guessed at: the module will see it.
    std::vector<uint8_t> broken = romBytes;
    broken[7] = '5';
    EXPECT_EQ(decodeImage("bad.bin", std::string(broken.begin(), broken.end())).rom, broken);
    EXPECT_EQ(decodeImage("short.bin", std::string("\x04\x04", 2)).rom.size(), 2u);
}

TEST(ImageFile, BadContentsGiveAnErrorNamingTheFile) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "empty"},
        {std::string(1025, '\x01'), "1025 bytes, more than the 1024"},
        {"04041234 31333934\n0xE06480zz\n", "line 2: \"0xE06480zz\" is not a 32-bit quadlet"},
        {"123456789\n", "\"123456789\" is not"},
        {"0x\n", "\"0x\" is not"},
        {"# only a comment\n// and another\n", "holds no quadlets"},
        {repeated("0 ", 257), "more than 256 quadlets"},
        {std::string("\x34\x39\x33\x31\x34\x39\x33\x31\x00", 9), "not a whole number"},
        {"\xEF\xBB\xBF"
         "04041234\n",
         "begins with a byte-order mark"},
        {"\xFF\xFE"
         "0\x00"
         "4\x00",
         "begins with a byte-order mark"},
        {std::string("04041234\x00\n", 10), "holds a NUL byte at byte 8"},
    };
    for (const auto& [content, expected] : cases) {
        const auto image = decodeImage("some/file.rom", content);
        EXPECT_FALSE(image.ok());
        EXPECT_EQ(image.error.rfind("some/file.rom: ", 0), 0u) << image.error;
        EXPECT_NE(image.error.find(expected), std::string::npos) << image.error;
    }
    // A ROM whose first bytes happen to spell a byte-order mark is known by its bus name, and a
    // ROM of zeros (a failed dump) holds no hex digit: both are binary images.
    std::vector<uint8_t> markLike = romBytes;
    markLike[0] = 0xEF, markLike[1] = 0xBB, markLike[2] = 0xBF;
    EXPECT_EQ(decodeImage("mark.bin", std::string(markLike.begin(), markLike.end())).rom, markLike);
    EXPECT_EQ(decodeImage("zero.bin", std::string(64, '\0')).rom.size(), 64u);
    // A comment in UTF-8 keeps a hex file text.
    const auto commented = decodeImage("utf8.txt", "# r\xC3\xA9sum\xC3\xA9 \xE2\x9C\x93\n04041234\n"
                                                   "31333934 // \xF0\x9F\x98\x80\n");
    ASSERT_TRUE(commented.ok()) << commented.error;
    EXPECT_EQ(commented.rom, std::vector<uint8_t>(romBytes.begin(), romBytes.begin() + 8));
    // A byte that is no UTF-8 (Latin-1 here) makes the file binary, taken as its raw bytes.
    EXPECT_EQ(decodeImage("latin1.txt", "04041234 # caf\xE9\n").rom.size(), 16u);
    // Exactly 1024 bytes and exactly 256 quadlets are whole ROMs.
    EXPECT_TRUE(decodeImage("full.bin", std::string(1024, '\x01')).ok());
    EXPECT_EQ(decodeImage("full.txt", repeated("ffffffff\n", 256)).rom.size(), 1024u);
}

TEST(ImageFileBus, NodesFollowTheImagesAndReadsStayInsideThem) {
    std::vector<lib1394::ImageFile> images(70);
    images[0].rom = romBytes;
    images[1].rom = {0x04, 0x04};
    images[2].error = "broken.bin: the file is empty";
    images[3].rom.assign(2000, 0xAA);
    lib1394::ImageFileBus bus(images);
    const auto accessor = [&bus](unsigned port, unsigned nodeId) {
        return std::unique_ptr<lib1394::ConfigROMAccessor>(bus.createAccessor(port, nodeId));
    };

    zul::Array<lib1394::port_info_t> ports;
    ASSERT_TRUE(accessor(lib1394::ConfigROMContext::AllPorts, 0)->getPortInfo(ports));
    // 63 nodes to a port, as a 1394 bus holds: the last seven images make a second port.
    ASSERT_EQ(ports.size(), 2u);
    EXPECT_EQ(ports[0].nodeCount, lib1394::ImageFileBus::MaxNodes);
    EXPECT_EQ(ports[1].nodeCount, 7u);
    ASSERT_EQ(ports[0].nodeGuids.size(), lib1394::ImageFileBus::MaxNodes);
    EXPECT_EQ(ports[0].nodeGuids[0], 0x0030E00000000001ull);
    EXPECT_EQ(ports[0].nodeGuids[1], 0u);

    EXPECT_TRUE(accessor(0, 0)->isAccessible());
    // Node ids are local-bus ids; a bare node number is not one.
    const std::pair<unsigned, unsigned> closed[] = {
        {2, 0}, {0, 1}, {0, 0xFFC2}, {0, 0xFFFF}, {1, 0xFFC7}};
    for (const auto& [port, nodeId] : closed)
        EXPECT_FALSE(accessor(port, nodeId)->isAccessible()) << port << " " << nodeId;

    const auto node = accessor(0, 0xFFC0);
    ASSERT_TRUE(node->isAccessible());
    EXPECT_EQ(node->getGuid(), 0x0030E00000000001ull);
    std::vector<uint8_t> buffer(2000);
    EXPECT_EQ(node->readBlock(24, 40, buffer.data()), 4u); // up to the end, no further
    EXPECT_EQ(buffer[0], 0x03);
    EXPECT_EQ(node->readBlock(28, 4, buffer.data()), 0u);             // at the end
    EXPECT_EQ(node->readBlock(0xFFFFFFF0u, 0x20, buffer.data()), 0u); // offset + length wraps
    EXPECT_EQ(node->readBlock(4, 0xFFFFFFFFu, buffer.data()), 24u);
    EXPECT_FALSE(node->readStructure(20, buffer.data(), 12));
    EXPECT_TRUE(node->readStructure(0, buffer.data(), 28));
    // ROMs beyond the largest size are cut.
    EXPECT_EQ(accessor(0, 0xFFC3)->readBlock(0, 2000, buffer.data()), lib1394::MaxRomSize);
    EXPECT_EQ(accessor(0, 0xFFC3)->readBlock(1024, 4, buffer.data()), 0u);
}

} // namespace
