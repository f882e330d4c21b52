#include "zul/String.h"

#include <array>

namespace zul {

namespace {

// The value of every byte as a digit, 36 for a byte that is no digit of any base up to 36.
constexpr std::array<uint8_t, 256> digitValues() {
    std::array<uint8_t, 256> values{};
    for (unsigned c = 0; c < 256; ++c)
        values[c] = c >= '0' && c <= '9'   ? c - '0'
                    : c >= 'a' && c <= 'z' ? c - 'a' + 10
                    : c >= 'A' && c <= 'Z' ? c - 'A' + 10
                                           : 36;
    return values;
}

constexpr std::array<uint8_t, 256> DigitValues = digitValues();

// Up to eight hexadecimal digits, the form of registry ids and ROM values: no digit can make the
// value overflow, so every digit is taken and checked once at the end.
bool shortHex(const std::string& text, uint32_t& out) {
    uint32_t value = 0;
    unsigned invalid = 0;
    for (unsigned char c : text) {
        const unsigned digit = DigitValues[c];
        invalid |= digit >> 4;
        value = value << 4 | (digit & 0xF);
    }
    if (invalid)
        return false;
    out = value;
    return true;
}

} // namespace

bool String::toUint32(uint32_t& out, int base) const {
    if (text_.empty() || base < 2 || base > 36)
        return false;
    if (base == 16 && text_.size() <= 8)
        return shortHex(text_, out);
    // Every byte must be a digit of the base: no sign, blank, "0x" prefix or embedded NUL.
    uint64_t value = 0;
    for (unsigned char c : text_) {
        const unsigned digit = DigitValues[c];
        if (digit >= static_cast<unsigned>(base))
            return false;
        value = value * static_cast<unsigned>(base) + digit;
        if (value > UINT32_MAX)
            return false;
    }
    out = static_cast<uint32_t>(value);
    return true;
}

} // namespace zul
