// Writes the seed corpus of the fuzz targets: well-formed ROMs and one ROM of each malformed kind,
// the image-file forms of them, and small registries. Run by `make fuzz-corpus`; the files it
// writes are kept in the repository under fuzz/corpus/<target>/.
#include "FuzzInput.h"
#include "inspect/io/BusFile.h"
#include "rombus_support/BusShapes.h"
#include "rombus_support/OverlappingRoms.h"
#include "rombus_support/TypicalRom.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using rombus_test::RomLayout;
using Bytes = std::vector<uint8_t>;

fs::path root;

void writeBytes(const fs::path& file, const std::string& prefix, const Bytes& data) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << prefix;
    out.write(reinterpret_cast<const char*>(data.data()),
              static_cast<std::streamsize>(data.size()));
}

// A seed of a target, its mode byte first. Every ROM seed is also a seed of the decode target,
// which takes the ROM alone, of the lifecycle target as a ROM image, and of the diff target as
// the ROM beside itself.
void write(const std::string& target, const std::string& name, uint8_t mode, const Bytes& data) {
    writeBytes(root / target / name, std::string(1, static_cast<char>(mode)), data);
    if (target != "rom" || data.size() > 1024)
        return;
    writeBytes(root / "decode" / name, "", data);
    writeBytes(root / "lifecycle" / name, std::string(1, '\0'), data);
    if (data.size() / 4 > 0xFF)
        return;
    Bytes twice = data;
    twice.insert(twice.end(), data.begin(), data.end());
    writeBytes(root / "diff" / name, std::string(1, static_cast<char>(data.size() / 4)), twice);
}

void writeText(const std::string& target, const std::string& name, const std::string& text) {
    const fs::path folder = root / target;
    fs::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary | std::ios::trunc) << text;
}

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

