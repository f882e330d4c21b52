#pragma once

#include "zul/Api.h"

#include "zul/Log.h"
#include "zul/String.h"

namespace vesk5 {

// The framework's string: UTF-8 text, convertible to and from the common library's String.
class ROMBUS_API VeskString {
public:
    VeskString() = default;
    VeskString(const char* text) : text_(text) {}
    VeskString(const zul::String& text) : text_(text) {}

    const zul::String& zulString() const { return text_; }
    const char* c_str() const { return text_.getUTF8String(); }
    bool isEmpty() const { return text_.isEmpty(); }
    friend bool operator==(const VeskString& a, const VeskString& b) = default;

private:
    zul::String text_;
};

} // namespace vesk5

namespace zul {
inline LoggerStream& operator+(LoggerStream& stream, const vesk5::VeskString& text) {
    return stream + text.zulString();
}
} // namespace zul
