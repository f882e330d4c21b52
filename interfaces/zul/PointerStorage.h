#pragma once

namespace zul {

// Storage of a plain pointer for the resource handles. The two numbers select the platform's
// allocation and release policies; this layer only ever holds the pointer.
template <class T, int AllocationPolicy, int ReleasePolicy> struct PointerStorage {
    using Type = T;
    T* pointer = nullptr;
};

} // namespace zul
