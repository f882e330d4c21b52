#include "zul/Regex.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// A registry line: a hexadecimal id at the very start, blanks, then the rest of the line.
const char* const RegistryLine = "([0-9A-F]+)\\s*(.*)";

bool matches(zul::Matcher& matcher, const char* line) {
    return matcher.matches(line, std::strlen(line));
}

TEST(RegexTest, RegistryLinesAnchoredAndWithoutLineEnds) {
    zul::Regex regex(RegistryLine);
    ASSERT_TRUE(regex.isValid()) << regex.error().getUTF8String();
    zul::Matcher matcher(regex);

    ASSERT_TRUE(matches(matcher, "0050C2     (base 16)\t\tIEEE REGISTRATION AUTHORITY\r\n"));
    EXPECT_EQ(matcher.group(0), zul::String("0050C2     (base 16)\t\tIEEE REGISTRATION AUTHORITY"));
    EXPECT_EQ(matcher.group(1), zul::String("0050C2"));
    EXPECT_EQ(matcher.group(2), zul::String("(base 16)\t\tIEEE REGISTRATION AUTHORITY"));
    EXPECT_TRUE(matcher.group(3).isEmpty());

    ASSERT_TRUE(matches(matcher, "080028 Texas Instruments\n"));
    EXPECT_EQ(matcher.group(2), zul::String("Texas Instruments"));
    ASSERT_TRUE(matches(matcher, "ABC\r"));
    EXPECT_EQ(matcher.group(1), zul::String("ABC"));
    EXPECT_TRUE(matcher.group(2).isEmpty());

    EXPECT_FALSE(matches(matcher, "\t\t\t\t2181 Buchanan Loop\r\n"));
    EXPECT_TRUE(matcher.group(1).isEmpty()) << "a failed match leaves no groups";
    ASSERT_TRUE(matches(matcher, "00a0 x"));
    EXPECT_EQ(matcher.group(1), zul::String("00"));
    EXPECT_EQ(matcher.group(2), zul::String("a0 x"));
}

TEST(RegexTest, SubjectIsBoundedByItsLength) {
    zul::Regex regex(RegistryLine);
    zul::Matcher matcher(regex);

    const char withNul[] = {'1', 'F', ' ', 'a', '\0', 'b', '\n'};
    ASSERT_TRUE(matcher.matches(withNul, sizeof withNul));
    EXPECT_EQ(matcher.group(2).str(), std::string("a\0b", 3));

    const char unterminated[] = {'A', 'B', 'C', 'D'};
    ASSERT_TRUE(matcher.matches(unterminated, 2));
    EXPECT_EQ(matcher.group(1), zul::String("AB"));

    char line[32];
    for (unsigned n = 0; n < 300; ++n) {
        std::snprintf(line, sizeof line, "%X name %u\r\n", n, n);
        ASSERT_TRUE(matches(matcher, line));
        uint32_t id = 0;
        ASSERT_TRUE(matcher.group(1).toUint32(id, 16));
        EXPECT_EQ(id, n);
    }
}

TEST(RegexTest, InvalidPatternReportsAndNeverMatches) {
    zul::Regex regex("([0-9A-F]+");
    EXPECT_FALSE(regex.isValid());
    EXPECT_FALSE(regex.error().isEmpty());
    zul::Matcher matcher(regex);
    EXPECT_FALSE(matches(matcher, "ABC"));
    EXPECT_TRUE(matcher.group(0).isEmpty());
}

} // namespace
