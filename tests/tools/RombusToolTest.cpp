// Drives the built rombus program: its exit status, its output and its JSON read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ReportSchema.h"
#include "rombus_support/HostileRoms.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/SysfsTree.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/ToolRun.h"

#include <sys/stat.h>

#include <csignal>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using rombus_test::flat;
using rombus_test::hexLines;
using rombus_test::namesIn;
using rombus_test::Outcome;
using rombus_test::readAll;
using testing::HasSubstr;

const std::string sample = ROMBUS_SOURCE_DIR "/examples/sysfs";
const std::string sampleDisk =
    sample + "/devices/pci0000:00/0000:00:1e.0/0000:05:00.0/fw1/config_rom";

void expectWithin100Columns(const std::string& report) {
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 100u) << line;
}

// A report without the nodes' sources (file names), to compare reports of different files.
json withoutSources(json report) {
    for (json& node : report["nodes"])
        node.erase("source");
    return report;
}

// The device whose locator holds the text, or null.
json findDevice(const json& report, const std::string& locatorPart) {
    for (const json& device : report["devices"])
        if (device["locator"].get<std::string>().find(locatorPart) != std::string::npos)
            return device;
    return nullptr;
}

std::string messagesOf(const json& node) {
    std::string texts;
    for (const json& message : node["messages"])
        texts += std::to_string(message["level"].get<int>()) + " " +
                 message["text"].get<std::string>() + "\n";
    return texts;
}

class RombusTool : public ::testing::Test {
protected:
    void SetUp() override {
        registry_ = write("registry.txt", "0030E0 OXFORD SEMICONDUCTOR LTD.\n"
                                          "00609E NCITS\n"
                                          "080028 Texas Instruments\n");
    }
    template <typename Content> std::string write(const std::string& name, const Content& content) {
        return folder_.write(name, content);
    }

    Outcome rombus(const std::string& arguments) {
        return rombus_test::runCommand(folder_,
                                       std::string("'") + ROMBUS_BINARY + "' " + arguments);
    }

    // With the test's registry, and the text report unless JSON is asked for.
    Outcome registered(const std::string& arguments) {
        return rombus(arguments + " --registry " + registry_);
    }

    // The text report as a terminal shows it: the tool run under script(1).
    std::string onTerminal(const std::string& environment, const std::string& arguments) {
        return rombus_test::runCommand(
                   folder_, "script -qec \"" + environment + " '" + ROMBUS_BINARY + "' " +
                                arguments + " --registry " + registry_ + "\" /dev/null </dev/null")
            .out;
    }

    // The tool run with the file size limit at zero, as a full disk would have it: its exit
    // status and what it wrote to standard error, through a pipe, which no limit of file sizes
    // touches.
    Outcome withoutRoomToWrite(const std::string& arguments) {
        const Outcome run = rombus_test::runCommand(
            folder_, "sh -c '(trap \"\" XFSZ; ulimit -f 0; \"" + std::string(ROMBUS_BINARY) +
                         "\" " + arguments + " 2>&1 >/dev/null; echo \"status $?\") | cat'");
        const size_t status = run.out.rfind("status ");
        if (status == std::string::npos)
            return {-1, "", run.out};
        return {std::atoi(run.out.c_str() + status + 7), "", run.out.substr(0, status)};
    }

    // The report as JSON, checked against the report's schema.
    json rombusJson(const std::string& arguments, int expectedStatus) {
        const Outcome run = registered(arguments + " --format json");
        EXPECT_EQ(run.status, expectedStatus) << run.err;
        rombus_test::expectValidReport(write("report.json", run.out));
        return json::parse(run.out);
    }

    rombus_test::TestFolder folder_;
    std::string registry_;
};

TEST_F(RombusTool, TheSampleBusShowsEveryKindOfProblemInJson) {
    const json report = rombusJson("scan --sysfs " + sample, 1);
    EXPECT_TRUE(report["result"].get<bool>());
    EXPECT_TRUE(report["reports"].empty());
    const json& nodes = report["nodes"];
    ASSERT_EQ(nodes.size(), 8u);
    EXPECT_EQ(nodes[0]["locator"], "IEEE1394NODE:0:0800280000001394h");
    EXPECT_EQ(nodes[4]["locator"], "IEEE1394NODE:1:0800280000002394h");
    const char* const problems[] = {
        "",
        "",
        "2 configuration rom CRC check failed: expected 20C0h, found 3DE3h at offset 4h\n",
        "2 A required CSR directory entry of type \"Immediate - Vendor\" was not found",
        "",
        "\"Immediate - Node Capabilities\" is not permitted",
        "found 31333935h",
        ""};
    for (size_t n = 0; n < nodes.size(); ++n) {
        if (*problems[n])
            EXPECT_THAT(messagesOf(nodes[n]), HasSubstr(problems[n])) << n;
        else
            EXPECT_EQ(messagesOf(nodes[n]), "") << n;
    }

    // Devices in the order handed over: port 0, its nodes' trees and nodes, then port 1.
    const json& devices = report["devices"];
    EXPECT_EQ(devices[0]["name"], "IEEE1394PORT:0");
    EXPECT_EQ(devices[0]["childBusIds"], json::array({"IEEE1394NODE:0"}));
    EXPECT_EQ(devices[0]["properties"]["ConfigROMAccessible"], true);
    std::string order = "\n";
    for (const json& device : devices)
        order += device["locator"].get<std::string>() + "\n";
    const size_t port1 = order.find("\nIEEE1394PORT:1\n");
    EXPECT_TRUE(port1 != std::string::npos &&
                order.find("IEEE1394NODE:0:0030e00000000003h") < port1);

    EXPECT_EQ(findDevice(report, "0x0030e00000000002:DIRECTORY@fffff0000414"), nullptr)
        << "the default CRC level stops at a mismatch";
    const json vendor = findDevice(report, "0x0030e00000000001:IMMEDIATE@fffff0000418");
    EXPECT_EQ(vendor["properties"]["ImmediateValue"], 0x0030E0);
    EXPECT_EQ(vendor["properties"]["VendorName"], "OXFORD SEMICONDUCTOR LTD.");
    EXPECT_EQ(vendor["properties"]["__parentLocator"],
              "IEEE1394NODE:0:0x0030e00000000001:DIRECTORY@fffff0000414");
    EXPECT_EQ(
        findDevice(report, "IEEE1394NODE:0:0800280000001394h")["properties"]["MaxDataRecSize"],
        512);
}