void put32(Bytes& rom, size_t offset, uint32_t value) {
    if (rom.size() < offset + 4)
        rom.resize(offset + 4);
    for (int i = 0; i < 4; ++i)
        rom[offset + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

uint32_t get32(const Bytes& rom, size_t offset) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | rom.at(offset + i);
    return value;
}

// The ROM offset of a block of the typical layout (see TypicalRom.h for the order).
uint32_t typicalBlock(int block) {
    return rombus_bench::typicalLayout().offsetOf(block);
}
enum TypicalBlock { Root, VendorText, ModelText, Eui64, Unit, UnitText, Dependent };

// A ROM whose root directory holds the vendor and then the given items.
Bytes rootWith(std::vector<RomLayout::Item> items, const std::vector<Bytes>& leaves = {}) {
    RomLayout rom;
    items.insert(items.begin(), RomLayout::immediate(0x03, rombus_bench::TypicalVendor));
    rom.directory(std::move(items));
    for (const Bytes& leaf : leaves) {
        std::vector<uint32_t> body;
        for (size_t i = 0; i + 4 <= leaf.size(); i += 4)
            body.push_back(get32(leaf, i));
        rom.leaf(body);
    }
    return rom.image();
}

// The quadlets of a ROM as hex text, n to a line, with the given separator and line end.
std::string hexText(const Bytes& rom, unsigned perLine, const std::string& separator,
                    const std::string& lineEnd, bool prefixed) {
    std::string text = "# ROM image, one quadlet per word" + lineEnd;
    char word[16];
    for (size_t i = 0; i + 4 <= rom.size(); i += 4) {
        std::snprintf(word, sizeof word, prefixed ? "0x%08X" : "%08x", get32(rom, i));
        text += word;
        text += (i / 4 + 1) % perLine == 0 ? lineEnd : separator;
    }
    return text + "// end" + lineEnd;
}

Bytes littleEndian(Bytes rom) {
    for (size_t i = 0; i + 4 <= rom.size(); i += 4) {
        std::swap(rom[i], rom[i + 3]);
        std::swap(rom[i + 1], rom[i + 2]);
    }
    return rom;
}

void romSeeds() {
    using rombus_fuzz::romMode;
    const Bytes typical = rombus_bench::typicalRom();
    for (unsigned level = 0; level < 4; ++level) {
        write("rom", "valid-typical-level" + std::to_string(level), romMode(false, level), typical);
        write("rom", "valid-typical-crc-off-level" + std::to_string(level), romMode(true, level),
              typical);
    }
    write("rom", "valid-minimal-root", romMode(false, 2), rootWith({}));

    // Two units sharing one descriptor leaf, and every kind of directory the reader names. Entries
    // refer forward only: an offset is counted from the entry towards the end of the ROM.
    {
        RomLayout rom;
        rom.directory({RomLayout::immediate(0x03, 0x00A027), RomLayout::ref(0xD1, 1),
                       RomLayout::ref(0xD1, 2), RomLayout::ref(0xD8, 4), RomLayout::ref(0xC3, 5),
                       RomLayout::ref(0xC7, 5), RomLayout::ref(0xC2, 5), RomLayout::ref(0x99, 3),
                       RomLayout::ref(0x9B, 3)});
        rom.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 1),
                       RomLayout::ref(0x81, 3), RomLayout::ref(0xDA, 6), RomLayout::ref(0x95, 3)});
        rom.directory({RomLayout::immediate(0x12, 0x00A02D), RomLayout::immediate(0x13, 2),
                       RomLayout::ref(0x81, 3), RomLayout::ref(0xDE, 5)});
        rom.textLeaf("shared descriptor");
        rom.directory({RomLayout::ref(0xD1, 6), RomLayout::ref(0xA0, 7), RomLayout::ref(0x99, 7)});
        rom.directory({RomLayout::immediate(0x17, 7), RomLayout::immediate(0x1C, 0x123456),
                       RomLayout::immediate(0x1D, 0x000001), RomLayout::immediate(0x1E, 2)});
        rom.directory({RomLayout::immediate(0x12, 0x00609E), RomLayout::immediate(0x13, 3)});
        rom.textLeaf("keyword");
        write("rom", "valid-units-shared-leaf", romMode(false, 2), rom.image());
    }

    // CRC mismatches of the ROM, a directory and a leaf, at every level and with checks off.
    Bytes badRomCrc = typical;
    badRomCrc[3] ^= 0x5A;
    Bytes badDirCrc = typical;
    badDirCrc[typicalBlock(Unit) + 3] ^= 0x01;
    Bytes badLeafCrc = typical;
    badLeafCrc[typicalBlock(VendorText) + 2] ^= 0x80;
    for (unsigned level = 0; level < 4; ++level) {
        const std::string suffix = "-level" + std::to_string(level);
        write("rom", "bad-rom-crc" + suffix, romMode(false, level), badRomCrc);
        write("rom", "bad-dir-crc" + suffix, romMode(false, level), badDirCrc);
        write("rom", "bad-leaf-crc" + suffix, romMode(false, level), badLeafCrc);
    }
    write("rom", "bad-rom-crc-crc-off", romMode(true, 2), badRomCrc);

    Bytes badBusName = typical;
    badBusName[7] = '5';
    write("rom", "bad-bus-name", romMode(false, 2), badBusName);
    write("rom", "bad-bus-name-crc-off", romMode(true, 2), badBusName);

    // Truncated in the bus information block, in the root directory, in a leaf; nothing at all.
    write("rom", "truncated-bus-info", romMode(false, 2),
          Bytes(typical.begin(), typical.begin() + 12));
    write("rom", "truncated-root", romMode(false, 2), Bytes(typical.begin(), typical.begin() + 30));
    write("rom", "truncated-leaf", romMode(true, 2),
          Bytes(typical.begin(), typical.begin() + typicalBlock(ModelText) + 10));
    write("rom", "truncated-empty", romMode(false, 2), Bytes());
    // The short form of a ROM: one quadlet, info_length 1 and a vendor id.
    write("rom", "minimal-form", romMode(false, 2), Bytes{0x01, 0x00, 0x30, 0xE0});

    // Directory length 0: the root, and a unit directory.
    {
        Bytes rom = rootWith({});
        rom.resize(24);
        put32(rom, 20, 0);
        write("rom", "root-length-0", romMode(false, 2), rom);
        write("rom", "root-length-0-crc-off", romMode(true, 2), rom);
        RomLayout unit;
        unit.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0xD1, 1)});
        unit.directory({});
        write("rom", "unit-length-0", romMode(false, 2), unit.image());
    }

    // Descriptor leaves of every wrong length, type and character set.
    {
        RomLayout rom;
        rom.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0x81, 1),
                       RomLayout::ref(0x81, 2), RomLayout::ref(0x81, 3), RomLayout::ref(0x81, 4),
                       RomLayout::ref(0x81, 5), RomLayout::ref(0x81, 6), RomLayout::ref(0x81, 7),
                       RomLayout::ref(0x81, 8)});
        rom.leaf({});
        rom.leaf({0});
        rom.leaf({0, 0});
        rom.leaf({0x01000000, 0, 0x41424344});           // icon
        rom.leaf({0xFF000000, 0, 0x41424344});           // unspecified type
        rom.leaf({0x00123456, 0, 0x41424344});           // specifier set
        rom.textLeaf("wide text", 0x20030000);           // width 2, US-ASCII
        rom.textLeaf("other character set", 0x000A0000); // not minimal ASCII
        const Bytes image = rom.image();
        write("rom", "descriptor-lengths", romMode(false, 2), image);
        write("rom", "descriptor-lengths-crc-off", romMode(true, 2), image);
        // The same leaves claiming far more quadlets than the ROM holds.
        Bytes huge = image;
        for (int leaf = 1; leaf <= 8; ++leaf)
            put32(huge, rom.offsetOf(leaf),
                  0xFFFF0000u | (get32(huge, rom.offsetOf(leaf)) & 0xFFFF));
        write("rom", "descriptor-huge-lengths-crc-off", romMode(true, 2), huge);
        // A text without a terminating zero that runs to the end of the ROM.
        RomLayout open;
        open.directory({RomLayout::immediate(0x03, 1), RomLayout::ref(0x81, 1)});
        open.textLeaf("ABCDEFGHIJKLMNOP");
        write("rom", "descriptor-unterminated", romMode(false, 2), open.image());
    }

    // Entries whose value is 0: each refers to its own quadlet as the block's header.
    {
        Bytes rom = rootWith({RomLayout::immediate(0xD1, 0), RomLayout::immediate(0x81, 0),
                              RomLayout::immediate(0xC3, 0), RomLayout::immediate(0x8D, 0),
                              RomLayout::immediate(0x54, 0)});
        write("rom", "self-reference", romMode(false, 2), rom);
        write("rom", "self-reference-crc-off", romMode(true, 2), rom);
    }

    // Entries pointing past the end of the ROM, and at its last quadlet.
    {
        Bytes rom =
            rootWith({RomLayout::immediate(0xD1, 0xFFFFFF), RomLayout::immediate(0x81, 0xFFFFFF),
                      RomLayout::immediate(0x8D, 0x0000FF), RomLayout::immediate(0xD8, 0x3FFFFF),
                      RomLayout::immediate(0xC3, 0x000004)});
        write("rom", "past-end", romMode(false, 2), rom);
        write("rom", "past-end-crc-off", romMode(true, 2), rom);
    }

    // Huge lengths: the ROM CRC covering 255 quadlets, the root claiming 65535 entries.
    {
        Bytes rom = typical;
        rom[1] = 0xFF;
        write("rom", "huge-crc-length", romMode(false, 2), rom);
        Bytes root = typical;
        put32(root, 20, 0xFFFF0000u | (get32(root, 20) & 0xFFFF));
        write("rom", "huge-root-length", romMode(false, 2), root);
        write("rom", "huge-root-length-crc-off", romMode(true, 2), root);
        // A full 256-quadlet ROM, then bytes beyond what a bus shows.
        Bytes full = typical;
        full.resize(1024, 0);
        write("rom", "full-size", romMode(false, 2), full);
        full.resize(1100, 0xFF);
        write("rom", "over-size", romMode(false, 2), full);
    }

    // Keys the reader does not rule on or does not permit where they stand.
    {
        Bytes rom = rootWith({RomLayout::immediate(0x00, 1), RomLayout::immediate(0x05, 2),
                              RomLayout::immediate(0x40, 3), RomLayout::immediate(0x7F, 4),
                              RomLayout::immediate(0x3F, 5), RomLayout::immediate(0x20, 6),
                              RomLayout::immediate(0xC5, 1), RomLayout::immediate(0x15, 7),
                              RomLayout::immediate(0x12, 0xFFFFFF), RomLayout::immediate(0x03, 0)});
        write("rom", "unruled-keys", romMode(false, 2), rom);
        write("rom", "unruled-keys-crc-off", romMode(true, 0), rom);
    }

    // A chain of instance directories each referring twice to the next one: the reads double per
    // level, 2^80 parses in all unless the reading is bounded.
    {
        RomLayout rom;
        const int depth = 80;
        rom.directory(
            {RomLayout::immediate(0x03, 1), RomLayout::ref(0xD8, 1), RomLayout::ref(0xD8, 1)});
        for (int level = 1; level < depth; ++level)
            rom.directory({RomLayout::ref(0xD8, level + 1), RomLayout::ref(0xD8, level + 1)});
        rom.directory({RomLayout::immediate(0x17, 1)});
        write("rom", "nested-twice", romMode(false, 2), rom.image());
    }
}

