#include "inspect/io/Registry.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using rombus::formatRegistry;
using rombus::parseIeeeRegistry;

TEST(Registry, TextAndCsvOfIeeeDataGiveOneSortedLinePerIdentifier) {
    const std::string text = "OUI/MA-L                      Organization\r\n"
                             "company_id                    Organization\r\n"
                             "\r\n"
                             "08-00-28   (hex)\t\tTexas Instruments\r\n"
                             "080028     (base 16)\t\tTexas Instruments\r\n"
                             "\t\t\t\t12500 TI Boulevard\r\n"
                             "\r\n"
                             "00-30-E0   (hex)\t\tOXFORD SEMICONDUCTOR LTD.\r\n"
                             "0030E0     (base 16)\t\tOXFORD SEMICONDUCTOR LTD.\r\n"
                             "0001c8     (base 16)\t\tTHOMAS CONRAD CORP.\r\n"
                             "0001C8     (base 16)\t\tCONRAD CORP.\r\n";
    const std::string csv = "Registry,Assignment,Organization Name,Organization Address\r\n"
                            "MA-L,080028,Texas Instruments,12500 TI Boulevard Dallas TX US\r\n"
                            "MA-L,0030E0,\"OXFORD SEMICONDUCTOR LTD.\",\"25 Milton Park, "
                            "Abingdon\"\r\n"
                            "MA-L,0001c8,THOMAS CONRAD CORP.,\r\n"
                            "MA-L,0001C8,CONRAD CORP.,\r\n"
                            "MA-M,0001C81,A 28-bit block,\r\n";
    const std::string expected = "0001C8 THOMAS CONRAD CORP.\n"
                                 "0030E0 OXFORD SEMICONDUCTOR LTD.\n"
                                 "080028 Texas Instruments\n";
    EXPECT_EQ(formatRegistry(parseIeeeRegistry(text)), expected);
    EXPECT_EQ(formatRegistry(parseIeeeRegistry(csv)), expected);
}

TEST(Registry, NamesAreCleanedAndFitTheLineTheModuleReads) {
    const std::string csv = "Registry,Assignment,Organization Name,Organization Address\n"
                            "MA-L,ABCDEF,\"  Quoted \"\"Name\"\",\tInc\t\",x\n"
                            "MA-L,123456,\"" +
                            std::string(300, 'N') +
                            "\",x\n"
                            "MA-L,000001,\"" +
                            std::string(246, 'a') + "\xC3\xA9" +
                            "\",x\n"
                            "MA-L,000002,   ,x\n"
                            "MA-L,00003,Too short,x\n";
    const auto entries = parseIeeeRegistry(csv);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[2].name, "Quoted \"Name\", Inc");
    const std::string registry = formatRegistry(entries);
    size_t start = 0;
    for (size_t end; (end = registry.find('\n', start)) != std::string::npos; start = end + 1)
        EXPECT_LE(end - start + 1, 255u) << "a registry line longer than the module reads at once";
    // A two-byte character that would not fit is left out whole, not cut in half.
    EXPECT_EQ(entries[1].name, std::string(247, 'N'));
    EXPECT_EQ(entries[0].name, std::string(246, 'a'));
    EXPECT_EQ(registry.find('\r'), std::string::npos);
}

// MA-M, MA-S and IAB lines as ieee-data's mam.csv, oui36.csv and iab.csv give them.
TEST(LongAssignments, ReadByTheirLengthAndTheLongestHolderNamesAGuid) {
    const std::string csv = "Registry,Assignment,Organization Name,Organization Address\n"
                            "MA-M,741AE09,Private,\n"
                            "MA-S,70B3D5F2F,TELEPLATFORMS,\"Polbina st., 3/1 Moscow RU\"\n"
                            "IAB,0050C27D5,DEUTA-WERKE GmbH,x\n"
                            "IAB,0050c27d5,Second name for the same block,x\n"
                            "MA-L,0050C2,IEEE Registration Authority,x\n"
                            "MA-S,0050C27D,Eight digits fit no registry,x\n";
    const auto assignments = rombus::parseLongAssignments(csv);
    ASSERT_EQ(assignments.size(), 3u);
    EXPECT_EQ(assignments[0].bits, 28u);
    EXPECT_EQ(assignments[0].prefix, 0x741AE09u);

    const auto* deuta = rombus::holderOf(assignments, 0x0050C27D5ABCDEF0ull);
    ASSERT_NE(deuta, nullptr);
    EXPECT_EQ(deuta->name, "DEUTA-WERKE GmbH");
    EXPECT_EQ(deuta->bits, 36u);
    // One bit past the block is another holder's, or none.
    EXPECT_EQ(rombus::holderOf(assignments, 0x0050C27D6ABCDEF0ull), nullptr);
    EXPECT_EQ(rombus::holderOf(assignments, 0x741AE09000000001ull)->name, "Private");

    // A longer assignment inside a shorter one: the longer names the GUID.
    auto nested = assignments;
    nested.push_back({0x741AE09FFull, 36, "Inner"});
    EXPECT_EQ(rombus::holderOf(nested, 0x741AE09FF0000000ull)->name, "Inner");
    EXPECT_EQ(rombus::holderOf(nested, 0x741AE09FE0000000ull)->name, "Private");

    // The tool's own file reads back the same, quotes and commas kept.
    const std::string own = rombus::formatLongAssignments(assignments);
    EXPECT_EQ(own, "Registry,Assignment,Organization Name\n"
                   "MA-M,741AE09,\"Private\"\n"
                   "MA-S,0050C27D5,\"DEUTA-WERKE GmbH\"\n"
                   "MA-S,70B3D5F2F,\"TELEPLATFORMS\"\n");
    nested.push_back({0x123456789ull, 36, "A \"quoted\", name"});
    const auto again = rombus::parseLongAssignments(rombus::formatLongAssignments(nested));
    ASSERT_EQ(again.size(), 5u);
    EXPECT_EQ(rombus::holderOf(again, 0x1234567890000000ull)->name, "A \"quoted\", name");
}

} // namespace
