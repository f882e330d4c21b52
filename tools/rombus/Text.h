#pragma once

#include <cstddef>
#include <string>

namespace rombus {

// A text as it is safe to show on a terminal: control characters, backslashes, bytes that are
// not printable UTF-8 and invisible format characters (bidirectional controls, zero-width
// characters, the byte-order mark, line and paragraph separators) escaped, each byte as \xHH,
// a backslash as \\; with asciiOnly, every byte above 7Fh as well (the text
// of a ROM is ASCII).
std::string escaped(const std::string& text, bool asciiOnly);

// Breaks text at blanks into lines of at most width columns, the first one indented by indent
// columns and the following ones by hanging columns; every line ends with a line break. A word
// longer than a line is broken.
std::string wrapped(const std::string& text, size_t indent, size_t hanging, size_t width = 100);

} // namespace rombus