TEST_F(RombusTool, TheCrcLevelDecidesWhetherAMismatchStopsTheReading) {
    const json warning = rombusJson("scan --crc-level 1 --sysfs " + sample, 1);
    EXPECT_EQ(messagesOf(warning["nodes"][2]).rfind("1 configuration rom CRC", 0), 0u);
    EXPECT_NE(findDevice(warning, "0x0030e00000000002:DIRECTORY@fffff0000414"), nullptr);
    EXPECT_TRUE(
        rombusJson("scan --crc-level 0 --sysfs " + sample, 1)["nodes"][2]["messages"].empty());
}

TEST_F(RombusTool, TheTextReportShowsTheTreeAndTheProblemsWithin100Columns) {
    const Outcome run = registered("scan --sysfs " + sample);
    EXPECT_EQ(run.status, 1);
    expectWithin100Columns(run.out);
    for (const char* expected :
         {"Port 0  IEEE1394PORT:0", "  Node 1  fw1  IEEE1394NODE:0:0030e00000000001h",
          "      Immediate - Vendor  at 18h  0x0030E0  \"OXFORD SEMICONDUCTOR LTD.\"",
          "        Leaf - Descriptor  at 58h -> 5Ch  \"FW800 sample disk\"",
          "      error    configuration rom CRC check failed", "Port 1  IEEE1394PORT:1",
          "    Not read: the ROM is not accessible.",
          "Summary: 2 ports, 8 nodes: 3 without problems, 4 with problems, 1 not accessible."})
        EXPECT_THAT(run.out, HasSubstr(expected));
    // The module's log lines reach standard error only when asked for.
    EXPECT_EQ(run.err, "");
    for (const char* verbose : {"-vv", "--log-level 3", "-v -v -v"})
        EXPECT_THAT(registered(std::string(verbose) + " scan --sysfs " + sample).err,
                    HasSubstr("error attaching sysinfo"))
            << verbose;
    // One -v: failures of whole readings only, such as a ROM too short for its bus information.
    EXPECT_EQ(registered("-v scan --sysfs " + sample).err, "");
    EXPECT_THAT(registered("-v check " + write("short.bin", "\x01\xAC\xDE\x48")).err,
                HasSubstr("log: libRombus.Lib1394SysInfo [4]"));
}

TEST_F(RombusTool, ByteOrdersFoundOrNamedGiveTheSameNode) {
    // The sample's config_rom holds little-endian quadlets, as Linux shows them on x86.
    const std::string little = readAll(sampleDisk);
    std::string big = little;
    for (size_t i = 0; i + 4 <= big.size(); i += 4)
        std::reverse(big.begin() + i, big.begin() + i + 4);
    const json fromBig = withoutSources(rombusJson("check " + write("disk.bin", big), 0));
    EXPECT_EQ(fromBig["nodes"][0]["locator"], "IEEE1394NODE:0:0030e00000000001h");
    EXPECT_EQ(withoutSources(rombusJson("check " + write("disk.le", little), 0)), fromBig);
    // Named byte orders: le on the bus-order image breaks its signature, be keeps it.
    EXPECT_EQ(withoutSources(rombusJson("check --byte-order be " + write("b.bin", big), 0)),
              fromBig);
    const json wrong = rombusJson("check --byte-order le " + write("w.bin", big), 1);
    EXPECT_THAT(messagesOf(wrong["nodes"][0]), HasSubstr("signature mismatch"));
}

TEST_F(RombusTool, ANodeThatRunsOutOfItsBudgetIsReportedAndCountsAsAFailure) {
    const std::string deep = write("deep.bin", rombus_test::deepDoublingRom());
    const std::string shallow =
        write("shallow.bin",
              rombus_test::doublingLayout(2, 0xD4, rombus_test::RomLayout::immediate(0x17, 1), 1)
                  .image());
    const std::string storm = write("storm.bin", rombus_test::wideLookupStormRom());
    const std::string files = " " + shallow + " " + deep + " " + storm;
    const Outcome run = registered("check" + files);
    EXPECT_EQ(run.status, 1);
    const size_t deepNode = run.out.find(deep);
    ASSERT_NE(deepNode, std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("Reading stopped"), run.out.find("Reading stopped", deepNode));
    EXPECT_THAT(run.out, HasSubstr("Reading stopped: the ROM asked for more than 256 entries"));
    EXPECT_THAT(run.out, HasSubstr("Reading stopped: the ROM asked for more than 64 vendor "
                                   "lookups"));
    EXPECT_THAT(run.out, HasSubstr("1 without problems, 2 read failed"));
    // Levels beyond the twentieth are marked, not indented further.
    EXPECT_THAT(run.out, HasSubstr("(level 40) Directory - Dependent Information"));
    expectWithin100Columns(run.out);

    const json report = rombusJson("check" + files, 1);
    EXPECT_TRUE(report["nodes"][0]["readingStopped"].is_null());
    EXPECT_EQ(report["nodes"][1]["readingStopped"],
              json::parse(R"({"budget": "entries", "limit": 256})"));
    EXPECT_EQ(report["nodes"][2]["readingStopped"],
              json::parse(R"({"budget": "lookups", "limit": 64})"));
    EXPECT_EQ(registered("check " + shallow).status, 0);
}

TEST_F(RombusTool, TwoNodesOfOneUniqueIdKeepTheirOwnTrees) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const Outcome run = registered("check " + disk + " " + disk);
    EXPECT_EQ(run.status, 0) << run.err;
    const size_t second = run.out.find("  Node 1  ");
    ASSERT_NE(second, std::string::npos) << run.out;
    const std::string root = "    Directory - Root  at 14h";
    EXPECT_LT(run.out.find(root, run.out.find("  Node 0  ")), second);
    EXPECT_NE(run.out.find(root, second), std::string::npos);
}

