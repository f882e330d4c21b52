#pragma once

#include "zul/Api.h"

#include "zul/String.h"

namespace zul {

// printf-style formatting into a String: zul::String s = zul::SprintfFormat("%Xh", 0x404u);
class ROMBUS_API SprintfFormat {
public:
    explicit SprintfFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));

    const String& str() const { return text_; }
    operator const String&() const { return text_; }

private:
    String text_;
};

} // namespace zul
