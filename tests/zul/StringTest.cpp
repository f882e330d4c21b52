#include "zul/String.h"
#include "zul/SprintfFormat.h"

#include <gtest/gtest.h>

#include <string>

namespace {

uint32_t parsed(const zul::String& text, int base) {
    uint32_t out = 0xDEADBEEF;
    EXPECT_TRUE(text.toUint32(out, base)) << text.getUTF8String();
    return out;
}

bool rejects(const zul::String& text, int base) {
    uint32_t out = 7;
    bool ok = text.toUint32(out, base);
    EXPECT_EQ(out, 7u) << "a rejected text must leave the output alone";
    return !ok;
}

TEST(StringTest, ToUint32AcceptsOnlyDigitsOfTheBaseWithin32Bits) {
    EXPECT_EQ(parsed("0", 10), 0u);
    EXPECT_EQ(parsed("4294967295", 10), 0xFFFFFFFFu);
    EXPECT_EQ(parsed("0050C2", 16), 0x50C2u);
    EXPECT_EQ(parsed("ffffffff", 16), 0xFFFFFFFFu);
    EXPECT_EQ(parsed("000000000000001", 16), 1u);

    EXPECT_TRUE(rejects("", 10));
    EXPECT_TRUE(rejects("4294967296", 10));
    EXPECT_TRUE(rejects("100000000", 16));
    EXPECT_TRUE(rejects("1F", 10));
    EXPECT_TRUE(rejects("12G", 16));
    EXPECT_TRUE(rejects("0x1F", 16));
    EXPECT_TRUE(rejects("-1", 10));
    EXPECT_TRUE(rejects("+1", 10));
    EXPECT_TRUE(rejects(" 1", 10));
    EXPECT_TRUE(rejects(zul::String("12\0"
                                    "34",
                                    5),
                        10));
}

TEST(StringTest, SprintfFormatsAnyLength) {
    EXPECT_EQ(zul::String(zul::SprintfFormat("%Xh", 0u)), zul::String("0h"));
    EXPECT_EQ(zul::String(zul::SprintfFormat("%Xh", 0x404u)), zul::String("404h"));
    EXPECT_EQ(zul::SprintfFormat("%016llx", 0x0123456789ABCDEFull).str(),
              zul::String("0123456789abcdef"));
    EXPECT_EQ(zul::SprintfFormat("%u", 4294967295u).str(), zul::String("4294967295"));
    EXPECT_TRUE(zul::SprintfFormat("%s", "").str().isEmpty());

    std::string longText(5000, 'q');
    zul::String out = zul::SprintfFormat("<%s>%u", longText.c_str(), 42u);
    EXPECT_EQ(out.str(), "<" + longText + ">42");
}

} // namespace
