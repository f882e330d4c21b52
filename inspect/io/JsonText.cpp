#include "inspect/io/JsonText.h"

#include "lib1394/Utf8Text.h"

#include <cstdio>

namespace rombus {

std::string jsonString(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (size_t at = 0; at < bytes.size();) {
        uint32_t code = 0;
        const size_t length = lib1394::utf8SequenceAt(bytes, at, code);
        if (bytes[at] == '\\') {
            out += "\\\\";
            ++at;
        } else if (length > 0) {
            out.append(bytes, at, length);
            at += length;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(bytes[at]));
            out += escape;
            ++at;
        }
    }
    return out;
}

} // namespace rombus