TEST_F(RombusTool, BadInputNamesTheFileAndExitsWith2) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const std::string fifo = (folder_.path() / "fifo.rom").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {
        {write("empty.rom", ""), "the file is empty"},
        {write("huge.rom", std::string(1100, '\x02')), "1100 bytes, more than the 1024 bytes"},
        {write("vast.rom", std::string((1 << 20) + 1, '0')), "is larger than 1048576 bytes"},
        {write("typo.txt", "04041234 31333934\nE06480g2\n"), "line 2: \"E06480g2\" is not"},
        {write("bom.txt", "\xEF\xBB\xBF"
                          "04041234 31333934\n"),
         "begins with a byte-order mark"},
        {write("nul.txt", std::string("04041234\n\0\n31333934\n", 20)),
         "holds a NUL byte at byte 9"},
        {(folder_.path() / "missing.rom").string(), "cannot be opened"},
        {folder_.path().string(), "is a folder, not a file"},
        {fifo, "is a FIFO, not a regular file"},
        {"/dev/null", "is a character device, not a regular file"},
    };
    for (const auto& [path, message] : cases) {
        const Outcome alone = rombus("check " + path);
        EXPECT_EQ(alone.status, 2) << path;
        EXPECT_THAT(alone.err, HasSubstr(path + ": " + message));
        // Among good files: reported, and the good files' output is all there.
        const Outcome mixed =
            registered("check " + disk + " " + path + " " + disk + " --format json");
        EXPECT_EQ(mixed.status, 2);
        EXPECT_THAT(mixed.err, HasSubstr(path));
        rombus_test::expectValidReport(write("mixed.json", mixed.out));
        const json report = json::parse(mixed.out);
        EXPECT_EQ(report["nodes"].size(), 2u);
        EXPECT_TRUE(report["nodes"][1]["messages"].empty());
    }
}

// --live without FireWire hardware: a folder without device files is a bus without nodes.
TEST_F(RombusTool, LiveScanNeedsDeviceFiles) {
    const fs::path dev = folder_.path() / "dev";
    fs::create_directories(dev);
    const Outcome none = registered("scan --live --dev " + dev.string());
    EXPECT_EQ(none.status, 3);
    EXPECT_THAT(none.err, HasSubstr(dev.string() + ": no FireWire device files (fw*)"));
    // --live and --sysfs are two sources; --dev belongs to --live.
    EXPECT_EQ(rombus("scan --live --sysfs " + sample).status, 2);
    EXPECT_EQ(rombus("scan --dev " + dev.string()).status, 2);
}

TEST_F(RombusTool, UsageErrorsAreToldPlainly) {
    const std::pair<std::string, std::string> usage[] = {
        {"", ""},
        {"check", ""},
        {"scan --format xml", ""},
        {"scan --crc-level 3", ""},
        {"check --byte-order middle x", ""},
        {"scan --sysfs " + (folder_.path() / "nowhere").string(), "nowhere: no such folder"},
        {"scan --sysfs " + sample + " --registry /nonexistent/reg", "/nonexistent/reg"},
    };
    for (const auto& [arguments, message] : usage) {
        const Outcome run = rombus(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_THAT(run.err, HasSubstr(message));
    }
}

TEST_F(RombusTool, HelpDocumentsEveryOptionTheRegistryAndTheExitStatuses) {
    const Outcome help = rombus("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* expected :
         {"--registry", "--crc-level", "--format", "--color", "-v,--verbose", "--log-level",
          "--byte-order", "--version", "scan", "check", "registry", "Exit status",
          "share/rombus/oui-registry.txt", "rombus-report.schema.json"})
        EXPECT_THAT(help.out, HasSubstr(expected));
    // Each command's help is its own: its options and its details, not the others'.
    const std::pair<std::string, std::vector<std::string>> commands[] = {
        {"scan --help", {"--sysfs", "--live", "--dev", "--save-roms", "--overwrite"}},
        {"check --help", {"FILE", "'-' reads", "63 to a port"}},
        {"registry import --help", {"--from", "-o,--output", "/usr/share/ieee-data/oui.txt"}},
    };
    for (const auto& [arguments, expected] : commands) {
        const Outcome command = rombus(arguments);
        EXPECT_EQ(command.status, 0) << arguments;
        for (const std::string& text : expected)
            EXPECT_THAT(command.out, HasSubstr(text)) << arguments;
        EXPECT_EQ(command.out.find("Subcommands:"), std::string::npos) << arguments;
    }
    const Outcome version = rombus("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("rombus ", 0), 0u);
}

TEST_F(RombusTool, WhatIsNotARegularFileIsNamedAndNothingBlocks) {
    const std::string fifo = (folder_.path() / "fifo").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::pair<std::string, std::string> refused[] = {
        {"scan --sysfs " + sample + " --registry " + fifo,
         fifo + ": the vendor registry is a FIFO"},
        {"registry import --from " + fifo, fifo + ": is a FIFO, not a regular file"},
        {"registry import --from /dev/zero", "/dev/zero: is a character device"},
    };
    for (const auto& [arguments, message] : refused) {
        const Outcome run = rombus(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_THAT(run.err, HasSubstr(message));
    }

    // A bus whose second node's config_rom is a FIFO and whose third link leads nowhere.
    const rombus_test::SysfsTree tree(folder_.path() / "sysfs");
    const fs::path good = tree.add("pci/a", "fw0");
    fs::copy_file(sampleDisk, good / "config_rom");
    const fs::path blocked = tree.add("pci/a", "fw1");
    ASSERT_EQ(mkfifo((blocked / "config_rom").c_str(), 0600), 0);
    fs::create_directory_symlink("../../../devices/pci/a/gone",
                                 tree.root() / "bus/firewire/devices/fw2");
    const std::string scan = "scan --sysfs " + tree.root().string();
    const Outcome run = registered(scan);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("    Note: config_rom is a FIFO, not a regular file\n"));
    EXPECT_THAT(run.out, HasSubstr("Notes on the bus:\n  fw2: a link that leads to no device"));
    EXPECT_THAT(run.out, HasSubstr("2 nodes: 1 without problems, 1 not accessible"));
    const json report = rombusJson(scan, 1);
    EXPECT_EQ(report["nodes"][0]["notes"], json::array());
    EXPECT_EQ(report["nodes"][1]["notes"][0], "config_rom is a FIFO, not a regular file");
    EXPECT_EQ(report["notes"].size(), 1u);
}

TEST_F(RombusTool, AReportThatCannotBeWrittenIsAFailure) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    for (const std::string& arguments :
         {"check " + disk + " --registry " + registry_, std::string("registry import"),
          std::string("--help"), std::string("--version"), std::string("check --help")}) {
        const Outcome run = rombus_test::runCommand(folder_, "('" + std::string(ROMBUS_BINARY) +
                                                                 "' " + arguments + " >/dev/full)");
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_THAT(run.err, HasSubstr("standard output cannot be written: No space left"));
    }
}

TEST_F(RombusTool, FileNamesAreShownEscapedWhateverBytesTheyHold) {
    const std::string odd = write("odd\xFF\nname\xC3\xA9.img", readAll(sampleDisk));
    const Outcome run = registered("check '" + odd + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("/odd\\xFF\\x0Aname\xC3\xA9"));
    EXPECT_EQ(run.out.find('\xFF'), std::string::npos);
    // JSON stays valid UTF-8 and loses nothing: the stray byte is written as \xFF.
    const json report = rombusJson("check '" + odd + "'", 0);
    EXPECT_THAT(report["nodes"][0]["source"].get<std::string>(),
                HasSubstr("odd\\xFF\nname\xC3\xA9.img"));
    const Outcome missing = registered("check '" + odd + ".gone'");
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.err, HasSubstr("odd\\xFF\\x0Aname\xC3\xA9.img.gone: cannot be opened"));
    EXPECT_EQ(missing.err.find('\xFF'), std::string::npos);
}

