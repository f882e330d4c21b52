#pragma once

#include "zul/String.h"

#include <cstddef>
#include <cstdint>

namespace zul {

class Matcher;

// A compiled PCRE2 pattern (JIT-compiled where the platform allows). Lines end at LF, CR or CRLF:
// "." never matches a line break, so a trailing "(.*)" stops before it.
class Regex {
public:
    explicit Regex(const String& pattern, uint32_t options = 0);
    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    bool isValid() const { return code_ != nullptr; }
    const String& error() const { return error_; }

private:
    friend class Matcher;
    void* code_ = nullptr;
    bool jit_ = false;
    String error_;
};

// Matches a Regex against subjects, reusing one block of match data. A match is anchored at the
// start of the subject and need not reach its end.
class Matcher {
public:
    explicit Matcher(const Regex& regex);
    ~Matcher();
    Matcher(const Matcher&) = delete;
    Matcher& operator=(const Matcher&) = delete;

    bool matches(const char* subject, size_t length);
    // The text of a capture group of the last successful match; empty when it did not take part.
    String group(unsigned index) const;

private:
    const Regex& regex_;
    void* matchData_ = nullptr;
    const char* subject_ = nullptr;
    int groups_ = 0;
};

} // namespace zul
