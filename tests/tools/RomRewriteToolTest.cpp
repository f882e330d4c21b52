// The built tool writing over a user's files and showing hostile texts: repair --in-place keeps
// a file's form, mode and links, diff and repair show every byte escaped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ToolInFolder.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/SysfsTree.h"
#include "rombus_support/TestFolder.h"

#include <sys/stat.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using rombus_test::RomLayout;
using rombus_test::SysfsTree;
using testing::HasSubstr;

using rombus_test::Outcome;

std::string bytes(const std::vector<uint8_t>& rom) {
    return std::string(rom.begin(), rom.end());
}

// A ROM of a vendor entry and a text leaf; its bus information block's CRC spoilt when asked.
std::vector<uint8_t> romWith(const std::string& text, bool spoilt) {
    RomLayout ordered;
    ordered.directory({RomLayout::immediate(0x03, 0x00A02D), RomLayout::ref(0x81, 1)});
    ordered.textLeaf(text);
    std::vector<uint8_t> rom = ordered.image();
    if (spoilt)
        rom[2] = rom[3] = 0xFF;
    return rom;
}

class RomRewrite : public rombus_test::ToolInFolder {
protected:
    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        ::stat((folder_.path() / name).c_str(), &status);
        return status.st_mode & 07777;
    }
};

TEST_F(RomRewrite, InPlaceKeepsTheFormModeAndLinksOfTheFile) {
    const std::vector<uint8_t> good = romWith("Acme", false), bad = romWith("Acme", true);
    // Little-endian stays little-endian, and its mode stays.
    folder_.write("copy.le", SysfsTree::littleEndian(bad));
    ::chmod((folder_.path() / "copy.le").c_str(), 0640);
    EXPECT_EQ(rombus("repair copy.le --in-place").status, 0) << read("stderr");
    EXPECT_EQ(read("copy.le"), SysfsTree::littleEndian(good));
    EXPECT_EQ(modeOf("copy.le"), 0640u);
    // A file whose every CRC is right is not written at all: its comments stay.
    std::string hex = "# the ROM as shipped\n";
    char line[48];
    for (size_t at = 0; at < good.size(); at += 4) {
        std::snprintf(line, sizeof line, "%02x%02x%02x%02x  # q%zu\n", good[at], good[at + 1],
                      good[at + 2], good[at + 3], at / 4);
        hex += line;
    }
    folder_.write("rom.hex", hex);
    const Outcome same = rombus("repair rom.hex --in-place");
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "rom.hex: every CRC is right; the file is left as it is\n");
    EXPECT_EQ(read("rom.hex"), hex);
    // With a CRC to correct, the comments cannot be kept: refused unless a form is given. The
    // tool's own hex form, one quadlet a line, is written over as hex.
    std::string plainBad, plainGood;
    for (size_t at = 0; at < bad.size(); at += 4) {
        std::snprintf(line, sizeof line, "%02X%02X%02X%02X\n", bad[at], bad[at + 1], bad[at + 2],
                      bad[at + 3]);
        plainBad += line;
        std::snprintf(line, sizeof line, "%02X%02X%02X%02X\n", good[at], good[at + 1], good[at + 2],
                      good[at + 3]);
        plainGood += line;
    }
    folder_.write("commented.hex", "# spoilt\n" + plainBad);
    const Outcome commented = rombus("repair commented.hex --in-place");
    EXPECT_EQ(commented.status, 2);
    EXPECT_THAT(commented.err, HasSubstr("commented.hex: is hex text with comments"));
    EXPECT_EQ(read("commented.hex"), "# spoilt\n" + plainBad);
    folder_.write("plain.hex", plainBad);
    EXPECT_EQ(rombus("repair plain.hex --in-place").status, 0) << read("stderr");
    EXPECT_EQ(read("plain.hex"), plainGood);
    // Bytes past the last whole quadlet are kept by the binary form, refused by the others.
    folder_.write("odd.bin", bytes(bad) + "xyz");
    EXPECT_EQ(rombus("repair odd.bin --in-place").status, 0) << read("stderr");
    EXPECT_EQ(read("odd.bin"), bytes(good) + "xyz");
    folder_.write("odd2.bin", bytes(bad) + "xyz");
    const Outcome partial = rombus("repair odd2.bin -o odd.hex --output-form hex");
    EXPECT_EQ(partial.status, 2);
    EXPECT_THAT(partial.err, HasSubstr("odd2.bin: its " + std::to_string(bad.size() + 3) +
                                       " bytes are not a whole number of quadlets"));
    EXPECT_FALSE(fs::exists(folder_.path() / "odd.hex"));
    // A hard link is refused unless it is to be kept.
    folder_.write("a.rom", bytes(bad));
    fs::create_hard_link(folder_.path() / "a.rom", folder_.path() / "b.rom");
    const Outcome linked = rombus("repair a.rom --in-place");
    EXPECT_EQ(linked.status, 2);
    EXPECT_THAT(linked.err, HasSubstr("a.rom: has 2 hard links"));
    EXPECT_EQ(read("b.rom"), bytes(bad));
    EXPECT_EQ(rombus("repair a.rom --in-place --keep-links").status, 0);
    EXPECT_EQ(read("b.rom"), bytes(good));
}