TEST_F(RombusTool, CheckQuietStdinAndPortsOf63) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const Outcome run = registered("check " + disk);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const Outcome piped = registered("check - < '" + disk + "'");
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_THAT(piped.out, HasSubstr("Node 0  standard input  IEEE1394NODE:0:0030e00000000001h"));
    EXPECT_EQ(piped.err, "");

    // Images past 63 go on to further ports.
    std::string files;
    for (int i = 0; i < 64; ++i)
        files += " " + disk;
    const Outcome full = registered("check" + files);
    EXPECT_EQ(full.status, 0) << full.err;
    EXPECT_THAT(full.out, HasSubstr("Port 1  IEEE1394PORT:1  (image files)\n  ROM accessible\n"
                                    "  Node 0  "));
    EXPECT_THAT(full.out, HasSubstr("Summary: 2 ports, 64 nodes: 64 without problems."));
}

TEST_F(RombusTool, AReadingThatFailsWithoutARecordSaysSo) {
    // The root directory claims four entries and the image ends after one.
    const std::string cut = write("cut.txt", "0404CFA4 31333934 E0648002 0030E000 00000009\n"
                                             "00040000 030030E0\n");
    const Outcome run = registered("check " + cut);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("    Status: read failed; no problem record says why"));
    EXPECT_THAT(run.out, HasSubstr("1 node: 1 read failed."));
    const json report = rombusJson("check " + cut, 1);
    EXPECT_EQ(report["nodes"][0]["status"], "read failed");
    EXPECT_EQ(report["nodes"][0]["messages"], json::array());
    EXPECT_FALSE(report["ok"].get<bool>());
}

TEST_F(RombusTool, AdvisoriesStandBesideTheRecordsAndCountOnlyWhenStrict) {
    // The golden SBP-2 disk reads without a record; it is cycle master capable, and its cycle
    // clock accuracy of 255 ppm is beyond the 100 ppm a cycle master may have.
    const std::string disk = ROMBUS_SOURCE_DIR "/tests/roms/sbp2-disk.hex";
    const Outcome run = registered("check " + disk);
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("    1 advisory (beside the module's records):\n      advisory "
                                   "8h: cyc_clk_acc 255 on a cycle master capable node (cmc 1)"));
    EXPECT_THAT(run.out, HasSubstr("Unit 0 at 24h -> 3Ch  SBP-2 (storage)"));
    EXPECT_THAT(run.out, HasSubstr("Directory - Unit  at 24h -> 3Ch  (SBP-2 (storage))"));
    EXPECT_THAT(run.out,
                HasSubstr("1 without problems. By kind: 1 with advisories only. By verdict: 1 "
                          "with\n    advisories only.\n"));
    EXPECT_EQ(registered("--strict check " + disk).status, 1);
    const Outcome dump = registered("-x check " + disk);
    EXPECT_THAT(dump.out, HasSubstr("    ROM:\n000  FFFFF0000400  0404"));
    expectWithin100Columns(dump.out);
}

TEST_F(RombusTool, EachRecordIsExplainedUnderItAndTheDeviceNeverDisappears) {
    // The golden disk whose bus information CRC covers the whole ROM: 6FB8h over quadlets 1 to
    // 25, 2973h over its crc_length of 4 (the golden sbp2-disk's header is 04042973h).
    const std::string disk = ROMBUS_SOURCE_DIR "/tests/roms/bus-crc-whole-rom.hex";
    const Outcome run = registered("check " + disk);
    EXPECT_EQ(run.status, 1);
    const std::string text = flat(run.out);
    EXPECT_THAT(text, HasSubstr("error configuration rom CRC check failed: expected B86Fh, found "
                                "6D94h at offset 4h class: fault means: the bus information "
                                "block at 0h "
                                "stores CRC 6FB8h; its CRC is 2973h: store 04042973h at 0h. "
                                "Cause: the CRC was computed over the whole ROM (25 quadlets) "
                                "instead of crc_length (4)."));
    // The module stopped at the bus information block; the decoder's reading is shown, marked.
    EXPECT_THAT(text, HasSubstr("Read beyond the module's verdict"));
    EXPECT_THAT(text, HasSubstr("Immediate - Vendor at 18h key 03h ACDE48h"));
    EXPECT_THAT(text, HasSubstr("\"Example\""));
    EXPECT_THAT(text,
                HasSubstr("Unit 0 at 24h -> 3Ch SBP-2 (storage) vendor ACDE48h model 000001h"));
    EXPECT_THAT(text, HasSubstr("By kind: 1 CRC only."));
    expectWithin100Columns(run.out);

    const Outcome dump = registered("-x check " + disk);
    EXPECT_THAT(flat(dump.out), HasSubstr("^ means: the bus information block at 0h stores CRC "
                                          "6FB8h"));

    // The sample bus: a bus CRC of no known cause, a missing vendor, an entry in the wrong
    // directory, a wrong signature, a ROM that is not accessible.
    const std::string sampleText = flat(registered("scan --sysfs " + sample).out);
    EXPECT_THAT(sampleText, HasSubstr("04047ECFh at 0h. No known cause."));
    EXPECT_THAT(sampleText, HasSubstr("means: the directory at 14h has no \"Immediate - Vendor\" "
                                      "entry (key 03h)."));
    EXPECT_THAT(sampleText, HasSubstr("means: the entry at 30h, key 0Ch (Immediate - Node "
                                      "Capabilities), in the directory at 24h."));
    EXPECT_THAT(sampleText, HasSubstr("means: quadlet 1 holds 31333935h (\"1395\")"));
    EXPECT_THAT(sampleText, HasSubstr("By kind: 2 unreadable, 2 entry rules, 1 CRC only."));
}

