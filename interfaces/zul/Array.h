#pragma once

#include "zul/Assert.h"

#include <cstddef>
#include <vector>

namespace zul {

// Growable array. The first allocation makes room for 8 elements; every index is checked.
template <class T> class Array {
public:
    static constexpr size_t FirstAllocation = 8;

    Array() = default;

    void append(const T& element) {
        if (elements_.capacity() == 0)
            elements_.reserve(FirstAllocation);
        elements_.push_back(element);
    }
    void reserve(size_t count) { elements_.reserve(count); }
    void clear() { elements_.clear(); }

    size_t size() const { return elements_.size(); }
    size_t capacity() const { return elements_.capacity(); }
    bool isEmpty() const { return elements_.empty(); }

    T& operator[](size_t index) {
        ZUL_ASSERT(index < size());
        return elements_[index];
    }
    const T& operator[](size_t index) const {
        ZUL_ASSERT(index < size());
        return elements_[index];
    }

    auto begin() const { return elements_.begin(); }
    auto end() const { return elements_.end(); }

private:
    std::vector<T> elements_;
};

} // namespace zul
