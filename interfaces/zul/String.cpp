#include "zul/String.h"

namespace zul {

bool String::toUint32(uint32_t& out, int base) const {
    if (text_.empty() || base < 2 || base > 36)
        return false;
    // Every byte must be a digit of the base: no sign, blank, "0x" prefix or embedded NUL.
    uint64_t value = 0;
    for (unsigned char c : text_) {
        unsigned digit = c >= '0' && c <= '9'   ? c - '0'
                         : c >= 'a' && c <= 'z' ? c - 'a' + 10
                         : c >= 'A' && c <= 'Z' ? c - 'A' + 10
                                                : 36;
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
