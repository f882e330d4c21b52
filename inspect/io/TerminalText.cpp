#include "inspect/io/TerminalText.h"

#include "lib1394/Utf8Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <utility>

namespace rombus {
namespace {

// Invisible format characters (Unicode category Cf) and the line and paragraph separators: they
// reorder or hide what a terminal shows, so they are escaped as control bytes are.
constexpr std::pair<uint32_t, uint32_t> InvisibleRanges[] = {
    {0x00AD, 0x00AD},   {0x0600, 0x0605},   {0x061C, 0x061C},   {0x06DD, 0x06DD},
    {0x070F, 0x070F},   {0x0890, 0x0891},   {0x08E2, 0x08E2},   {0x180E, 0x180E},
    {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x2064},   {0x2066, 0x206F},
    {0xFEFF, 0xFEFF},   {0xFFF9, 0xFFFB},   {0x110BD, 0x110BD}, {0x110CD, 0x110CD},
    {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001},
    {0xE0020, 0xE007F},
};
// Below this a code point is ASCII or a C1 control character.
constexpr uint32_t FirstPrintableAbove7F = 0xA0;

bool isInvisible(uint32_t code) {
    return std::any_of(
        std::begin(InvisibleRanges), std::end(InvisibleRanges),
        [code](const auto& range) { return code >= range.first && code <= range.second; });
}

// The length of the printable UTF-8 sequence of two to four bytes at text[at], or 0 when the
// bytes there are not one.
size_t printableSequence(const std::string& text, size_t at) {
    uint32_t code = 0;
    const size_t length = lib1394::utf8SequenceAt(text, at, code);
    if (length < 2 || code < FirstPrintableAbove7F || isInvisible(code))
        return 0;
    return length;
}

} // namespace

std::string escaped(const std::string& text, bool asciiOnly) {
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const size_t length = asciiOnly ? 0 : printableSequence(text, i);
        if (c == '\\') {
            out += "\\\\";
            ++i;
        } else if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
            ++i;
        } else if (length > 0) {
            out.append(text, i, length);
            i += length;
        } else {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", c);
            out += code;
            ++i;
        }
    }
    return out;
}

} // namespace rombus
