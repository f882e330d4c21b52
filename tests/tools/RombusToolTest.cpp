// Drives the built rombus program: its exit status, its output and its JSON read back.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const std::string sample = ROMBUS_SOURCE_DIR "/examples/sysfs";
const std::string sampleDisk =
    sample + "/devices/pci0000:00/0000:00:1e.0/0000:05:00.0/fw1/config_rom";

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

std::string readAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

class RombusTool : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() /
                  ("rombus-tool-" +
                   std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        registry_ = write("registry.txt", "0030E0 OXFORD SEMICONDUCTOR LTD.\n"
                                          "00609E NCITS\n"
                                          "080028 Texas Instruments\n");
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string write(const std::string& name, const std::string& content) {
        std::ofstream(folder_ / name, std::ios::binary) << content;
        return (folder_ / name).string();
    }

    Outcome rombus(const std::string& arguments) {
        const fs::path out = folder_ / "stdout", err = folder_ / "stderr";
        const std::string command = std::string("'") + ROMBUS_BINARY + "' " + arguments + " >'" +
                                    out.string() + "' 2>'" + err.string() + "'";
        const int raw = std::system(command.c_str());
        Outcome run;
        run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        run.out = readAll(out);
        run.err = readAll(err);
        return run;
    }

    json rombusJson(const std::string& arguments, int expectedStatus) {
        const Outcome run = rombus(arguments + " --format json --registry " + registry_);
        EXPECT_EQ(run.status, expectedStatus) << run.err;
        return json::parse(run.out);
    }

    fs::path folder_;
    std::string registry_;
};

const json* findDevice(const json& report, const std::string& locatorPart) {
    for (const json& device : report["devices"])
        if (device["locator"].get<std::string>().find(locatorPart) != std::string::npos)
            return &device;
    return nullptr;
}

std::string messagesOf(const json& node) {
    std::string texts;
    for (const json& message : node["messages"])
        texts += std::to_string(message["level"].get<int>()) + " " +
                 message["text"].get<std::string>() + "\n";
    return texts;
}

TEST_F(RombusTool, TheSampleBusShowsEveryKindOfProblemInJson) {
    const json report = rombusJson("scan --sysfs " + sample, 1);
    EXPECT_TRUE(report["result"].get<bool>());
    ASSERT_EQ(report["nodes"].size(), 8u);
    EXPECT_TRUE(report["reports"].empty());

    const json& nodes = report["nodes"];
    EXPECT_EQ(nodes[0]["locator"], "IEEE1394NODE:0:0800280000001394h");
    EXPECT_EQ(nodes[4]["locator"], "IEEE1394NODE:1:0800280000002394h");
    for (size_t clean : {0, 1, 4})
        EXPECT_TRUE(nodes[clean]["messages"].empty()) << messagesOf(nodes[clean]);
    EXPECT_EQ(messagesOf(nodes[2]),
              "2 configuration rom CRC check failed: expected 20C0h, found 3DE3h at offset 4h\n");
    EXPECT_NE(messagesOf(nodes[3]).find("2 A required CSR directory entry of type \"Immediate - "
                                        "Vendor\" was not found"),
              std::string::npos);
    EXPECT_NE(messagesOf(nodes[5]).find("\"Immediate - Node Capabilities\" is not permitted"),
              std::string::npos);
    EXPECT_NE(messagesOf(nodes[6]).find("found 31333935h"), std::string::npos);
    EXPECT_TRUE(nodes[7]["messages"].empty());

    // Devices in the order handed over: port 0, its nodes' trees and nodes, then port 1.
    const json& devices = report["devices"];
    EXPECT_EQ(devices[0]["name"], "IEEE1394PORT:0");
    EXPECT_EQ(devices[0]["childBusIds"], json::array({"IEEE1394NODE:0"}));
    EXPECT_EQ(devices[0]["properties"]["ConfigROMAccessible"], true);
    size_t port1 = 0;
    for (size_t i = 0; i < devices.size(); ++i)
        if (devices[i]["locator"] == "IEEE1394PORT:1")
            port1 = i;
    const json* lastOfPort0 = findDevice(report, "IEEE1394NODE:0:0030e00000000003h");
    ASSERT_NE(lastOfPort0, nullptr);
    EXPECT_GT(port1, static_cast<size_t>(lastOfPort0 - &devices[0]));

    const json* vendor = findDevice(report, "0x0030e00000000001:IMMEDIATE@fffff0000418");
    ASSERT_NE(vendor, nullptr);
    EXPECT_EQ((*vendor)["properties"]["ImmediateValue"], 0x0030E0);
    EXPECT_EQ((*vendor)["properties"]["VendorName"], "OXFORD SEMICONDUCTOR LTD.");
    EXPECT_EQ((*vendor)["properties"]["__parentLocator"],
              "IEEE1394NODE:0:0x0030e00000000001:DIRECTORY@fffff0000414");
    const json* unreadable = findDevice(report, "IEEE1394NODE:1:0030e00000000006h");
    ASSERT_NE(unreadable, nullptr);
    EXPECT_EQ((*unreadable)["properties"]["ConfigROMAccessible"], false);
    const json* node = findDevice(report, "IEEE1394NODE:0:0800280000001394h");
    EXPECT_EQ((*node)["properties"]["MaxDataRecSize"], 512);
    EXPECT_EQ((*node)["properties"]["CycleMasterCap"], true);
}

