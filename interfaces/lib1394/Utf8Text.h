#pragma once

#include "zul/Api.h"

#include <cstddef>
#include <cstdint>
#include <istream>
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

// Why content does not read as text, naming the first byte that does not ("byte 17 is a NUL
// byte"): empty when it does.
ROMBUS_API std::string textFault(const std::string& content);

// Whether a C1 control character (U+0080 to U+009F) is taken for text: never in a file of the
// tool's own, but the IEEE registry files hold some, where a name or address was converted from
// another character set twice ("\u00C3\u009D" for "\u0130").
enum class C1Controls { Refused, Taken };

// The same for a stream, read to its end piece by piece so that the memory taken does not follow
// its size. Leaves the stream at its end.
ROMBUS_API std::string textFault(std::istream& in, C1Controls c1);

} // namespace lib1394
