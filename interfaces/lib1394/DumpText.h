#pragma once

#include "zul/Api.h"

#include "lib1394/ImageFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lib1394 {

// An annotated dump of a ROM as text: lines that begin with a ROM offset (0 to 3FCh), a register
// offset (400h to 7FCh) or a CSR address (FFFFF0000400h on) in hexadecimal, optionally followed
// by ':', then the quadlet there in eight hexadecimal digits, then anything. rombus's own dump
// puts the CSR address between the offset and the quadlet. Lines that begin with a blank or '^'
// continue the one before; other lines (headings, report text) are not read.

// Whether the content is such a dump: no line of plain hex quadlets before its first line of that
// form, which gives the first quadlet of the ROM or holds more than hex numbers.
ROMBUS_API bool isDumpText(const std::string& content);

// The ROM the dump shows, each quadlet at its offset; an error naming the input and the line
// when an address is not a quadlet of a ROM, when an offset is given twice, when quadlets are
// missing, or when a line's quadlet is a hexadecimal number of other than eight digits.
ROMBUS_API ImageFile decodeDumpText(const std::string& name, const std::string& content);

} // namespace lib1394
