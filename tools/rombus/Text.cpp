#include "Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <utility>
#include <vector>

namespace rombus {
namespace {

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
