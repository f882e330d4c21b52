#pragma once

#include <cstddef>
#include <string>

#include "inspect/io/TerminalText.h"

namespace rombus {

// Breaks text at blanks into lines of at most width columns, the first one indented by indent
// columns and the following ones by hanging columns; every line ends with a line break. A word
// longer than a line is broken.
std::string wrapped(const std::string& text, size_t indent, size_t hanging, size_t width = 100);

} // namespace rombus
