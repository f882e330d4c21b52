#pragma once

#include "zul/Api.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
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
    // The offsets a match records: one per element.
    size_t elements() const { return elements_.size(); }

    // Matches at the start of a subject. ends gets, for each element but a lazy last one, the
    // offset where its match ends; the groups' spans follow from them (span). An unbounded last
    // element that may match nothing always matches, so it is not read until a group that ends
    // with it is asked for.
    bool matches(const char* subject, size_t length, size_t* ends) const;
    // The begin and end of a group (0 for the whole match) of a match that recorded ends.
    std::pair<size_t, size_t> span(unsigned group, const char* subject, size_t length,
                                   const size_t* ends) const;

private:
    using ByteSet = std::bitset<256>;
    // A byte class repeated min to 1 times, or min or more times when unbounded.
    struct Element {
        ByteSet bytes;
        size_t min = 1;
        bool unbounded = false;
        std::array<bool, 256> takes{}; // bytes as a table, for the match's inner loop
    };
    class Parser;

    bool exact() const;
    void prepare();
    // The offset after the first count elements of a match.
    size_t after(size_t count, const char* subject, size_t length, const size_t* ends) const;

    std::vector<Element> elements_;
    // Per group, the elements it spans: [first, end).
    std::vector<size_t> groupFirsts_, groupEnds_;
    size_t eager_ = 0; // the elements matched by matches: all but a lazy last one
};

} // namespace zul
