// The built tool over a ROM's whole life: its dump read back, two ROMs compared, a ROM repaired,
// described and built again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ToolInFolder.h"
#include "rombus_support/RomLayout.h"
#include "rombus_support/TestFolder.h"
#include "rombus_support/TypicalRom.h"

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

const fs::path roms = ROMBUS_SOURCE_DIR "/tests/roms";

using rombus_test::Outcome;

class RomLifecycle : public rombus_test::ToolInFolder {
protected:
    // The JSON report of a check, without the node's source.
    json report(const std::string& file) const {
        const Outcome run = rombus("--format json check " + file + " --registry '" +
                                   (roms / "registry.txt").string() + "'");
        EXPECT_LE(run.status, 1) << run.err;
        json parsed = json::parse(run.out);
        parsed["nodes"][0].erase("source");
        return parsed;
    }
};

std::vector<fs::path> romFiles() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(roms))
        if (entry.path().extension() == ".hex")
            files.push_back(entry.path());
    return files;
}

TEST_F(RomLifecycle, EveryRomReadsBackFromItsDumpDescribesBuildsAndEqualsItself) {
    folder_.write("typical.rom", rombus_bench::typicalRom());
    std::vector<std::string> files = {"typical.rom"};
    for (const fs::path& rom : romFiles())
        files.push_back(rom.string());
    ASSERT_GE(files.size(), 6u);
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        const Outcome dump = rombus("check -x --color never '" + file + "' --registry '" +
                                    (roms / "registry.txt").string() + "'");
        folder_.write("pasted.txt", "From a bug report:\n\n" + dump.out);
        EXPECT_EQ(report("pasted.txt"), report("'" + file + "'"));
        EXPECT_EQ(rombus("describe '" + file + "'").status, 0);
        folder_.write("described.yaml", read("stdout"));
        EXPECT_EQ(rombus("build described.yaml -o built.hex --output-form hex").status, 0);
        const Outcome same = rombus("diff '" + file + "' built.hex --layout");
        EXPECT_EQ(same.status, 0) << same.out;
        EXPECT_EQ(same.out, "");
    }
}

TEST_F(RomLifecycle, TheSampleBusRomsAreDescribedByteForByteOrRefusedWithTheReason) {
    size_t described = 0, refused = 0;
    for (const auto& entry :
         fs::recursive_directory_iterator(ROMBUS_SOURCE_DIR "/examples/sysfs")) {
        if (entry.path().filename() != "config_rom" || fs::file_size(entry.path()) == 0)
            continue;
        const std::string file = "'" + entry.path().string() + "'";
        SCOPED_TRACE(file);
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string content((std::istreambuf_iterator<char>(in)), {});
        folder_.write("pasted.txt", rombus("check -x " + file).out);
        EXPECT_EQ(report("pasted.txt"), report(file));
        EXPECT_EQ(rombus("diff " + file + " " + file).status, 0);
        const Outcome description = rombus("describe " + file);
        if (description.status == 1) {
            EXPECT_THAT(description.err, HasSubstr("cannot be described: "));
            ++refused;
            continue;
        }
        ASSERT_EQ(description.status, 0) << description.err;
        ++described;
        folder_.write("described.yaml", description.out);
        const bool little = content.compare(4, 4, "4931") == 0;
        EXPECT_EQ(rombus(std::string("build described.yaml -o built.bin --output-form ") +
                         (little ? "le" : "be"))
                      .status,
                  0);
        EXPECT_EQ(read("built.bin"), content);
    }
    EXPECT_GE(described, 5u);
    EXPECT_GE(refused, 1u);
}

TEST_F(RomLifecycle, DiffTellsChangesAsDiffDoesAndExitsLikeIt) {
    using rombus_test::RomLayout;
    RomLayout before, after;
    before.directory({RomLayout::immediate(0x03, 0x00A02D), RomLayout::immediate(0x17, 1)});
    after.directory({RomLayout::immediate(0x03, 0x00A02D), RomLayout::immediate(0x17, 2)});
    folder_.write("a.rom", before.image());
    folder_.write("b.rom", after.image());
    const Outcome text = rombus("diff a.rom b.rom");
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "--- a.rom\n+++ b.rom\n-root/model: 000001h\n+root/model: 000002h\n");
    const Outcome asJson = rombus("--format json diff a.rom b.rom");
    EXPECT_EQ(asJson.status, 1);
    const json parsed = json::parse(asJson.out);
    EXPECT_FALSE(parsed["equal"].get<bool>());
    ASSERT_EQ(parsed["changes"].size(), 1u);
    EXPECT_EQ(parsed["changes"][0]["after"], "000002h");
    EXPECT_EQ(rombus("--format json diff a.rom a.rom").status, 0);
    const Outcome missing = rombus("diff a.rom nothing.rom");
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.err, HasSubstr("nothing.rom"));
    EXPECT_EQ(rombus("diff a.rom").status, 2);
}

