#include "libRombus/Lib1394Util.h"
#include "ModuleFixture.h"

#include <fstream>

using libRombus::lib1394_log;
using libRombus::Lib1394Util;

namespace {

zul::Buffer<unsigned char> bytes(std::initializer_list<unsigned char> values) {
    zul::Buffer<unsigned char> buffer(values.size());
    size_t i = 0;
    for (unsigned char v : values)
        buffer[i++] = v;
    return buffer;
}

unsigned short exchangedCrcOfQuadlet(uint32_t q) {
    uint16_t crc = rombus_test::crc16({q}, 0, 1);
    return static_cast<unsigned short>(crc << 8 | crc >> 8);
}

class Lib1394UtilTest : public rombus_test::ModuleTest {};

TEST_F(Lib1394UtilTest, SingleQuadletCrcsMatchKnownValues) {
    const std::pair<uint32_t, unsigned short> known[] = {
        {0x00000001, 0x1021}, {0x12345678, 0xB42C}, {0x31333934, 0x0F72}};
    for (auto [quadlet, crc] : known) {
        EXPECT_EQ(exchangedCrcOfQuadlet(quadlet), static_cast<unsigned short>(crc << 8 | crc >> 8));
        auto data = bytes({uint8_t(quadlet >> 24), uint8_t(quadlet >> 16), uint8_t(quadlet >> 8),
                           uint8_t(quadlet)});
        lib1394_log log;
        EXPECT_TRUE(Lib1394Util::verifyCRC16(static_cast<unsigned short>(crc << 8 | crc >> 8), data,
                                             0, 4, 0, "t", log))
            << std::hex << quadlet;
    }
}

TEST_F(Lib1394UtilTest, VerificationAcceptsEitherByteOrderAndReportsTheSecondPass) {
    auto digits = bytes({0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38});
    lib1394_log log;
    EXPECT_TRUE(Lib1394Util::verifyCRC16(0x1590, digits, 0, 8, 4, "block", log));
    EXPECT_TRUE(Lib1394Util::verifyCRC16(0x17EA, digits, 0, 8, 4, "block", log));
    EXPECT_TRUE(log.message.isEmpty());
    EXPECT_TRUE(lines.empty());

    EXPECT_FALSE(Lib1394Util::verifyCRC16(0x1234, digits, 0, 8, 0x404, "Leaf - Vendor", log));
    ASSERT_FALSE(log.message.isEmpty());
    EXPECT_EQ(log.level, 2u);
    EXPECT_EQ(log.message->text().str(),
              "Leaf - Vendor CRC check failed: expected 1234h, found 17EAh at offset 404h");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("libRombus.Lib1394Util|3|"), std::string::npos);
    EXPECT_NE(lines[0].find("CRC check failed expected: 1234h got: 17EAh offset: 404h - crcType: "
                            "\"Leaf - Vendor\" length (bytes): 8"),
              std::string::npos);
    const vesk5::Event* event = libRombus::declared.CRCCheckFailed.event;
    const auto& names = event->variables().all();
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[0].first, vesk5::VeskString("crc_calculated"));
    EXPECT_EQ(names[3].first, vesk5::VeskString("crc_type"));
}

TEST_F(Lib1394UtilTest, MismatchLevelFollowsTheParameterCappedAtTwo) {
    auto digits = bytes({0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38});
    const std::tuple<uint32_t, bool, uint32_t> cases[] = {
        {0, true, 0}, {1, true, 1}, {2, false, 2}, {7, false, 2}};
    for (auto [parameter, accepted, level] : cases) {
        setCrcLevel(parameter);
        lib1394_log log;
        EXPECT_EQ(Lib1394Util::verifyCRC16(0, digits, 0, 8, 0, "x", log), accepted) << parameter;
        EXPECT_EQ(log.level, level);
        EXPECT_FALSE(log.message.isEmpty());
    }
}

