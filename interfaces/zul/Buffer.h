#pragma once

#include "zul/Assert.h"

#include <cstddef>
#include <vector>

namespace zul {

// A block of elements of fixed size, zero-filled, released with the object.
template <class T> class Buffer {
public:
    Buffer() = default;
    explicit Buffer(size_t size) : elements_(size) {}

    size_t size() const { return elements_.size(); }
    T* data() { return elements_.data(); }
    const T* data() const { return elements_.data(); }

    T& operator[](size_t index) {
        ZUL_ASSERT(index < size());
        return elements_[index];
    }
    const T& operator[](size_t index) const {
        ZUL_ASSERT(index < size());
        return elements_[index];
    }

private:
    std::vector<T> elements_;
};

} // namespace zul
