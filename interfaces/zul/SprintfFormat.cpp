#include "zul/SprintfFormat.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace zul {

// Formats into a buffer on the stack, which holds every locator and message value the module
// makes; only a longer text is formatted a second time, into a buffer of its size.
SprintfFormat::SprintfFormat(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    char local[256];
    const int needed = std::vsnprintf(local, sizeof local, format, args);
    va_end(args);
    if (needed > 0 && static_cast<size_t>(needed) < sizeof local) {
        text_ = String(local, static_cast<size_t>(needed));
    } else if (needed > 0) {
        std::vector<char> out(static_cast<size_t>(needed) + 1);
        std::vsnprintf(out.data(), out.size(), format, again);
        text_ = String(out.data(), static_cast<size_t>(needed));
    }
    va_end(again);
}

} // namespace zul