TEST_F(Lib1394UtilTest, EmptyAndShortBuffers) {
    lib1394_log log;
    EXPECT_TRUE(Lib1394Util::verifyCRC16(0xFFFF, zul::Buffer<unsigned char>(), 0, 0, 0, "x", log));
    EXPECT_TRUE(lines.empty());
    EXPECT_TRUE(Lib1394Util::verifyCRC16(0, zul::Buffer<unsigned char>(8), 0, 8, 0, "x", log));

    log.level = 1;
    EXPECT_FALSE(Lib1394Util::verifyCRC16(0, bytes({1, 2, 3}), 0, 4, 0, "x", log));
    EXPECT_FALSE(Lib1394Util::verifyCRC16(0, bytes({1, 2, 3, 4, 5, 6, 7, 8}), 4, 8, 0, "x", log));
    EXPECT_TRUE(log.message.isEmpty());
    EXPECT_EQ(log.level, 1u);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find("CRC Data size < 4 || < start+length"), std::string::npos);
}

TEST_F(Lib1394UtilTest, EntryNamesAndValues) {
    const std::pair<uint8_t, const char*> names[] = {{0x03, "Immediate - Vendor"},
                                                     {0x81, "Leaf - Descriptor"},
                                                     {0xD1, "Directory - Unit"},
                                                     {0x17, "Immediate - Model"},
                                                     {0x00, "Immediate - Root"},
                                                     {0x3F, "Immediate - Bus/Directory Specific"},
                                                     {0xFF, "Directory - Bus/Directory Specific"},
                                                     {0x60, "CSR Offset - Directory Id"},
                                                     {0xAF, "Leaf - Reserved"},
                                                     {0x07, "Immediate - MODULE"},
                                                     {0x4C, "CSR Offset - Node Capabilities"},
                                                     {0x5E, "CSR Offset - Extended Data"}};
    for (auto [key, name] : names)
        EXPECT_EQ(Lib1394Util::getEntryString({key, {0, 0, 0}}).str(), name);

    const unsigned char a[] = {0x00, 0x0A, 0x27}, b[] = {0xFF, 0xFF, 0xFF};
    EXPECT_EQ(Lib1394Util::crKeyConvert(a), 0x000A27u);
    EXPECT_EQ(Lib1394Util::crKeyConvert(b), 0xFFFFFFu);
}

TEST_F(Lib1394UtilTest, RegistryLookupStopsAtTheFirstGreaterIdentifier) {
    EXPECT_EQ(Lib1394Util::getRIDString(0xA027).str(), "SAMPLE VENDOR TWO");
    EXPECT_EQ(Lib1394Util::getRIDString(registry, 0xF0).str(), "SAMPLE VENDOR ONE");
    EXPECT_TRUE(lines.empty());

    EXPECT_EQ(Lib1394Util::getRIDString(registry, 0x1000).str(), "");
    EXPECT_TRUE(logged("Unable to match any entry in IEEE registry file: " + registry +
                       " with the RID value : 1000h"));
    EXPECT_EQ(Lib1394Util::getRIDString(registry, 0xFFFFFF).str(), "");
    EXPECT_EQ(Lib1394Util::getRIDString("", 0xF0).str(), "");
    EXPECT_TRUE(logged("Unable to open IEEE registry file: "));
}

TEST_F(Lib1394UtilTest, RegistryLinesAreReadAsTheyStand) {
    const std::string path = folder->write("odd-registry.txt", "OUI/MA-L   Organization\r\n"
                                                               "00-A0-27   (hex)\t\tDASHED FORM\r\n"
                                                               "\t\t\t\tA027 Address Road\r\n"
                                                               "0a027 lower case\r\n"
                                                               "0A027\tFIRST\r\n"
                                                               "00A027 SECOND\n"
                                                               "000100 AFTER\n"
                                                               "000050 OUT OF ORDER\n" +
                                                                   std::string(300, 'B') + "\n");
    EXPECT_EQ(Lib1394Util::getRIDString(path, 0xA027).str(), "FIRST");
    // The search for 50h ends at the first greater identifier, before the line out of order.
    EXPECT_EQ(Lib1394Util::getRIDString(path, 0x50).str(), "");
    EXPECT_TRUE(logged("with the RID value : 50h"));
}

} // namespace
