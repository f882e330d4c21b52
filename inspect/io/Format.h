#pragma once

#include <cstdio>
#include <string>

namespace rombus {

// A printf-style text of the tool's own, up to 255 characters: fields, offsets and messages.
template <typename... Values> std::string format(const char* pattern, Values... values) {
    char text[256];
    std::snprintf(text, sizeof text, pattern, values...);
    return text;
}

} // namespace rombus
