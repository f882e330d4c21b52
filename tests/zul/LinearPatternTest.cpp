// Patterns matched in one pass must give what PCRE2 gives: every pattern is matched both ways
// (an option that changes nothing for these patterns keeps PCRE2 on them) over subjects built
// to reach each boundary: empty, cut short, line ends, NUL and high bytes.
#define PCRE2_CODE_UNIT_WIDTH 8
#include "zul/LinearPattern.h"
#include "zul/Regex.h"

#include <gtest/gtest.h>
#include <pcre2.h>

#include <string>
#include <vector>

namespace {

// Leaves every pattern without "$" as it is, and keeps it from the one-pass matcher.
constexpr uint32_t ThroughPcre2 = PCRE2_DOLLAR_ENDONLY;

const char* const Taken[] = {
    "([0-9A-F]+)\\s*(.*)",
    "(\\w+)=(\\d*)",
    "[^,]*,(.*)",
    "a?b+(c*)",
    "x(\\s?)[A-F]+",
    "(.)(.)",
    "()\\.([a-c-]+)",
    "[\\]\\-x]+(\\S*)",
    "(\\D+)(\\d)",
    "[-a]+([^-az]?)z",
    "(\\W*)(\\w?)(.*)",
    "",
    ".*\\n",
    "\\s*\\S",
    "a*b?c+a",
};

const std::string Subjects[] = {
    "",
    "0030E0   Name\r\n",
    "0050C2     (base 16)\t\tIEEE\n",
    "ABC\r",
    "key=123",
    "key=",
    "=9",
    "12,34\n",
    ",",
    "abbbccc",
    "bc",
    "x \tABF",
    "xAB",
    "x\n",
    ".ab-c",
    "].-x]y z",
    "aabcca",
    "acb",
    "--az",
    "aaz",
    "az",
    std::string("1F a\0b\n", 7),
    std::string("\xff\xfe!\x01q\r", 6),
    " \v\f x",
};

TEST(LinearPattern, GivesWhatPcre2GivesForEveryPatternItTakes) {
    for (const char* pattern : Taken) {
        SCOPED_TRACE(pattern);
        ASSERT_TRUE(zul::LinearPattern::of(pattern).has_value());
        zul::Regex fast(pattern), slow(pattern, ThroughPcre2);
        ASSERT_TRUE(slow.isValid());
        zul::Matcher one(fast), other(slow);
        for (const std::string& subject : Subjects) {
            // Each length of the subject, so that every element meets the subject's end.
            for (size_t length = 0; length <= subject.size(); ++length) {
                SCOPED_TRACE(subject.substr(0, length));
                const bool matched = other.matches(subject.data(), length);
                ASSERT_EQ(one.matches(subject.data(), length), matched);
                for (unsigned group = 0; group < 5; ++group)
                    EXPECT_EQ(one.group(group).str(), other.group(group).str()) << group;
            }
        }
    }
}

TEST(LinearPattern, LeavesToPcre2WhatItCannotMatchInOnePass) {
    const char* const left[] = {
        "a|b",   "(a(b))", "(ab)*", "a{2}",       "a*?b",    "a++",   "^a",  "a$",
        "a*a",   "\\d+1",  "[a-",   "(a",         "a)",      "(?:a)", "\\1", "[[:alpha:]]",
        "[z-a]", "\\bx",   "a\\",   "[^\\d\\Q]x", "(\\w*)x", "a*b?a",
    };
    for (const char* pattern : left)
        EXPECT_FALSE(zul::LinearPattern::of(pattern).has_value()) << pattern;
    // A varying element must not share a byte with the elements after it up to the first that
    // must match; past that one, and before elements that may all match nothing, it may.
    EXPECT_TRUE(zul::LinearPattern::of("\\s*(.*)").has_value());
    EXPECT_FALSE(zul::LinearPattern::of("\\s*(.+)").has_value());
    EXPECT_FALSE(zul::LinearPattern::of("a*b?a").has_value());
    EXPECT_TRUE(zul::LinearPattern::of("a*b?c+a").has_value());
}

TEST(LinearPattern, FindsTheEndOfTheRestOfALineOnlyWhenAsked) {
    zul::Regex regex("([0-9A-F]+)\\s*(.*)");
    zul::Matcher matcher(regex);
    const std::string line = "ACDE48 Example Vendor\r\n";
    ASSERT_TRUE(matcher.matches(line.data(), line.size()));
    EXPECT_EQ(matcher.group(2).str(), "Example Vendor");
    EXPECT_EQ(matcher.group(0).str(), "ACDE48 Example Vendor");
    EXPECT_EQ(matcher.group(1).str(), "ACDE48");
    EXPECT_TRUE(matcher.group(3).isEmpty());
    EXPECT_FALSE(matcher.matches("-ACDE48", 7));
    EXPECT_TRUE(matcher.group(1).isEmpty());
}

} // namespace
