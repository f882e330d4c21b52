#include "zul/Digits.h"

namespace zul {

namespace {
constexpr size_t MaxHexDigits = 16;
}

std::optional<uint64_t> parseHex(std::string_view digits, size_t maxDigits) {
    if (digits.empty() || digits.size() > maxDigits || digits.size() > MaxHexDigits)
        return std::nullopt;
    uint64_t value = 0;
    for (char c : digits) {
        const unsigned digit = digitValue(c);
        if (digit >= 16)
            return std::nullopt;
        value = value << 4 | digit;
    }
    return value;
}

} // namespace zul
