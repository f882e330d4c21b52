#pragma once

#include "zul/Api.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lib1394 {

// A ROM image file as the common dump programs print it, pasted where a file cannot go:
//   hexdump -C       00000000  04 04 c2 a1 31 33 39 34  e0 64 80 02 00 30 e0 00  |....1394.d...0..|
//   xxd              00000000: 0404 c2a1 3133 3934 e064 8002 0030 e000  ....1394.d...0..
//   od -A x -t x4    000000 a1c20404 34393331 0280 64e0 ...
// hexdump and xxd show the file byte by byte, xxd in groups of any size, both with the bytes as
// text at the end of the line; od shows 32-bit words in the byte order of the machine that ran
// it, taken to be little-endian (the PCs and ARM machines FireWire controllers sit in). A line
// "*" stands for repeats of the line before it up to the next line's offset; hexdump and od end
// with a line of the file's size alone. An od dump is taken as one only when it has two lines
// or more, so that a line of plain hex quadlets is never mistaken for one.

// The bytes of the file the dump shows, when the whole content is a dump in one of these forms
// whose offsets follow each other; false otherwise, bytes then undefined.
ROMBUS_API bool readByteDump(const std::string& content, std::vector<uint8_t>& bytes);

} // namespace lib1394