TEST_F(RombusTool, TheCrcLevelDecidesWhetherAMismatchStopsTheReading) {
    const json relaxed = rombusJson("scan --crc-level 0 --sysfs " + sample, 1);
    EXPECT_TRUE(relaxed["nodes"][2]["messages"].empty());
    EXPECT_NE(findDevice(relaxed, "0x0030e00000000002:DIRECTORY@fffff0000414"), nullptr);
    const json warning = rombusJson("scan --crc-level 1 --sysfs " + sample, 1);
    ASSERT_EQ(warning["nodes"][2]["messages"].size(), 1u);
    EXPECT_EQ(warning["nodes"][2]["messages"][0]["level"], 1);
    EXPECT_NE(findDevice(warning, "0x0030e00000000002:DIRECTORY@fffff0000414"), nullptr);
    const json strict = rombusJson("scan --sysfs " + sample, 1);
    EXPECT_EQ(findDevice(strict, "0x0030e00000000002:DIRECTORY@fffff0000414"), nullptr);
}

TEST_F(RombusTool, TheTextReportShowsTheTreeAndTheProblemsWithin100Columns) {
    const Outcome run = rombus("scan --sysfs " + sample + " --registry " + registry_);
    EXPECT_EQ(run.status, 1);
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 100u) << line;
    for (const char* expected :
         {"Port 0  IEEE1394PORT:0", "  Node 1  fw1  IEEE1394NODE:0:0030e00000000001h",
          "      Immediate - Vendor  at 18h  0x0030E0  \"OXFORD SEMICONDUCTOR LTD.\"",
          "        Leaf - Descriptor  at 5Ch  \"FW800 sample disk\"",
          "      error    configuration rom CRC check failed", "Port 1  IEEE1394PORT:1",
          "    Not read: the ROM is not accessible.",
          "Summary: 2 ports, 8 nodes: 3 without problems, 4 with problems, 1 not accessible."})
        EXPECT_NE(run.out.find(expected), std::string::npos) << expected << "\n" << run.out;
    // Problem lines reach standard error by default, and not with --log-level 5.
    EXPECT_NE(run.err.find("error attaching sysinfo"), std::string::npos);
    EXPECT_EQ(rombus("scan --log-level 5 --sysfs " + sample + " --registry " + registry_).err, "");
}

TEST_F(RombusTool, ImagesInAllThreeFormsGiveIdenticalResults) {
    // The sample's config_rom holds little-endian quadlets, as Linux shows them on x86.
    const std::string little = readAll(sampleDisk);
    ASSERT_EQ(little.size() % 4, 0u);
    std::string big = little;
    std::string text = "# FW800 sample disk\n";
    for (size_t i = 0; i < big.size(); i += 4) {
        std::swap(big[i], big[i + 3]);
        std::swap(big[i + 1], big[i + 2]);
        char quadlet[16];
        std::snprintf(quadlet, sizeof quadlet, "0x%02x%02x%02x%02x", uint8_t(big[i]),
                      uint8_t(big[i + 1]), uint8_t(big[i + 2]), uint8_t(big[i + 3]));
        text += quadlet + std::string(i % 16 == 12 ? " // four\n" : ", ");
    }
    const json fromBig = rombusJson("check " + write("disk.bin", big), 0);
    const json fromLittle = rombusJson("check " + write("disk.le", little), 0);
    const json fromText = rombusJson("check " + write("disk.txt", text), 0);
    EXPECT_EQ(fromBig, fromLittle);
    EXPECT_EQ(fromBig, fromText);
    EXPECT_EQ(fromBig["nodes"][0]["locator"], "IEEE1394NODE:0:0030e00000000001h");
    // Named byte orders: le on the bus-order image breaks its signature, be keeps it.
    EXPECT_EQ(rombusJson("check --byte-order be " + write("b.bin", big), 0), fromBig);
    const json wrong = rombusJson("check --byte-order le " + write("w.bin", big), 1);
    EXPECT_NE(messagesOf(wrong["nodes"][0]).find("signature mismatch"), std::string::npos);
}