TEST_F(RomRewrite, AnAnnotatedDumpIsNeverRewrittenAsBinary) {
    const std::vector<uint8_t> bad = romWith("Acme", true), good = romWith("Acme", false);
    std::string dump = "Node 0  (a dump with notes)\n";
    char line[64];
    for (size_t at = 0; at < bad.size(); at += 4) {
        std::snprintf(line, sizeof line, "%03zX  %02X%02X%02X%02X  note %zu\n", at, bad[at],
                      bad[at + 1], bad[at + 2], bad[at + 3], at);
        dump += line;
    }
    folder_.write("dump.txt", dump);
    const Outcome refused = rombus("repair dump.txt --in-place");
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("dump.txt: is an annotated dump"));
    EXPECT_EQ(read("dump.txt"), dump);
    EXPECT_EQ(rombus("repair dump.txt --in-place --output-form be").status, 0);
    EXPECT_EQ(read("dump.txt"), bytes(good));
}

TEST_F(RomRewrite, DiffAndRepairShowHostileTextsEscapedAndJsonLosesNothing) {
    // A text that would clear the screen and fake a diff line, and a name with a line break.
    const std::string hostile = "\x1B[2J\r\n+root/vendor: 000000h\a\xFF";
    folder_.write("a.rom", bytes(romWith("Acme", false)));
    const std::string odd = "b\n+++ c\xE2\x80\xAE.rom";
    folder_.write(odd, bytes(romWith(hostile, true)));
    const Outcome text = rombus("diff a.rom '" + odd + "'");
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out.find('\x1B'), std::string::npos);
    EXPECT_EQ(text.out.find('\r'), std::string::npos);
    EXPECT_EQ(text.out.find('\xFF'), std::string::npos);
    EXPECT_EQ(text.out.find("\xE2\x80\xAE"), std::string::npos);
    EXPECT_THAT(text.out, testing::StartsWith("--- a.rom\n+++ b\\x0A+++ c\\xE2\\x80\\xAE.rom\n"));
    EXPECT_THAT(text.out, HasSubstr("\\x1B[2J\\x0D\\x0A+root/vendor: 000000h\\x07\\xFF"));
    // Every line but the two heads is one change.
    size_t lines = 0;
    for (char c : text.out)
        lines += c == '\n';
    EXPECT_EQ(lines, 6u) << text.out; // the heads, the text, the bus CRC

    const Outcome asJson = rombus("--format json diff a.rom '" + odd + "'");
    EXPECT_EQ(asJson.status, 1) << asJson.err;
    const json parsed = json::parse(asJson.out);
    EXPECT_EQ(parsed["to"], "b\n+++ c\xE2\x80\xAE.rom");
    bool found = false;
    for (const json& change : parsed["changes"])
        found |= change["after"] == "\"\x1B[2J\r\n+root/vendor: 000000h\a\\xFF\"";
    EXPECT_TRUE(found) << asJson.out;

    const Outcome repaired = rombus("repair '" + odd + "' -o fixed.rom");
    EXPECT_EQ(repaired.status, 0);
    EXPECT_THAT(repaired.out, testing::StartsWith("b\\x0A+++ c\\xE2\\x80\\xAE.rom: bus"));
    EXPECT_EQ(repaired.out.find('\n'), repaired.out.size() - 1);
}

TEST_F(RomRewrite, BuildNeverWritesOverItsOwnDescription) {
    const std::string description = "guid: 1\nroot:\n  - vendor: 0x00A02D\n";
    folder_.write("d.yaml", description);
    const Outcome run = rombus("build d.yaml -o ./d.yaml");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("./d.yaml is the description"));
    EXPECT_EQ(read("d.yaml"), description);
    // A ROM given where its description belongs is not read as YAML.
    folder_.write("rom.bin", bytes(romWith("Acme", false)));
    const Outcome binary = rombus("build rom.bin -o out.rom");
    EXPECT_EQ(binary.status, 2);
    EXPECT_EQ(binary.err, "rombus: rom.bin: is not text (byte 0 is the control character U+0004); "
                          "a description is YAML in UTF-8\n");
    EXPECT_FALSE(fs::exists(folder_.path() / "out.rom"));
}

} // namespace
