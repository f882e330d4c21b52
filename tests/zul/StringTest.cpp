#include "zul/String.h"
#include "zul/SprintfFormat.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The value read, or 7 when the text is rejected: a rejected text leaves the output alone.
uint32_t parsed(const zul::String& text, int base) {
    uint32_t out = 7;
    const bool accepted = text.toUint32(out, base);
    EXPECT_EQ(accepted, out != 7) << text.getUTF8String();
    return out;
}

TEST(StringTest, ToUint32AcceptsOnlyDigitsOfTheBaseWithin32Bits) {
    EXPECT_EQ(parsed("0", 10), 0u);
    EXPECT_EQ(parsed("4294967295", 10), 0xFFFFFFFFu);
    EXPECT_EQ(parsed("0050C2", 16), 0x50C2u);
    EXPECT_EQ(parsed("ffffffff", 16), 0xFFFFFFFFu);
    EXPECT_EQ(parsed("000000000000001", 16), 1u);
    for (const char* text : {"", "4294967296", "1F", "-1", "+1", " 1"})
        EXPECT_EQ(parsed(text, 10), 7u) << text;
    for (const char* text : {"100000000", "12G", "0x1F"})
        EXPECT_EQ(parsed(text, 16), 7u) << text;
    EXPECT_EQ(parsed(zul::String("12\00034", 5), 10), 7u);
    // Up to eight hexadecimal digits, as registry ids are: every byte still checked.
    EXPECT_EQ(parsed("acDE48", 16), 0xACDE48u);
    for (const char* text : {"AB G", "G", "ACDE4/", "ACDE4:", "@", "`f"})
        EXPECT_EQ(parsed(text, 16), 7u) << text;
    EXPECT_EQ(parsed(zul::String("AB\0C", 4), 16), 7u);
}

TEST(StringTest, SprintfFormatsAnyLength) {
    EXPECT_EQ(zul::String(zul::SprintfFormat("%Xh", 0u)), zul::String("0h"));
    EXPECT_EQ(zul::SprintfFormat("%016llx", 0x0123456789ABCDEFull).str(),
              zul::String("0123456789abcdef"));
    EXPECT_TRUE(zul::SprintfFormat("%s", "").str().isEmpty());
    std::string longText(5000, 'q');
    zul::String out = zul::SprintfFormat("<%s>%u", longText.c_str(), 42u);
    EXPECT_EQ(out.str(), "<" + longText + ">42");
}

} // namespace
