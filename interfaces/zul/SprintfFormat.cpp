#include "zul/SprintfFormat.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace zul {

SprintfFormat::SprintfFormat(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int needed = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    if (needed > 0) {
        std::vector<char> out(static_cast<size_t>(needed) + 1);
        std::vsnprintf(out.data(), out.size(), format, again);
        text_ = String(out.data(), static_cast<size_t>(needed));
    }
    va_end(again);
}

} // namespace zul
