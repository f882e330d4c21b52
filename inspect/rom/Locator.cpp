#include "inspect/rom/Locator.h"

#include <cstdio>
#include <cstdlib>

namespace rombus {

std::optional<uint32_t> EntryAddress::romOffset() const {
    if (address < RomBase || address - RomBase > UINT32_MAX)
        return std::nullopt;
    return static_cast<uint32_t>(address - RomBase);
}

std::optional<EntryAddress> entryAddressOf(const std::string& locator) {
    const size_t at = locator.rfind('@');
    const size_t colon = locator.rfind(':');
    if (at == std::string::npos || at + 1 == locator.size() ||
        (colon != std::string::npos && colon > at))
        return std::nullopt;
    char* end = nullptr;
    const unsigned long long address = std::strtoull(locator.c_str() + at + 1, &end, 16);
    if (*end != '\0' || locator[at + 1] == '-' || locator[at + 1] == '+')
        return std::nullopt;
    const size_t start = colon == std::string::npos ? 0 : colon + 1;
    return EntryAddress{locator.substr(start, at - start), address};
}

std::string entryLocatorTail(const char* word, uint32_t offset) {
    char text[48];
    std::snprintf(text, sizeof text, "%s@%llx", word,
                  static_cast<unsigned long long>(RomBase + offset));
    return text;
}

} // namespace rombus
