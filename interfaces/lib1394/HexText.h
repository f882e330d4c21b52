#pragma once

#include <cstdint>
#include <string>

namespace lib1394 {

// A number in upper-case hexadecimal, at least digits long, with the "h" suffix of bus addresses:
// hexText(0x400, 3) is "400h".
inline std::string hexText(uint64_t value, int digits) {
    static const char Digits[] = "0123456789ABCDEF";
    std::string text;
    for (int i = 0; i < digits || value != 0; ++i, value >>= 4)
        text.insert(text.begin(), Digits[value & 0xF]);
    return text + "h";
}

} // namespace lib1394
