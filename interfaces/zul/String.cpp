#include "zul/String.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace zul {

bool String::toUint32(uint32_t& out, int base) const {
    if (text_.empty() || text_[0] == '-' || text_[0] == '+' || isspace((unsigned char)text_[0]))
        return false;
    errno = 0;
    char* end = nullptr;
    unsigned long long value = std::strtoull(text_.c_str(), &end, base);
    if (errno != 0 || *end != '\0' || value > std::numeric_limits<uint32_t>::max())
        return false;
    out = static_cast<uint32_t>(value);
    return true;
}

} // namespace zul