void imageSeeds() {
    using rombus_fuzz::imageMode;
    const Bytes typical = rombus_bench::typicalRom();
    write("image", "raw-detect", imageMode(0, false), typical);
    write("image", "raw-big", imageMode(1, false), typical);
    write("image", "raw-file", imageMode(0, true), typical);
    write("image", "little-detect", imageMode(0, false), littleEndian(typical));
    write("image", "little-forced", imageMode(2, false), littleEndian(typical));
    write("image", "little-file", imageMode(3, true), littleEndian(typical));
    Bytes odd = littleEndian(typical);
    odd.pop_back();
    write("image", "little-odd-size", imageMode(0, false), odd);
    Bytes oversize = typical;
    oversize.resize(1025, 0);
    write("image", "raw-over-size", imageMode(0, false), oversize);
    write("image", "empty", imageMode(0, false), Bytes());

    write("image", "text-lines", imageMode(0, false),
          bytesOf(hexText(typical, 1, "\n", "\n", false)));
    write("image", "text-commas-crlf", imageMode(0, true),
          bytesOf(hexText(typical, 4, ", ", "\r\n", true)));
    write("image", "text-little", imageMode(2, false),
          bytesOf(hexText(littleEndian(typical), 8, " ", "\n", true)));
    write("image", "text-short-words", imageMode(0, false),
          bytesOf("0x4 0x31333934 f 0 0 # short\n"));
    write("image", "text-bad-token", imageMode(0, false), bytesOf("04040000 31333934 0xZZ\n"));
    write("image", "text-long-token", imageMode(0, false),
          bytesOf("0x123456789ABCDEF0123456789\n"));
    write("image", "text-comments-only", imageMode(0, false), bytesOf("# nothing\n// here\n\n"));
    std::string tooMany;
    for (int i = 0; i < 257; ++i)
        tooMany += "00000000 ";
    write("image", "text-too-many", imageMode(0, false), bytesOf(tooMany));
}