// IEEE 1212 CRC-16 of quadlets.
uint16_t crc16(const std::vector<uint32_t>& rom, size_t begin, size_t count) {
    uint32_t crc = 0;
    for (size_t i = begin; i < begin + count; ++i)
        for (int shift = 28; shift >= 0; shift -= 4) {
            const uint32_t sum = ((crc >> 12) ^ (rom[i] >> shift)) & 0xF;
            crc = (crc << 4) ^ (sum << 12) ^ (sum << 5) ^ sum;
        }
    return static_cast<uint16_t>(crc);
}

// A ROM whose root directory refers twice to a directory that refers twice to the next, levels
// deep: read faithfully, 2^levels directories. As hex text.
std::string doublingRom(unsigned levels) {
    std::vector<uint32_t> rom = {0, 0x31333934, 0xE0648002, 0x0030E000, 0x00000007};
    const auto directory = [&rom](std::vector<uint32_t> entries) {
        rom.push_back(uint32_t(entries.size()) << 16);
        rom.insert(rom.end(), entries.begin(), entries.end());
    };
    // Level i starts at quadlet 9 + 3 * i; its entries at 10 + 3 * i and 11 + 3 * i.
    directory({0x030030E0, 0xD4000000 | (9 - 7), 0xD4000000 | (9 - 8)});
    for (unsigned i = 0; i < levels; ++i)
        directory({0xD4000000 | 2, 0xD4000000 | 1});
    directory({0x17000001});
    for (size_t at = 5; at < rom.size(); at += 1 + (rom[at] >> 16))
        rom[at] |= crc16(rom, at + 1, rom[at] >> 16);
    rom[0] = 0x04040000 | crc16(rom, 1, 4);
    std::string text;
    for (uint32_t quadlet : rom) {
        char hex[12];
        std::snprintf(hex, sizeof hex, "%08x\n", quadlet);
        text += hex;
    }
    return text;
}

TEST_F(RombusTool, AReadingThatRunsOutOfReadsIsReportedAndCountsAsAFailure) {
    const std::string deep = write("deep.txt", doublingRom(60));
    const std::string shallow = write("shallow.txt", doublingRom(2));
    const Outcome run = rombus("check " + shallow + " " + deep + " --registry " + registry_);
    EXPECT_EQ(run.status, 1);
    const size_t deepNode = run.out.find("Node 1  " + deep);
    ASSERT_NE(deepNode, std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("Reading stopped"), run.out.find("Reading stopped", deepNode));
    EXPECT_NE(run.out.find("Reading stopped: the ROM asked for more than 65536 reads"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("1 without problems, 1 read failed"), std::string::npos) << run.out;
    // Levels beyond the twentieth are marked, not indented further.
    EXPECT_NE(run.out.find("(level 40) Directory - Dependent Information"), std::string::npos);
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 100u) << line;
    EXPECT_EQ(rombus("check " + shallow + " --registry " + registry_).status, 0);
}

TEST_F(RombusTool, TwoNodesOfOneUniqueIdKeepTheirOwnTrees) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const Outcome run = rombus("check " + disk + " " + disk + " --registry " + registry_);
    EXPECT_EQ(run.status, 0) << run.err;
    const size_t first = run.out.find("  Node 0  ");
    const size_t second = run.out.find("  Node 1  ");
    ASSERT_NE(second, std::string::npos) << run.out;
    const std::string root = "    Directory - Root  at 14h";
    EXPECT_NE(run.out.find(root, first), std::string::npos);
    EXPECT_LT(run.out.find(root, first), second);
    EXPECT_NE(run.out.find(root, second), std::string::npos);
}

TEST_F(RombusTool, BadInputNamesTheFileAndExitsWith2) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const struct {
        std::string path;
        std::string message;
    } cases[] = {
        {write("empty.rom", ""), "the file is empty"},
        {write("huge.rom", std::string(1100, '\x02')), "1100 bytes, more than the 1024 bytes"},
        {write("typo.txt", "04041234 31333934\nE06480g2\n"), "line 2: \"E06480g2\" is not"},
        {(folder_ / "missing.rom").string(), "cannot be opened"},
        {folder_.string(), "is a directory"},
    };
    for (const auto& c : cases) {
        const Outcome alone = rombus("check " + c.path);
        EXPECT_EQ(alone.status, 2) << c.path;
        EXPECT_NE(alone.err.find(c.path + ": " + c.message), std::string::npos) << alone.err;
        // Among good files: reported, and the good files' output is all there.
        const Outcome mixed = rombus("check " + disk + " " + c.path + " " + disk +
                                     " --format json --registry " + registry_);
        EXPECT_EQ(mixed.status, 2);
        EXPECT_NE(mixed.err.find(c.path), std::string::npos) << mixed.err;
        const json report = json::parse(mixed.out);
        EXPECT_EQ(report["nodes"].size(), 2u);
        EXPECT_TRUE(report["nodes"][1]["messages"].empty());
    }
}

