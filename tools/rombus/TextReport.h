#pragma once

#include "Enumeration.h"
#include "Terminal.h"

#include <string>

namespace rombus {

// The device tree as a person reads it, at most layout.width columns wide: ports, nodes and the
// directories, leaves and immediate entries below them, each with its properties, then per node
// what the kernel says of it and its units, and its problem records; a summary at the end.
// emptyText is printed when there is no port.
std::string textReport(const Scan& scan, const std::string& emptyText, const Layout& layout = {});

// A text as it is safe to show on a terminal: control characters, backslashes and bytes that are
// not printable UTF-8 escaped (\xHH, \\); with asciiOnly, every byte above 7Fh as well (the text
// of a ROM is ASCII).
std::string escaped(const std::string& text, bool asciiOnly);

// Breaks text at blanks into lines of at most width columns, the first one indented by indent
// columns and the following ones by hanging columns; every line ends with a line break. A word
// longer than a line is broken.
std::string wrapped(const std::string& text, size_t indent, size_t hanging, size_t width = 100);

} // namespace rombus