TEST_F(RombusTool, TheKernelViewShowsModaliasesDriversAndNames) {
    const Outcome run = registered("scan --sysfs " + sample);
    EXPECT_THAT(
        run.out,
        HasSubstr("    Kernel: vendor_name \"Rombus Sample Works\"\n    ROM names: vendor \"Rombus "
                  "Sample Works\", model \"FW800 sample disk\"\n    Unit 0 at 24h -> 48h  SBP-2 "
                  "(storage) "
                  " \"FW800 sample disk\"  driver "
                  "firewire_sbp2\n        ieee1394:ven000030E0mo00000934sp0000609Ever00010483 (the "
                  "kernel's too)\n"));
    // The unit directory of fw5 has no model id, nor has its root: the kernel writes zeros.
    EXPECT_THAT(run.out,
                HasSubstr("    Unit 0 at 20h -> 24h  SBP-2 (storage)  no driver bound\n"
                          "        ieee1394:ven000030E0mo00000000sp0000609Ever00010483 (the "
                          "kernel's too)\n"));
    EXPECT_THAT(run.out, HasSubstr("  Node 0  fw0  (local: this machine's own controller)  "));
    const json report = rombusJson("scan --sysfs " + sample, 1);
    EXPECT_EQ(report["nodes"][1]["source"], "fw1");
    EXPECT_EQ(report["nodes"][1]["units"][0]["driver"], "firewire_sbp2");
    // fw5.0 is listed with no driver bound; fw2 is listed without unit devices.
    EXPECT_EQ(report["nodes"][5]["units"][0]["driver"], "");
    EXPECT_EQ(report["nodes"][5]["units"][0]["kernelIndex"], 0);
    EXPECT_EQ(report["nodes"][2]["units"][0]["driver"], nullptr);
    EXPECT_EQ(report["nodes"][0]["kernel"]["modelName"], "Rombus sample controller A");
    EXPECT_EQ(report["nodes"][1]["kernel"]["modelName"], nullptr);
    // Image files know nothing of drivers.
    const json image = rombusJson("check " + write("disk.le", readAll(sampleDisk)), 0);
    EXPECT_EQ(image["nodes"][0]["units"][0]["driver"], nullptr);
}

TEST_F(RombusTool, SavedRomsReadBackAsTheSameNodes) {
    const std::string saved = (folder_.path() / "saved").string();
    const json scanned = rombusJson("scan --sysfs " + sample + " --save-roms " + saved, 1);
    // Every accessible node in bus order, by its GUID; the node without a ROM is left out.
    std::string files;
    std::vector<json> expected;
    for (const json& node : scanned["nodes"]) {
        if (node["status"] == "not accessible")
            continue;
        files += " " + saved + "/" + node["guid"].get<std::string>() + ".rom";
        expected.push_back(node);
    }
    ASSERT_EQ(expected.size(), 7u);
    const json checked = rombusJson("check" + files, 1);
    ASSERT_EQ(checked["nodes"].size(), expected.size());
    const auto portless = [](std::string text) {
        for (size_t at; (at = text.find("IEEE1394NODE:1:")) != std::string::npos;)
            text.replace(at, 15, "IEEE1394NODE:0:");
        return text;
    };
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i]["source"].get<std::string>());
        EXPECT_EQ(checked["nodes"][i]["entries"], expected[i]["entries"]);
        EXPECT_EQ(checked["nodes"][i]["status"], expected[i]["status"]);
        EXPECT_EQ(checked["nodes"][i]["busOptions"], expected[i]["busOptions"]);
        EXPECT_EQ(portless(checked["nodes"][i]["messages"].dump()),
                  portless(expected[i]["messages"].dump()));
    }
    // A second capture keeps the files that differ unless told to replace them.
    write("saved/0030e00000000001.rom", "other");
    const Outcome again = registered("scan --sysfs " + sample + " --save-roms " + saved);
    EXPECT_EQ(again.status, 2);
    EXPECT_THAT(again.err,
                HasSubstr("0030e00000000001.rom: exists and differs; kept (--overwrite"));
    EXPECT_EQ(
        registered("scan --sysfs " + sample + " --save-roms " + saved + " --overwrite").status, 1);
}

TEST_F(RombusTool, WidthAndColourFollowTheTerminal) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const std::string bad = write("bad.txt", "04041234 31333935\n");
    const auto widest = [](const std::string& text) {
        size_t widest = 0;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            widest = std::max(widest, line.size() - (line.back() == '\r'));
        return widest;
    };
    EXPECT_LE(widest(onTerminal("COLUMNS=70", "check " + disk)), 70u);
    EXPECT_GT(widest(onTerminal("COLUMNS=140", "check " + disk)), 100u);
    EXPECT_LE(widest(onTerminal("COLUMNS=20", "check " + disk)), 60u);
    EXPECT_GT(widest(onTerminal("COLUMNS=20", "check " + disk)), 20u);
    // A width the terminal cannot have is no width.
    for (const char* columns : {"COLUMNS=-5", "COLUMNS=99999999999999999999999"})
        EXPECT_LE(widest(onTerminal(columns, "check " + disk)), 100u) << columns;
    // Standard input on a terminal: a word of what is awaited.
    EXPECT_THAT(onTerminal("", "check -"), HasSubstr("reading a ROM image from standard input"));
    // Colour: on a terminal unless NO_COLOR; never in a file unless asked.
    const std::string yellow = "\033[33mwarning\033[0m";
    EXPECT_THAT(onTerminal("", "check " + bad), HasSubstr(yellow));
    EXPECT_EQ(onTerminal("NO_COLOR=1", "check " + bad).find('\033'), std::string::npos);
    EXPECT_EQ(onTerminal("", "--color=never check " + bad).find('\033'), std::string::npos);
    EXPECT_EQ(registered("check " + bad).out.find('\033'), std::string::npos);
    EXPECT_THAT(registered("--color=always check " + bad).out, HasSubstr(yellow));
}