TEST_F(RomLifecycle, RepairWritesACopyThatChecksWithoutACrcRecord) {
    auto bad = rombus_bench::typicalRom();
    bad[2] = bad[3] = 0xFF; // the placeholder CRC of the bus information block
    folder_.write("bad.rom", bad);
    const std::string covering = std::to_string(bad.size() / 4 - 1);
    const Outcome repaired = rombus("repair bad.rom -o good.le --output-form le --fix-crc-length");
    EXPECT_EQ(repaired.status, 0) << repaired.err;
    EXPECT_THAT(repaired.out, HasSubstr("bad.rom: bus information block at 0h: CRC FFFFh -> "));
    EXPECT_THAT(repaired.out, HasSubstr("crc_length 4 -> " + covering + "\n"));
    const json good = report("good.le");
    for (const json& message : good["nodes"][0]["messages"])
        EXPECT_THAT(message["text"].get<std::string>(), testing::Not(HasSubstr("CRC")));
    EXPECT_FALSE(report("bad.rom")["nodes"][0]["messages"].empty());
    const Outcome diff = rombus("diff bad.rom good.le");
    EXPECT_EQ(diff.status, 1);
    EXPECT_THAT(diff.out, testing::StartsWith("--- bad.rom\n+++ good.le\n-bus/crc_length: 4\n"
                                              "+bus/crc_length: " +
                                              covering + "\n-bus crc: FFFFh, not "));
    EXPECT_THAT(diff.out, testing::EndsWith("h\n+bus crc: ok\n"));
    // Never over the input unless asked.
    EXPECT_EQ(rombus("repair bad.rom -o bad.rom").status, 2);
    EXPECT_EQ(rombus("repair bad.rom").status, 2);
    EXPECT_EQ(read("bad.rom"), std::string(bad.begin(), bad.end()));
    EXPECT_EQ(rombus("repair bad.rom --in-place").status, 0);
    EXPECT_EQ(rombus("diff bad.rom good.le").status, 1); // crc_length only
    EXPECT_EQ(rombus("repair good.le -o - --output-form hex").status, 0);
    EXPECT_THAT(read("stderr"), HasSubstr("every CRC is right"));
}

TEST_F(RomLifecycle, BuildTellsAMistakeByFileAndLine) {
    folder_.write("bad.yaml", "guid: 1\nroot:\n  - vendor: 0x1000000\n");
    const Outcome run = rombus("build bad.yaml -o out.rom");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "rombus: bad.yaml: line 3: vendor: 0x1000000 is more than FFFFFFh\n");
    EXPECT_FALSE(fs::exists(folder_.path() / "out.rom"));
    EXPECT_EQ(rombus("build bad.yaml").status, 2); // -o is required
}

TEST_F(RomLifecycle, TheReadmeExampleBuildsAClearRomThatDescribesBack) {
    std::ifstream readme(ROMBUS_SOURCE_DIR "/README.md");
    std::string line, example;
    bool inside = false;
    while (std::getline(readme, line)) {
        if (line == "```yaml" || (inside && line == "```"))
            inside = !inside;
        else if (inside)
            example += line + "\n";
    }
    ASSERT_FALSE(example.empty());
    folder_.write("example.yaml", example);
    ASSERT_EQ(rombus("build example.yaml -o example.rom").status, 0) << read("stderr");
    EXPECT_TRUE(report("example.rom")["nodes"][0]["messages"].empty());
    EXPECT_EQ(rombus("describe example.rom").status, 0);
    folder_.write("again.yaml", read("stdout"));
    EXPECT_EQ(rombus("build again.yaml -o again.rom").status, 0);
    EXPECT_EQ(read("again.rom"), read("example.rom"));
}

} // namespace
