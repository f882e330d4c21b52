#include "zul/Digits.h"

#include <gtest/gtest.h>

namespace {

TEST(DigitsTest, DigitValuesStopAtTheLettersEdges) {
    EXPECT_EQ(zul::digitValue('0'), 0u);
    EXPECT_EQ(zul::digitValue('9'), 9u);
    EXPECT_EQ(zul::digitValue('a'), 10u);
    EXPECT_EQ(zul::digitValue('F'), 15u);
    EXPECT_EQ(zul::digitValue('z'), 35u);
    EXPECT_EQ(zul::digitValue('Z'), 35u);
    for (char c : {'/', ':', '@', '[', '`', '{', '\0', '\xFF', ' '})
        EXPECT_EQ(zul::digitValue(c), zul::NotADigit) << int(c);
}

TEST(DigitsTest, ParseHexTakesOneToMaxDigitsAndNothingElse) {
    EXPECT_EQ(zul::parseHex("0"), 0u);
    EXPECT_EQ(zul::parseHex("aF"), 0xAFu);
    EXPECT_EQ(zul::parseHex("FFFFFFFFFFFFFFFF"), 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(zul::parseHex("0123456789abcdef"), 0x0123456789ABCDEFull);
    EXPECT_EQ(zul::parseHex("12345678", 8), 0x12345678u);
    EXPECT_FALSE(zul::parseHex("123456789", 8));
    EXPECT_FALSE(zul::parseHex("00000000000000001"));
    EXPECT_FALSE(zul::parseHex("00000000000000001", 40));
    for (const char* text : {"", "g", "G", "0x1", " 1", "1 ", "-1", "+1", "1:", "`"})
        EXPECT_FALSE(zul::parseHex(text)) << text;
    EXPECT_FALSE(zul::parseHex(std::string_view("1\0002", 3)));
}

} // namespace
