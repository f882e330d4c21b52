#pragma once

#include <string>

namespace rombus {

// A text from a ROM, a file name or the system as it is safe to show on a terminal: control
// characters (escape, BEL, CR, LF among them), backslashes, bytes that are not well-formed UTF-8,
// C1 controls and invisible format characters (bidirectional controls, zero-width characters,
// the byte-order mark, line and paragraph separators) escaped, each byte as \xHH, a backslash as
// \\; with asciiOnly, every byte above 7Fh as well (the text of a ROM is ASCII). What comes out
// is one line that shows every byte that went in.
std::string escaped(const std::string& text, bool asciiOnly);

} // namespace rombus
