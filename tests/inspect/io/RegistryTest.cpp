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

} // namespace