TEST_F(RombusTool, RegistryImportWritesTheModulesFormat) {
    const std::string source =
        write("oui.csv", "Registry,Assignment,Organization Name,Organization Address\r\n"
                         "MA-L,080028,Texas Instruments,Dallas\r\n"
                         "MA-L,0030E0,\"OXFORD SEMICONDUCTOR, LTD.\",Abingdon\r\n");
    const std::string out = (folder_.path() / "share/registry.txt").string();
    EXPECT_EQ(rombus("registry import --from " + source + " -o " + out).status, 0);
    EXPECT_EQ(readAll(out), "0030E0 OXFORD SEMICONDUCTOR, LTD.\n080028 Texas Instruments\n");
    EXPECT_EQ(rombus("registry import --from " + source).out, readAll(out));
    const std::pair<std::string, std::string> bad[] = {
        {(folder_.path() / "none.csv").string(), ""},
        {write("notes.txt", "just some text\n"), ": holds no company identifier"}};
    for (const auto& [from, message] : bad) {
        const Outcome run = rombus("registry import --from " + from);
        EXPECT_EQ(run.status, 2) << from;
        EXPECT_THAT(run.err, HasSubstr(from + message));
    }
}

TEST_F(RombusTool, RegistryImportTakesTextAloneAndKeepsNamesInUtf8) {
    // Names beyond ASCII, and a C1 control where a name was converted twice, as the IEEE's
    // files hold them: imported, the control a blank.
    const std::string header = "Registry,Assignment,Organization Name,Organization Address\n";
    const std::string utf8 =
        write("oui.csv", header + "MA-L,0030E0,Soci\xC3\xA9t\xC3\xA9 \xC3\x89lectronique,"
                                  "M\xC3\xBCnchen\n"
                                  "MA-L,080028,\xE6\x97\xA5\xE6\x9C\xAC \xE9\x9B\xBB\xE6\xB0\x97,"
                                  "\xC3\x83\xC2\x9Dstanbul\n"
                                  "MA-L,0050C2,Sindoma \xC3\x83\xC2\x9Dn,x\n");
    const Outcome imported = rombus("registry import --from " + utf8);
    EXPECT_EQ(imported.status, 0) << imported.err;
    EXPECT_EQ(imported.out, "0030E0 Soci\xC3\xA9t\xC3\xA9 \xC3\x89lectronique\n"
                            "0050C2 Sindoma \xC3\x83 n\n"
                            "080028 \xE6\x97\xA5\xE6\x9C\xAC \xE9\x9B\xBB\xE6\xB0\x97\n");
    // A file that is not text is refused whole, naming the byte, however many lines it seems
    // to hold: Latin-1, a NUL among the lines, a binary file that happens to hold a line.
    const std::string lines = header + "MA-L,080028,Texas Instruments,Dallas\n";
    const std::pair<std::string, std::string> refused[] = {
        {write("latin1.csv", lines + "MA-L,0030E0,Soci\xE9t\xE9,x\n"),
         ": is not text: byte 112 (E9h) begins no well-formed UTF-8; the IEEE registry is "
         "oui.txt or oui.csv, in UTF-8"},
        {write("nul.csv", lines + std::string("MA-L,0030E0,A\0B,x\n", 19)),
         ": is not text: byte 109 is a NUL byte"},
        {write("image.txt",
               std::string("\x89PNG\r\n\x1A\n", 8) + "080028     (base 16)\t\tTexas Instruments\n"),
         ": is not text: byte 0 (89h) begins no well-formed UTF-8"},
    };
    for (const auto& [from, message] : refused) {
        const Outcome run = rombus("registry import --from " + from);
        EXPECT_EQ(run.status, 2) << from;
        EXPECT_EQ(run.out, "") << from;
        EXPECT_THAT(run.err, HasSubstr(from + message));
    }
    // The longer assignments beside a registry, when not text, are left out by name; the report
    // is whole.
    const std::string assignments = write("ieee-assignments.csv", std::string("MA-M\0\1", 6));
    const Outcome check = registered("check " + sampleDisk);
    EXPECT_EQ(check.status, 0) << check.err;
    EXPECT_THAT(check.out, HasSubstr("config_rom"));
    EXPECT_THAT(check.err, HasSubstr(assignments + ": is not text: byte 4 is a NUL byte; its "
                                                   "assignments are left out"));
}

TEST_F(RombusTool, WithoutRegistryTheOneBuiltFromIeeeDataNamesTheVendors) {
    const fs::path built =
        fs::path(ROMBUS_BINARY).parent_path().parent_path() / "share/rombus/oui-registry.txt";
    if (!fs::exists(built))
        GTEST_SKIP() << "no registry was built (ieee-data missing)";
    const Outcome run = rombus("scan --format json --sysfs " + sample);
    EXPECT_EQ(run.status, 1);
    rombus_test::expectValidReport(write("report.json", run.out));
    const json vendor =
        findDevice(json::parse(run.out), "0x0800280000001394:IMMEDIATE@fffff0000418");
    EXPECT_EQ(vendor["properties"]["VendorName"], "Texas Instruments");
}

