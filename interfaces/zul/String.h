#pragma once

#include "zul/Api.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace zul {

// UTF-8 text. Bytes are kept as given; nothing is converted or validated.
class ROMBUS_API String {
public:
    String() = default;
    String(const char* text) : text_(text ? text : "") {}
    String(const char* text, size_t length) : text_(text, length) {}
    String(std::string text) : text_(std::move(text)) {}

    const char* getUTF8String() const { return text_.c_str(); }
    const std::string& str() const { return text_; }
    size_t length() const { return text_.size(); }
    bool isEmpty() const { return text_.empty(); }

    // Converts the whole text as an unsigned number in the given base. False when the text is
    // empty, holds a character that is not a digit of the base, or does not fit in 32 bits.
    bool toUint32(uint32_t& out, int base = 10) const;

    String& operator+=(const String& other) {
        text_ += other.text_;
        return *this;
    }
    friend String operator+(String left, const String& right) { return left += right; }
    friend bool operator==(const String& a, const String& b) = default;

private:
    std::string text_;
};

} // namespace zul
