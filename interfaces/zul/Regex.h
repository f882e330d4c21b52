#pragma once

#include "zul/Api.h"

#include "zul/String.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace zul {

class Matcher;
struct CompiledPattern;

// A compiled PCRE2 pattern (JIT-compiled where the platform allows). A pattern that is a plain
// sequence of quantified byte classes is matched in one pass instead (zul/LinearPattern.h), with
// the same result and a fraction of PCRE2's cost per match. Lines end at LF, CR or CRLF:
// "." never matches a line break, so a trailing "(.*)" stops before it.
//
// A pattern is compiled once per process: every Regex made later from the same pattern and
// options shares that compiled code, so a Regex made for each use costs a table look-up, not a
// compilation (PCRE2 lets any number of matchers use one compiled pattern at once).
class ROMBUS_API Regex {
public:
    explicit Regex(const String& pattern, uint32_t options = 0);
    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    bool isValid() const;
    const String& error() const;

    // The number of compiled patterns kept for sharing; at most MaxShared.
    static size_t sharedCount();
    static constexpr size_t MaxShared = 32;

private:
    friend class Matcher;
    std::shared_ptr<const CompiledPattern> compiled_;
};

// Matches a Regex against subjects, reusing one block of match data. A match is anchored at the
// start of the subject and need not reach its end.
class ROMBUS_API Matcher {
public:
    explicit Matcher(const Regex& regex);
    ~Matcher();
    Matcher(const Matcher&) = delete;
    Matcher& operator=(const Matcher&) = delete;

    bool matches(const char* subject, size_t length);
    // The text of a capture group of the last successful match; empty when it did not take part.
    String group(unsigned index) const;

private:
    std::shared_ptr<const CompiledPattern> compiled_;
    void* matchData_ = nullptr;
    const char* subject_ = nullptr;
    size_t length_ = 0;
    int groups_ = 0;
    std::vector<size_t> spans_; // a pattern matched in one pass: its groups' offsets
};

} // namespace zul