TEST_F(RombusTool, TheCommittedSampleIsWhatTheGeneratorWrites) {
    const fs::path generated = folder_.path() / "sysfs";
    const std::string generator = (fs::path(ROMBUS_BINARY).parent_path() / "make-sample").string();
    ASSERT_EQ(
        rombus_test::runCommand(folder_, "'" + generator + "' '" + generated.string() + "'").status,
        0);
    size_t compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(sample)) {
        const fs::path relative = entry.path().lexically_relative(sample);
        if (entry.is_symlink()) {
            EXPECT_EQ(fs::read_symlink(entry.path()), fs::read_symlink(generated / relative))
                << relative;
        } else if (entry.is_regular_file()) {
            EXPECT_EQ(readAll(entry.path()), readAll(generated / relative)) << relative;
            ++compared;
        }
    }
    EXPECT_GT(compared, 20u);
}

TEST_F(RombusTool, WrittenFilesAreWholeOrUntouchedAndNeverFollowLinks) {
    const fs::path saved = folder_.path() / "saved";
    fs::create_directories(saved);
    const std::string victim = write("victim", "precious");
    fs::create_symlink(victim, saved / "0030e00000000001.rom");
    ASSERT_EQ(mkfifo((saved / "0800280000001394.rom").c_str(), 0600), 0);
    const std::string save = "scan --sysfs " + sample + " --save-roms " + saved.string();
    const Outcome linked = registered(save + " --overwrite");
    EXPECT_EQ(linked.status, 2);
    EXPECT_THAT(linked.err, HasSubstr("0030e00000000001.rom: is a symbolic link; not replaced"));
    EXPECT_THAT(linked.err,
                HasSubstr("0800280000001394.rom: is a FIFO, not a regular file; not replaced"));
    EXPECT_EQ(readAll(victim), "precious");
    EXPECT_EQ(namesIn(saved).size(), 7u) << "nothing left beside the saved files";

    // Capturing again into identical files is no error; a file that differs is kept.
    fs::remove(saved / "0030e00000000001.rom");
    fs::remove(saved / "0800280000001394.rom");
    EXPECT_EQ(registered(save).status, 1);
    const Outcome again = registered(save);
    EXPECT_EQ(again.status, 1) << again.err;
    EXPECT_EQ(again.err, "");
    const std::string changed = write("saved/0030e00000000003.rom", "other");
    const Outcome kept = registered(save);
    EXPECT_EQ(kept.status, 2);
    EXPECT_THAT(kept.err, HasSubstr("0030e00000000003.rom: exists and differs; kept"));
    EXPECT_EQ(readAll(changed), "other");

    // No room: the old files stay whole and no part of a new one is left behind.
    const Outcome full = withoutRoomToWrite(save + " --overwrite --registry " + registry_);
    EXPECT_EQ(full.status, 2);
    EXPECT_THAT(full.err, HasSubstr("0030e00000000003.rom: cannot be written: File too large"));
    EXPECT_EQ(readAll(changed), "other");
    const fs::path empty = folder_.path() / "empty";
    EXPECT_EQ(withoutRoomToWrite("scan --sysfs " + sample + " --save-roms " + empty.string() +
                                 " --registry " + registry_)
                  .status,
              2);
    EXPECT_TRUE(namesIn(empty).empty());

    const std::string source = write("oui.csv", "Registry,Assignment,Organization Name\n"
                                                "MA-L,080028,Texas Instruments\n");
    const std::string registry = write("share/registry.txt", "080028 Old\n");
    const Outcome noRoom =
        withoutRoomToWrite("registry import --from " + source + " -o " + registry);
    EXPECT_EQ(noRoom.status, 2);
    EXPECT_THAT(noRoom.err, HasSubstr("registry.txt: cannot be written: File too large"));
    EXPECT_EQ(readAll(registry), "080028 Old\n");
    EXPECT_EQ(namesIn(folder_.path() / "share"), std::vector<std::string>{"registry.txt"});
    const std::string fifo = (folder_.path() / "share/fifo").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const Outcome toFifo = rombus("registry import --from " + source + " -o " + fifo);
    EXPECT_EQ(toFifo.status, 2);
    EXPECT_THAT(toFifo.err, HasSubstr("fifo: is a FIFO, not a regular file; not replaced"));
    EXPECT_EQ(rombus("registry import --from " + source + " -o " + registry).status, 0);
    EXPECT_EQ(readAll(registry), "080028 Texas Instruments\n");
}

TEST_F(RombusTool, SavedRomsKeepTheirBytesWhateverTheyLookLike) {
    // A bus name stored byte-reversed, and a ROM whose every byte is printable.
    rombus_test::BusInfo reversed;
    reversed.busName = "4931";
    reversed.guid = 0x0030E00000000021ull;
    rombus_test::RomLayout odd(reversed);
    odd.directory({rombus_test::RomLayout::immediate(0x03, 0x0030E0)});
    const std::vector<uint8_t> printable(std::vector<uint8_t>(40, '0'));
    const rombus_test::SysfsTree tree(folder_.path() / "sysfs");
    tree.addNode("pci/a", "fw0", odd.image(), reversed.guid);
    tree.addNode("pci/a", "fw1", printable, 0x3030303030303030ull);
    const fs::path saved = folder_.path() / "saved";
    const json scanned =
        rombusJson("scan --sysfs " + tree.root().string() + " --save-roms " + saved.string(), 1);
    const std::string files = " " + (saved / "0030e00000000021.rom").string() + " " +
                              (saved / "3030303030303030.rom").string();
    const json checked = rombusJson("check" + files, 1);
    ASSERT_EQ(checked["nodes"].size(), 2u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(checked["nodes"][i]["guid"], scanned["nodes"][i]["guid"]) << i;
        EXPECT_EQ(checked["nodes"][i]["entries"], scanned["nodes"][i]["entries"]) << i;
        EXPECT_EQ(messagesOf(checked["nodes"][i]), messagesOf(scanned["nodes"][i])) << i;
    }
    // Any other name: the form is found from the bytes unless named.
    const std::string text = write("printable.bin", printable);
    EXPECT_THAT(rombus("check " + text).err, HasSubstr("is not a 32-bit quadlet"));
    const json forced = rombusJson("check --form binary " + text, 1);
    EXPECT_EQ(forced["nodes"][0]["guid"], "3030303030303030");
    const std::string hex = write("hex.rom", hexLines({0x04040000, 0x31333934}));
    EXPECT_EQ(registered("check --form hex " + hex).status, 1);
}