void registrySeeds() {
    writeText("registry", "small",
              "0000F0 SAMPLE VENDOR ONE\n0030E0 OXFORD SEMICONDUCTOR LTD.\n"
              "00609E NCITS\n00A027 SAMPLE VENDOR TWO\nFCFFAA IEEE Registration Authority\n");
    writeText("registry", "crlf-no-final-newline",
              "000000 XEROX CORPORATION\r\n0030E0 OXFORD SEMICONDUCTOR LTD.\r\nFFFFFF LAST");
    writeText("registry", "oui-text-shape",
              "OUI/MA-L                                                    Organization\n"
              "company_id                                                  Organization\n"
              "                                                            Address\n\n"
              "00-30-E0   (hex)\t\tOXFORD SEMICONDUCTOR LTD.\n"
              "0030E0     (base 16)\t\tOXFORD SEMICONDUCTOR LTD.\n"
              "\t\t\t\t25 Milton Park\n\t\t\t\tAbingdon    OX14 4SH\n\t\t\t\tGB\n");
    writeText("registry", "unsorted-lowercase",
              "00a027 lower case\n00A027 UPPER CASE\n000001 SMALLER AFTER\n7FFFFF MIDDLE\n");
    std::string longLine = "0030E0 ";
    longLine += std::string(400, 'N');
    writeText("registry", "long-line", longLine + "\n00609E AFTER THE LONG LINE\n" + longLine);
    writeText("registry", "wide-identifiers",
              "1000000 SEVEN DIGITS\nFFFFFFFFFFFFFFFFFFFF TWENTY DIGITS\n0030E0\n0030E0    \n"
              "00609E\tTAB SEPARATED\n");
    writeText("registry", "empty", "");
    writeText("registry", "binary-bytes", std::string("0030E0 NAME\0WITH NUL\n\xFF\xFE\n", 25));
}

} // namespace

