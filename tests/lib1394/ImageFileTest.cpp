#include "lib1394/ImageFile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using lib1394::ByteOrder;
using lib1394::decodeImage;

// A small ROM in bus order: bus information block, then a root directory of one entry.
const std::vector<uint8_t> romBytes = {0x04, 0x04, 0x12, 0x34, '1',  '3',  '9',  '4',  0xE0, 0x64,
                                       0x80, 0x02, 0x00, 0x30, 0xE0, 0x00, 0x00, 0x00, 0x00, 0x01,
                                       0x00, 0x01, 0xAB, 0xCD, 0x03, 0x00, 0x30, 0xE0};

std::string asBytes(const std::vector<uint8_t>& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

std::string littleEndian(std::vector<uint8_t> bytes) {
    lib1394::swapQuadlets(bytes);
    return asBytes(bytes);
}

TEST(ImageFile, AllThreeFormsGiveTheSameBusOrderImage) {
    const std::string text = "# node 1, written by hand\n"
                             "0x04041234, 31333934 // bus name\n"
                             "0XE0648002\t0030e000 00000001\r\n"
                             "  0001abcd,,030030E0   # vendor\n";
    const auto binary = decodeImage("rom.bin", asBytes(romBytes));
    const auto swapped = decodeImage("rom.le", littleEndian(romBytes));
    const auto hex = decodeImage("rom.txt", text);
    ASSERT_TRUE(binary.ok()) << binary.error;
    ASSERT_TRUE(swapped.ok()) << swapped.error;
    ASSERT_TRUE(hex.ok()) << hex.error;
    EXPECT_EQ(binary.rom, romBytes);
    EXPECT_EQ(swapped.rom, romBytes);
    EXPECT_EQ(hex.rom, romBytes);
    EXPECT_EQ(lib1394::guidOfRom(hex.rom), 0x0030E00000000001ull);
}

TEST(ImageFile, ByteOrderCanBeNamedAndABrokenSignatureIsLeftAsItIs) {
    // Named little-endian: exchanged although the signature reads forwards.
    const auto forced = decodeImage("rom.bin", asBytes(romBytes), ByteOrder::Little);
    ASSERT_TRUE(forced.ok());
    EXPECT_EQ(asBytes(forced.rom), littleEndian(romBytes));
    // Named big-endian: a little-endian copy stays as it is.
    const auto kept = decodeImage("rom.le", littleEndian(romBytes), ByteOrder::Big);
    EXPECT_EQ(asBytes(kept.rom), littleEndian(romBytes));
    // A bus name that is neither "1394" nor "4931" is not guessed at: the module will see it.
    std::vector<uint8_t> broken = romBytes;
    broken[7] = '5';
    EXPECT_EQ(decodeImage("bad.bin", asBytes(broken)).rom, broken);
    // Images shorter than the signature stay as they are.
    EXPECT_EQ(decodeImage("short.bin", std::string("\x04\x04", 2)).rom.size(), 2u);
    EXPECT_EQ(lib1394::guidOfRom(std::vector<uint8_t>(romBytes.begin(), romBytes.begin() + 19)),
              0u);
}

TEST(ImageFile, BadContentsGiveAnErrorNamingTheFile) {
    struct Case {
        std::string content;
        std::string expected;
    };
    const Case cases[] = {
        {"", "empty"},
        {std::string(1025, '\x01'), "1025 bytes, more than the 1024"},
        {"04041234 31333934\n0xE06480zz\n", "line 2: \"0xE06480zz\" is not a 32-bit quadlet"},
        {"123456789\n", "\"123456789\" is not"},
        {"0x\n", "\"0x\" is not"},
        {"# only a comment\n// and another\n", "holds no quadlets"},
        {[] {
             std::string many;
             for (int i = 0; i < 257; ++i)
                 many += "0 ";
             return many;
         }(),
         "more than 256 quadlets"},
        {std::string("\x34\x39\x33\x31\x34\x39\x33\x31\x00", 9), "not a whole number"},
    };
    for (const Case& c : cases) {
        const auto image = decodeImage("some/file.rom", c.content);
        EXPECT_FALSE(image.ok());
        EXPECT_EQ(image.error.rfind("some/file.rom: ", 0), 0u) << image.error;
        EXPECT_NE(image.error.find(c.expected), std::string::npos)
            << image.error << " lacks " << c.expected;
    }
    // Exactly 1024 bytes and exactly 256 quadlets are whole ROMs.
    EXPECT_TRUE(decodeImage("full.bin", std::string(1024, '\x01')).ok());
    std::string full;
    for (int i = 0; i < 256; ++i)
        full += "ffffffff\n";
    EXPECT_EQ(decodeImage("full.txt", full).rom.size(), 1024u);
}

TEST(ImageFile, ReadingFilesReportsPathsThatCannotBeRead) {
    const auto folder = std::filesystem::temp_directory_path() / "rombus-image-file-test";
    std::filesystem::create_directories(folder);
    const std::string good = (folder / "good.bin").string();
    std::ofstream(good, std::ios::binary) << littleEndian(romBytes);
    const auto image = lib1394::readImageFile(good);
    ASSERT_TRUE(image.ok()) << image.error;
    EXPECT_EQ(image.rom, romBytes);
    EXPECT_EQ(image.path, good);

    const std::string missing = (folder / "missing.bin").string();
    EXPECT_NE(lib1394::readImageFile(missing).error.find(missing + ": cannot be opened"),
              std::string::npos);
    EXPECT_NE(lib1394::readImageFile(folder.string()).error.find("is a directory"),
              std::string::npos);
    std::filesystem::remove_all(folder);
}

TEST(ImageFileBus, NodesFollowTheImagesAndReadsStayInsideThem) {
    std::vector<lib1394::ImageFile> images(3);
    images[0].rom = romBytes;
    images[1].rom = {0x04, 0x04};
    images[2].error = "broken.bin: the file is empty";
    lib1394::ImageFileBus bus(images);

    std::unique_ptr<lib1394::ConfigROMAccessor> list(
        bus.createAccessor(lib1394::ConfigROMContext::AllPorts, 0));
    zul::Array<lib1394::port_info_t> ports;
    ASSERT_TRUE(list->getPortInfo(ports));
    ASSERT_EQ(ports.size(), 1u);
    EXPECT_EQ(ports[0].nodeCount, 3u);
    ASSERT_EQ(ports[0].nodeGuids.size(), 3u);
    EXPECT_EQ(ports[0].nodeGuids[0], 0x0030E00000000001ull);
    EXPECT_EQ(ports[0].nodeGuids[1], 0u);

    EXPECT_TRUE(
        std::unique_ptr<lib1394::ConfigROMAccessor>(bus.createAccessor(0, 0))->isAccessible());
    EXPECT_FALSE(
        std::unique_ptr<lib1394::ConfigROMAccessor>(bus.createAccessor(1, 0))->isAccessible());
    EXPECT_FALSE(
        std::unique_ptr<lib1394::ConfigROMAccessor>(bus.createAccessor(0, 0xFFC3))->isAccessible());
    // Node ids are local-bus ids; a bare node number is not one.
    EXPECT_FALSE(
        std::unique_ptr<lib1394::ConfigROMAccessor>(bus.createAccessor(0, 1))->isAccessible());
    EXPECT_FALSE(
        std::unique_ptr<lib1394::ConfigROMAccessor>(bus.createAccessor(0, 0xFFC2))->isAccessible());

    std::unique_ptr<lib1394::ConfigROMAccessor> node(bus.createAccessor(0, 0xFFC0));
    ASSERT_TRUE(node->isAccessible());
    EXPECT_EQ(node->getPort(), 0u);
    EXPECT_EQ(node->getGuid(), 0x0030E00000000001ull);
    uint8_t buffer[64] = {};
    EXPECT_EQ(node->readBlock(24, 4, buffer), 4u);
    EXPECT_EQ(buffer[0], 0x03);
    EXPECT_EQ(node->readBlock(24, 40, buffer), 4u);            // up to the end, no further
    EXPECT_EQ(node->readBlock(28, 4, buffer), 0u);             // at the end
    EXPECT_EQ(node->readBlock(0xFFFFFFF0u, 0x20, buffer), 0u); // offset + length wraps
    EXPECT_EQ(node->readBlock(4, 0xFFFFFFFFu, buffer), 24u);
    EXPECT_FALSE(node->readStructure(20, buffer, 12));
    EXPECT_TRUE(node->readStructure(0, buffer, 28));
}

TEST(ImageFileBus, RomsBeyondTheLargestSizeAreCutAndPortsHoldAtMost63Nodes) {
    std::vector<lib1394::ImageFile> images(70);
    images[0].rom.assign(2000, 0xAA);
    lib1394::ImageFileBus bus(images);
    EXPECT_EQ(bus.ports()[0].nodes.size(), lib1394::ImageFileBus::MaxNodes);
    std::unique_ptr<lib1394::ConfigROMAccessor> node(bus.createAccessor(0, 0xFFC0));
    std::vector<uint8_t> buffer(2000);
    EXPECT_EQ(node->readBlock(0, 2000, buffer.data()), lib1394::MaxRomSize);
    EXPECT_EQ(node->readBlock(1024, 4, buffer.data()), 0u);
}

} // namespace