TEST_F(RombusTool, ABusWithoutNodesIsNeitherCleanNorANodesProblem) {
    // No bus, or a bus without a node: nothing was read.
    for (const fs::path& root : {folder_.path() / "nobus", folder_.path() / "sysfs-empty"}) {
        fs::create_directories(root);
        if (root.filename() == "sysfs-empty")
            rombus_test::SysfsTree{root};
        const Outcome none = registered("scan --sysfs " + root.string());
        EXPECT_EQ(none.status, 3) << root;
        EXPECT_THAT(none.out, HasSubstr("No FireWire devices under " + root.string()));
        const json report = rombusJson("scan --sysfs " + root.string(), 3);
        EXPECT_FALSE(report["ok"].get<bool>());
        EXPECT_FALSE(report["result"].get<bool>());
        EXPECT_TRUE(report["devices"].empty());
    }
    EXPECT_THAT(rombus("--help").out, HasSubstr("3  no FireWire bus, or no node on it"));
}

TEST_F(RombusTool, InvisibleAndDirectionalCharactersAreEscaped) {
    const char* const invisible[] = {
        "\xE2\x80\xAE", "\xE2\x81\xA6", "\xE2\x80\x8F", "\xE2\x80\xA8", "\xEF\xBB\xBF",
        "\xC2\xAD",     "\xD8\x9C",     "\xE2\x80\x8B", "\xE2\x81\xA0", "\xF3\xA0\x80\x81"};
    for (const char* character : invisible) {
        const std::string path =
            (folder_.path() / (std::string("x") + character + "y\xC3\xA9.rom")).string();
        const Outcome run = rombus("check '" + path + "'");
        EXPECT_EQ(run.status, 2);
        std::string escapedForm;
        for (const char* c = character; *c; ++c) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(*c));
            escapedForm += code;
        }
        EXPECT_THAT(run.err, HasSubstr("x" + escapedForm + "y\xC3\xA9.rom: cannot be opened"));
        EXPECT_EQ(run.err.find(character), std::string::npos) << escapedForm;
    }
}

TEST_F(RombusTool, SmallEdgesAreToldNotHidden) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    const Outcome dumpJson = registered("-x check " + disk + " --format json");
    EXPECT_EQ(dumpJson.status, 0);
    EXPECT_THAT(dumpJson.err, HasSubstr("--dump is not part of the JSON report"));
    const Outcome notAFolder =
        registered("scan --sysfs " + sample + " --save-roms " + disk + "/roms");
    EXPECT_EQ(notAFolder.status, 2);
    EXPECT_THAT(notAFolder.err, HasSubstr("cannot be made a folder for the ROMs: Not a directory"));

    // A guid file the kernel never writes, and a config_rom cut inside a quadlet.
    const rombus_test::SysfsTree tree(folder_.path() / "sysfs");
    const fs::path node = tree.add("pci/a", "fw0");
    rombus_test::SysfsTree::write(node / "guid", "-1\n");
    rombus_test::SysfsTree::write(node / "config_rom", readAll(sampleDisk) + "ab");
    const json report = rombusJson("scan --sysfs " + tree.root().string(), 0);
    EXPECT_EQ(report["nodes"][0]["guid"], "0030e00000000001");
    EXPECT_EQ(report["nodes"][0]["notes"],
              json::array({"guid \"-1\" is not a unique id in hexadecimal; the ROM's is used",
                           "config_rom ends with 2 bytes after its last whole quadlet; they "
                           "were left out"}));
}

TEST_F(RombusTool, AReaderThatLeavesEndsTheReportQuietly) {
    const std::string disk = write("disk.le", readAll(sampleDisk));
    std::string files;
    for (int i = 0; i < 40; ++i)
        files += " " + disk;
    const Outcome run =
        rombus_test::runCommand(folder_, std::string("bash -c \"'") + ROMBUS_BINARY + "' -x check" +
                                             files + " --registry " + registry_ +
                                             " | head -c 1 >/dev/null; exit \\${PIPESTATUS[0]}\"");
    EXPECT_EQ(run.status, 128 + SIGPIPE);
    EXPECT_EQ(run.err, "");
}

// gcc tells of AddressSanitizer by a macro, clang by a feature.
#if defined(__SANITIZE_ADDRESS__)
#define ROMBUS_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ROMBUS_ADDRESS_SANITIZER
#endif
#endif

TEST_F(RombusTool, RegistryImportTakesLittleMemoryWhateverTheInput) {
#if defined(ROMBUS_ADDRESS_SANITIZER)
    GTEST_SKIP() << "the address sanitizer reserves more address space than the limit allows";
#endif
    // 16 MiB of blank lines and a name among them, in 256 MB of address space.
    const std::string blank =
        write("blank.csv", "Registry,Assignment,Organization Name\n" + std::string(16 << 20, '\n') +
                               "MA-L,080028,Texas Instruments\n");
    const fs::path out = folder_.path() / "imported.txt";
    const Outcome run = rombus_test::runCommand(
        folder_, "sh -c 'ulimit -v 262144; exec \"" + std::string(ROMBUS_BINARY) +
                     "\" registry import --from \"" + blank + "\" -o \"" + out.string() + "\"'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(readAll(out), "080028 Texas Instruments\n");
}

TEST_F(RombusTool, DeeplyNestedDirectoriesAreReportedWhole) {
    using rombus_test::RomLayout;
    RomLayout nested;
    nested.directory({RomLayout::immediate(0x03, 0x0030E0), RomLayout::ref(0xD4, 1)});
    for (int level = 1; level < 120; ++level)
        nested.directory({RomLayout::ref(0xD4, level + 1)});
    nested.directory({RomLayout::immediate(0x17, 0x000042)});
    const json report = rombusJson("check " + write("nested.rom", nested.image()), 0);
    json entry = report["nodes"][0]["entries"][1];
    int depth = 0;
    while (!entry["children"].empty()) {
        json next = entry["children"].back();
        entry = std::move(next);
        ++depth;
    }
    EXPECT_EQ(depth, 120);
    EXPECT_EQ(entry["value"], 0x42);
}

} // namespace
