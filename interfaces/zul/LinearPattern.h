#pragma once

#include "zul/Api.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zul {

// A pattern that is a plain sequence of quantified byte classes, matched in one pass without
// backtracking, with the same result PCRE2 gives for it (anchored, "." excluding CR and LF).
// Registry and configuration lines are read with such patterns, and PCRE2's cost per match
// (setting up the match, walking the pattern) is many times that of the few bytes they test.
//
// Taken: literals, ".", classes "[...]" (ranges, "^", escapes), \s \d \w \S \D \W, the
// quantifiers "*", "+" and "?", and capture groups "(...)" that are not nested or quantified.
// A pattern is taken only when greedy matching is exact: no element that may match a varying
// number of bytes shares a byte with the elements after it, up to the first of them that must
// match a byte. Anything else (alternation, counted repeats, anchors, lazy
// quantifiers, back references) is left to PCRE2.
class ROMBUS_API LinearPattern {
public:
    // The plan of a pattern, or nothing when the pattern is not one this class takes.
    static std::optional<LinearPattern> of(const std::string& pattern);

    // The capture groups, not counting the whole match.
    unsigned groups() const { return static_cast<unsigned>(groupEnds_.size()); }

    // An end that the lazy last element decides, found by restOf.
    static constexpr size_t Unresolved = SIZE_MAX;

    // Matches at the start of a subject. spans gets the begin and end of the whole match and of
    // each group (2 * (groups() + 1) offsets), then where the last element begins. An unbounded
    // last element that may match nothing always matches: the ends it decides are Unresolved
    // until restOf finds them, so that a match whose tail is never asked for never reads it.
    bool matches(const char* subject, size_t length, std::vector<size_t>& spans) const;
    // Where the lazy last element's match ends, from where it begins.
    size_t restOf(const char* subject, size_t length, size_t begin) const;

private:
    using ByteSet = std::bitset<256>;
    // A byte class repeated min to 1 times, or min or more times when unbounded.
    struct Element {
        ByteSet bytes;
        size_t min = 1;
        bool unbounded = false;
        std::array<bool, 256> takes{}; // bytes as a table, for the match's inner loop
    };
    // Where a group's begin or end is taken: before the element at an index, into a slot of
    // the spans.
    struct Mark {
        size_t element;
        size_t slot;
    };
    class Parser;

    bool exact() const;
    void prepare();

    std::vector<Element> elements_;
    // Per group, the elements it spans: [first, end).
    std::vector<size_t> groupFirsts_, groupEnds_;
    bool lazyTail_ = false;
    std::vector<Mark> marks_; // in the order of their elements
};

} // namespace zul
