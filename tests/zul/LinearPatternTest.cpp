// Patterns matched in one pass must give what PCRE2 gives, as zul::Regex compiles them (anchored,
// lines ending at CR or LF): every pattern is matched both ways over subjects built to reach
// each boundary: empty, cut short, line ends, NUL and high bytes.
#define PCRE2_CODE_UNIT_WIDTH 8
#include "zul/LinearPattern.h"
#include "zul/Regex.h"

#include <gtest/gtest.h>
#include <pcre2.h>

#include <optional>
#include <string>
#include <vector>

namespace {

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
    "(a)x*()",
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

// The groups PCRE2 gives for a subject, "-" for a group that took no part; none without a match.
std::vector<std::string> pcre2Groups(const char* pattern, const std::string& subject) {
    int error = 0;
    PCRE2_SIZE at = 0;
    pcre2_compile_context* context = pcre2_compile_context_create(nullptr);
    pcre2_set_newline(context, PCRE2_NEWLINE_ANYCRLF);
    pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED,
                                     PCRE2_ANCHORED, &error, &at, context);
    pcre2_compile_context_free(context);
    pcre2_match_data* data = pcre2_match_data_create_from_pattern(code, nullptr);
    const int found = pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(subject.data()),
                                  subject.size(), 0, 0, data, nullptr);
    std::vector<std::string> groups;
    const PCRE2_SIZE* spans = pcre2_get_ovector_pointer(data);
    for (int group = 0; group < found; ++group)
        groups.push_back(
            spans[2 * group] == PCRE2_UNSET
                ? "-"
                : subject.substr(spans[2 * group], spans[2 * group + 1] - spans[2 * group]));
    pcre2_match_data_free(data);
    pcre2_code_free(code);
    return groups;
}

// The same through a plan, its lazy ends found as a matcher finds them.
std::vector<std::string> planGroups(const zul::LinearPattern& plan, const std::string& subject) {
    std::vector<size_t> spans;
    if (!plan.matches(subject.data(), subject.size(), spans))
        return {};
    const auto resolved = [&](size_t at) {
        return at == zul::LinearPattern::Unresolved
                   ? plan.restOf(subject.data(), subject.size(), spans.back())
                   : at;
    };
    std::vector<std::string> groups;
    for (unsigned group = 0; group <= plan.groups(); ++group) {
        const size_t begin = resolved(spans[2 * group]), end = resolved(spans[2 * group + 1]);
        groups.push_back(subject.substr(begin, end - begin));
    }
    return groups;
}

TEST(LinearPattern, GivesWhatPcre2GivesForEveryPatternItTakes) {
    for (const char* pattern : Taken) {
        SCOPED_TRACE(pattern);
        const std::optional<zul::LinearPattern> plan = zul::LinearPattern::of(pattern);
        ASSERT_TRUE(plan.has_value());
        for (const std::string& whole : Subjects) {
            // Each length of the subject, so that every element meets the subject's end.
            for (size_t length = 0; length <= whole.size(); ++length) {
                const std::string subject = whole.substr(0, length);
                SCOPED_TRACE(subject);
                EXPECT_EQ(planGroups(*plan, subject), pcre2Groups(pattern, subject));
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
    // A group after the rest of the line begins and ends where the rest ends.
    zul::Regex after("(a)x*()");
    zul::Matcher tail(after);
    ASSERT_TRUE(tail.matches("axxb", 4));
    EXPECT_EQ(tail.group(0).str(), "axx");
    EXPECT_EQ(tail.group(1).str(), "a");
    EXPECT_TRUE(tail.group(2).isEmpty());
}

} // namespace
