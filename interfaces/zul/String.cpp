#include "zul/String.h"

#include "zul/Digits.h"

namespace zul {

namespace {

// Up to eight hexadecimal digits, the form of registry ids and ROM values: no digit can make the
// value overflow, so every digit is taken and checked once at the end.
bool shortHex(const std::string& text, uint32_t& out) {
    uint32_t value = 0;
    unsigned invalid = 0;
    for (unsigned char c : text) {
        const unsigned digit = digitValue(static_cast<char>(c));
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
        const unsigned digit = digitValue(static_cast<char>(c));
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
