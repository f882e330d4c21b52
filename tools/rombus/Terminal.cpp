#include "Terminal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace rombus {
namespace {

constexpr size_t NarrowestWidth = 60;
constexpr size_t FileWidth = 100;
// Wider than any terminal; a larger COLUMNS is no width and is ignored.
constexpr unsigned long MaxColumns = 65535;

size_t terminalWidth() {
    if (const char* columns = std::getenv("COLUMNS")) {
        // Digits only: strtoul would take "-5" for a huge number and saturate past its range.
        char* end = nullptr;
        errno = 0;
        const unsigned long value = std::strtoul(columns, &end, 10);
        const bool digits = *columns >= '0' && *columns <= '9';
        if (digits && errno == 0 && end != columns && *end == '\0' && value > 0 &&
            value <= MaxColumns)
            return std::max<size_t>(value, NarrowestWidth);
    }
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return std::max<size_t>(size.ws_col, NarrowestWidth);
    return FileWidth;
}

bool noColorAsked() {
    const char* value = std::getenv("NO_COLOR");
    return value && *value;
}

} // namespace

Layout layoutOf(Color color) {
    const bool terminal = ::isatty(STDOUT_FILENO);
    Layout layout;
    layout.width = terminal ? terminalWidth() : FileWidth;
    layout.color = color == Color::Always || (color == Color::Auto && terminal && !noColorAsked());
    return layout;
}

} // namespace rombus
