#include "lib1394/Utf8Text.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace lib1394 {
namespace {

// The smallest code point each length of sequence may carry; a smaller one is an overlong form.
constexpr uint32_t SmallestCode[] = {0, 0, 0x80, 0x800, 0x10000};
constexpr uint32_t LargestCode = 0x10FFFF;
constexpr uint32_t FirstSurrogate = 0xD800, LastSurrogate = 0xDFFF;

size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80)
        return 1;
    if (lead < 0xC0 || lead > 0xF4)
        return 0;
    return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
}

bool isTextControl(uint32_t code) {
    return code != 0 && std::strchr("\t\n\v\f\r", static_cast<int>(code)) != nullptr;
}

bool isC1Control(uint32_t code) {
    return code >= 0x80 && code < 0xA0;
}

// Why the character at text[at] is not text, empty when it is; its length in length.
std::string faultAt(const std::string& text, size_t at, size_t offset, C1Controls c1,
                    size_t& length) {
    uint32_t code = 0;
    length = utf8SequenceAt(text, at, code);
    char fault[80] = "";
    if (length == 0)
        std::snprintf(fault, sizeof fault, "byte %zu (%02Xh) begins no well-formed UTF-8", offset,
                      static_cast<unsigned char>(text[at]));
    else if (code == 0)
        std::snprintf(fault, sizeof fault, "byte %zu is a NUL byte", offset);
    else if (code == 0x7F || (code < 0x20 && !isTextControl(code)) ||
             (c1 == C1Controls::Refused && isC1Control(code)))
        std::snprintf(fault, sizeof fault, "byte %zu is the control character U+%04X", offset,
                      static_cast<unsigned>(code));
    return fault;
}

// The longest well-formed sequence: a piece of a stream ending in fewer bytes may go on in the
// next piece.
constexpr size_t LongestSequence = 4;
constexpr size_t PieceBytes = 1 << 16;

} // namespace

size_t utf8SequenceAt(const std::string& text, size_t at, uint32_t& code) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const size_t length = sequenceLength(lead);
    if (length == 0 || at + length > text.size())
        return 0;
    code = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
        const unsigned char next = static_cast<unsigned char>(text[at + k]);
        if ((next & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (next & 0x3F);
    }
    if (code < SmallestCode[length] || code > LargestCode ||
        (code >= FirstSurrogate && code <= LastSurrogate))
        return 0;
    return length;
}

bool isTextContent(const std::string& content) {
    return textFault(content).empty();
}

std::string textFault(const std::string& content) {
    for (size_t at = 0, length = 0; at < content.size(); at += length)
        if (std::string fault = faultAt(content, at, at, C1Controls::Refused, length);
            !fault.empty())
            return fault;
    return {};
}

std::string textFault(std::istream& in, C1Controls c1) {
    std::string pending; // the bytes read and not yet checked
    size_t offset = 0;   // of pending's first byte in the stream
    std::vector<char> piece(PieceBytes);
    for (bool end = false; !end;) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        const auto got = static_cast<size_t>(in.gcount());
        end = got < piece.size();
        pending.append(piece.data(), got);
        size_t at = 0;
        for (size_t length = 0;
             at < pending.size() && (end || pending.size() - at >= LongestSequence); at += length)
            if (std::string fault = faultAt(pending, at, offset + at, c1, length); !fault.empty())
                return fault;
        pending.erase(0, at);
        offset += at;
    }
    return {};
}

} // namespace lib1394
