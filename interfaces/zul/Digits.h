#pragma once

#include "zul/Api.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zul {

// What digitValue gives a character that is no digit of any base up to 36.
constexpr unsigned NotADigit = 36;

namespace detail {

constexpr std::array<uint8_t, 256> digitValues() {
    std::array<uint8_t, 256> values{};
    for (unsigned c = 0; c < 256; ++c)
        values[c] = c >= '0' && c <= '9'   ? c - '0'
                    : c >= 'a' && c <= 'z' ? c - 'a' + 10
                    : c >= 'A' && c <= 'Z' ? c - 'A' + 10
                                           : NotADigit;
    return values;
}

inline constexpr std::array<uint8_t, 256> DigitValues = digitValues();

} // namespace detail

// The value of a character as a digit: '0' to '9', then 'a' to 'z' or 'A' to 'Z' for 10 to 35;
// NotADigit for any other byte. No locale is consulted.
constexpr unsigned digitValue(char c) {
    return detail::DigitValues[static_cast<unsigned char>(c)];
}

// A number written in hexadecimal digits alone, one to maxDigits of them (at most 16): no
// prefix, sign, blank or separator. Nothing for any other text.
ROMBUS_API std::optional<uint64_t> parseHex(std::string_view digits, size_t maxDigits = 16);

} // namespace zul