TEST_F(RombusTool, UsageErrorsAndEmptyBusesAreToldPlainly) {
    EXPECT_EQ(rombus("").status, 2);
    EXPECT_EQ(rombus("check").status, 2);
    EXPECT_EQ(rombus("scan --format xml").status, 2);
    EXPECT_EQ(rombus("scan --crc-level 3").status, 2);
    EXPECT_EQ(rombus("check --byte-order middle x").status, 2);
    const Outcome noRoot = rombus("scan --sysfs " + (folder_ / "nowhere").string());
    EXPECT_EQ(noRoot.status, 2);
    EXPECT_NE(noRoot.err.find("nowhere: no such folder"), std::string::npos);
    const Outcome badRegistry = rombus("scan --sysfs " + sample + " --registry /nonexistent/reg");
    EXPECT_EQ(badRegistry.status, 2);
    EXPECT_NE(badRegistry.err.find("/nonexistent/reg"), std::string::npos);

    const Outcome empty = rombus("scan --sysfs " + folder_.string() + " --registry " + registry_);
    EXPECT_EQ(empty.status, 0);
    EXPECT_NE(empty.out.find("No FireWire devices under " + folder_.string()), std::string::npos);
    const json emptyJson = rombusJson("scan --sysfs " + folder_.string(), 0);
    EXPECT_FALSE(emptyJson["result"].get<bool>());
    EXPECT_TRUE(emptyJson["devices"].empty());
}

TEST_F(RombusTool, HelpDocumentsEveryOptionTheRegistryAndTheExitStatuses) {
    const Outcome help = rombus("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* expected :
         {"--registry", "--crc-level", "--format", "--log-level", "--byte-order", "--version",
          "--sysfs", "--from", "-o", "scan", "check FILE", "registry import", "Exit status",
          "share/rombus/oui-registry.txt", "/usr/share/ieee-data/oui.txt"})
        EXPECT_NE(help.out.find(expected), std::string::npos) << expected;
    const Outcome version = rombus("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("rombus ", 0), 0u);
}

TEST_F(RombusTool, RegistryImportWritesTheModulesFormat) {
    const std::string source =
        write("oui.csv", "Registry,Assignment,Organization Name,Organization Address\r\n"
                         "MA-L,080028,Texas Instruments,Dallas\r\n"
                         "MA-L,0030E0,\"OXFORD SEMICONDUCTOR, LTD.\",Abingdon\r\n");
    const std::string out = (folder_ / "share/registry.txt").string();
    const Outcome run = rombus("registry import --from " + source + " -o " + out);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(readAll(out), "0030E0 OXFORD SEMICONDUCTOR, LTD.\n080028 Texas Instruments\n");
    const Outcome toStdout = rombus("registry import --from " + source);
    EXPECT_EQ(toStdout.out, readAll(out));
    const Outcome missing = rombus("registry import --from " + (folder_ / "none.csv").string());
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("none.csv"), std::string::npos);
}

TEST_F(RombusTool, WithoutRegistryTheOneBuiltFromIeeeDataNamesTheVendors) {
    const fs::path built =
        fs::path(ROMBUS_BINARY).parent_path().parent_path() / "share/rombus/oui-registry.txt";
    if (!fs::exists(built))
        GTEST_SKIP() << "no registry was built (ieee-data missing)";
    const Outcome run = rombus("scan --format json --sysfs " + sample);
    EXPECT_EQ(run.status, 1);
    const json report = json::parse(run.out);
    const json* vendor = findDevice(report, "0x0800280000001394:IMMEDIATE@fffff0000418");
    ASSERT_NE(vendor, nullptr);
    EXPECT_EQ((*vendor)["properties"]["VendorName"], "Texas Instruments");
}

TEST_F(RombusTool, TheCommittedSampleIsWhatTheGeneratorWrites) {
    const fs::path generated = folder_ / "sysfs";
    const std::string generator = (fs::path(ROMBUS_BINARY).parent_path() / "make-sample").string();
    ASSERT_EQ(std::system(("'" + generator + "' '" + generated.string() + "'").c_str()), 0);
    size_t compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(sample)) {
        const fs::path relative = entry.path().lexically_relative(sample);
        const fs::path other = generated / relative;
        if (entry.is_symlink()) {
            EXPECT_EQ(fs::read_symlink(entry.path()), fs::read_symlink(other)) << relative;
        } else if (entry.is_regular_file()) {
            EXPECT_EQ(readAll(entry.path()), readAll(other)) << relative;
            ++compared;
        }
    }
    EXPECT_GT(compared, 20u);
}

} // namespace
