#include "zul/Regex.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

// A registry line: a hexadecimal id at the very start, blanks, then the rest of the line.
const char* const RegistryLine = "([0-9A-F]+)\\s*(.*)";

TEST(RegexTest, RegistryLinesAnchoredAndWithoutLineEnds) {
    zul::Regex regex(RegistryLine);
    ASSERT_TRUE(regex.isValid()) << regex.error().getUTF8String();
    zul::Matcher matcher(regex);
    const struct {
        std::string line, id, rest; // an empty id: no match
    } cases[] = {
        {"0050C2     (base 16)\t\tIEEE REGISTRATION AUTHORITY\r\n", "0050C2",
         "(base 16)\t\tIEEE REGISTRATION AUTHORITY"},
        {"080028 Texas Instruments\n", "080028", "Texas Instruments"},
        {"ABC\r", "ABC", ""},
        {"00a0 x", "00", "a0 x"},
        {"\t\t\t\t2181 Buchanan Loop\r\n", "", ""},
        {std::string("1F a\0b\n", 7), "1F", std::string("a\0b", 3)},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(matcher.matches(c.line.data(), c.line.size()), !c.id.empty()) << c.line;
        EXPECT_EQ(matcher.group(1).str(), c.id) << "a failed match leaves no groups";
        EXPECT_EQ(matcher.group(2).str(), c.rest);
    }
    ASSERT_TRUE(matcher.matches(cases[0].line.data(), cases[0].line.size()));
    EXPECT_EQ(matcher.group(0).str(), cases[0].line.substr(0, cases[0].line.size() - 2));
    EXPECT_TRUE(matcher.group(3).isEmpty());
    // The subject ends at the length given, not at a terminating NUL.
    ASSERT_TRUE(matcher.matches("ABCD", 2));
    EXPECT_EQ(matcher.group(1), zul::String("AB"));
}

TEST(RegexTest, APatternIsCompiledOnceAndOutlivedByItsMatchers) {
    size_t shared = zul::Regex::sharedCount();
    auto first = std::make_unique<zul::Regex>("([0-9]+) shared");
    zul::Regex again("([0-9]+) shared");
    EXPECT_EQ(zul::Regex::sharedCount(), shared + 1);
    zul::Matcher matcher(*first);
    first.reset();
    ASSERT_TRUE(matcher.matches("42 shared", 9));
    EXPECT_EQ(matcher.group(1), zul::String("42"));
    for (int i = 0; i < 40; ++i)
        EXPECT_TRUE(zul::Regex("x" + std::to_string(i)).isValid());
    EXPECT_EQ(zul::Regex::sharedCount(), zul::Regex::MaxShared);
}

TEST(RegexTest, InvalidPatternReportsAndNeverMatches) {
    zul::Regex regex("([0-9A-F]+");
    EXPECT_FALSE(regex.isValid());
    EXPECT_FALSE(regex.error().isEmpty());
    zul::Matcher matcher(regex);
    EXPECT_FALSE(matcher.matches("ABC", 3));
    EXPECT_TRUE(matcher.group(0).isEmpty());
}

} // namespace
