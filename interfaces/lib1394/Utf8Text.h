#pragma once

#include "zul/Api.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace lib1394 {

// The length of the well-formed UTF-8 sequence at text[at] (1 for an ASCII byte), with its code
// point; 0 when the bytes there are no such sequence: a stray continuation byte, a truncated or
// overlong form, a surrogate or a code point above 10FFFFh.
ROMBUS_API size_t utf8SequenceAt(const std::string& text, size_t at, uint32_t& code);

// Whether content reads as text: well-formed UTF-8 throughout, with no control character but
// the white space of a text file (tab, line feed, vertical tab, form feed, carriage return).
// A ROM image never does: its first byte, info_length, is a control character.
ROMBUS_API bool isTextContent(const std::string& content);

} // namespace lib1394
