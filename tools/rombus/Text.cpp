#include "Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <utility>
#include <vector>

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

bool isInvisible(uint32_t code) {
    return std::any_of(
        std::begin(InvisibleRanges), std::end(InvisibleRanges),
        [code](const auto& range) { return code >= range.first && code <= range.second; });
}

// The length of the printable UTF-8 sequence of two to four bytes at text[at], or 0 when the
// bytes there are not one: a stray or truncated byte, an overlong form, a surrogate, a code point
// above 10FFFFh, a C1 control character (80h to 9Fh) or an invisible format character.
size_t printableSequence(const std::string& text, size_t at) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || at + length > text.size())
        return 0;
    uint32_t code = lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
        const unsigned char next = static_cast<unsigned char>(text[at + k]);
        if ((next & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (next & 0x3F);
    }
    constexpr uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) ||
        code < 0xA0 || isInvisible(code))
        return 0;
    return length;
}

// Breaks a word longer than width into pieces of at most width bytes, never inside a UTF-8
// sequence.
std::vector<std::string> pieces(const std::string& word, size_t width) {
    std::vector<std::string> out;
    size_t start = 0;
    while (word.size() - start > width) {
        size_t end = start + width;
        while (end > start + 1 && (static_cast<unsigned char>(word[end]) & 0xC0) == 0x80)
            --end;
        out.push_back(word.substr(start, end - start));
        start = end;
    }
    out.push_back(word.substr(start));
    return out;
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

std::string wrapped(const std::string& text, size_t indent, size_t hanging, size_t width) {
    std::string out;
    std::string line(indent, ' ');
    size_t lineStart = indent;
    size_t blanks = 0;
    for (size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++blanks;
            ++i;
            continue;
        }
        const size_t end = std::min(text.find(' ', i), text.size());
        const std::string word = text.substr(i, end - i);
        i = end;
        // The blanks between words stay as given, except where the line is broken; a word too
        // long for any line is broken itself.
        for (const std::string& piece : pieces(word, width - std::min(width - 1, hanging))) {
            if (line.size() > lineStart && line.size() + blanks + piece.size() > width) {
                out += line + "\n";
                line.assign(hanging, ' ');
                lineStart = hanging;
            } else if (line.size() > lineStart) {
                line.append(blanks, ' ');
            }
            line += piece;
            blanks = 0;
        }
    }
    return out + line + "\n";
}

} // namespace rombus