// The live target's seeds: the typical ROM read cleanly and with each fault, and a ROM whose
// leaf runs past the 256 quadlets while the device answers beyond them.
void liveSeeds() {
    using namespace rombus_fuzz;
    const Bytes typical = rombus_bench::typicalRom();
    const auto seed = [&](const std::string& name, uint8_t faults, uint8_t position, uint8_t count,
                          const Bytes& rom) {
        writeBytes(root / "live" / name,
                   std::string{static_cast<char>(faults), static_cast<char>(position),
                               static_cast<char>(count)},
                   rom);
    };
    seed("clean", 0, 0, 0, typical);
    seed("busy", LiveBusy, 7, 3, typical);
    seed("silent", LiveSilent, 0, 2, typical);
    seed("booting", LiveBooting, 0, 2, typical);
    seed("reset", LiveReset, 5, 0, typical);
    seed("change", LiveChange, 8, 0, typical);
    seed("vanish", LiveVanish, 3, 0, typical);
    seed("kernel-short", LiveKernelShort, 10, 0, typical);
    Bytes past(1200, 0x5A);
    put32(past, 0, 0x04040000);
    put32(past, 4, 0x31333934);
    put32(past, 20, 0x00020000);
    put32(past, 24, 0xD1FFFFFF);
    put32(past, 28, 0x81000000 | (250 - 7));
    put32(past, 1000, 20u << 16);
    seed("past-the-bound", 0, 0, 0, past);
}

// Descriptions for the lifecycle target: the README's example and the forms out of canonical
// layout, each after the mode byte that marks a description.
void descriptionSeeds() {
    const std::pair<const char*, const char*> descriptions[] = {
        {"description-plain", "guid: 0x0030E00000000042\nbus_info:\n  max_rec: 8\nroot:\n"
                              "  - vendor: 0x0030E0\n  - descriptor: \"Vendor\"\n"
                              "  - unit:\n      - specifier_id: 0x00A02D\n"
                              "      - version: 0x010001\n"},
        {"description-layout", "guid: 1\nbus_info:\n  crc_length: 8\n  crc: 0x1234\n"
                               "root_crc: 0xFFFF\nroot:\n  - descriptor: {at: 0x20, crc: 1, "
                               "quadlets: [1, 2]}\n  - unit: {value: 0x40}\n"
                               "unreferenced: {0x40: [5, 6]}\n"},
        {"description-minimal", "minimal_vendor_id: 0x00A02D\n"},
    };
    for (const auto& [name, text] : descriptions)
        writeText("lifecycle", name, std::string("\x01") + text);
    writeText("lifecycle", "description-deep",
              "\x01guid: 1\nroot:\n  - unit: " + std::string(600, '[') + "\n");
    // ROMs whose blocks share quadlets, each described once.
    for (auto [name, rom] : rombus_test::overlappingRoms()) {
        std::replace(name.begin(), name.end(), ' ', '-');
        writeBytes(root / "lifecycle" / ("overlap-" + name), std::string(1, '\0'), rom);
    }
}

// The self-ID target's seeds: maps of a chain, a 16-port star and a 63-PHY bus, a map whose
// length runs past its end, one with a loop in its port states, and a saved bus file.
void selfIdSeeds() {
    using rombus_test::selfIdsOf;
    const auto map = [](const std::vector<rombus::PhySelfId>& phys, uint8_t local) {
        Bytes bytes = {local};
        for (uint32_t quadlet : rombus::encodeTopologyMap(1, phys))
            for (int shift = 24; shift >= 0; shift -= 8)
                bytes.push_back(static_cast<uint8_t>(quadlet >> shift));
        return bytes;
    };
    writeBytes(root / "selfid" / "chain", "", map(selfIdsOf(rombus_test::chain(4)), 3));
    writeBytes(root / "selfid" / "star16", "", map(selfIdsOf(rombus_test::star(16)), 0));
    writeBytes(root / "selfid" / "chain63", "", map(selfIdsOf(rombus_test::chain(63)), 62));
    Bytes past = map(selfIdsOf(rombus_test::chain(2)), 0);
    past[1] = 0xFF;
    writeBytes(root / "selfid" / "length-past-end", "", past);
    std::vector<rombus::PhySelfId> loop = selfIdsOf(rombus_test::chain(3));
    loop[0].ports[1] = rombus::PortState::Child;
    writeBytes(root / "selfid" / "loop", "", map(loop, 2));
    lib1394::BusCapture capture;
    capture.name = "card 0";
    capture.topology = rombus::encodeTopologyMap(3, selfIdsOf(rombus_test::star(3)));
    capture.phys[3].deviceFile = "/dev/fw0";
    capture.phys[3].rom = rombus_bench::typicalRom();
    capture.phys[1].identity = {true, true, 0x08002A, 0x412345, ""};
    writeBytes(root / "selfid" / "bus-file", "\x01", bytesOf(rombus::formatBusFile(capture)));
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make-corpus FOLDER\n");
        return 2;
    }
    root = argv[1];
    romSeeds();
    imageSeeds();
    registrySeeds();
    liveSeeds();
    descriptionSeeds();
    selfIdSeeds();
    return 0;
}
