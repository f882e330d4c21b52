#include "lib1394/Utf8Text.h"

#include <cstring>

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
    for (size_t at = 0; at < content.size();) {
        uint32_t code = 0;
        const size_t length = utf8SequenceAt(content, at, code);
        if (length == 0 || code == 0x7F || (code < 0x20 && !isTextControl(code)) ||
            (code >= 0x80 && code < 0xA0))
            return false;
        at += length;
    }
    return true;
}

} // namespace lib1394
