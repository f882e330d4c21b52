#pragma once

namespace zul {

// A non-owning handle that is taken over when passed on: moving it empties the source. Emptying
// or destroying it never destroys the object; copy() makes a second handle to the same object.
template <class Storage> class CopiedResource {
public:
    using Type = typename Storage::Type;

    CopiedResource() = default;
    explicit CopiedResource(Type* pointer) { storage_.pointer = pointer; }
    CopiedResource(CopiedResource&& other) noexcept : storage_(other.storage_) { other.reset(); }
    CopiedResource& operator=(CopiedResource&& other) noexcept {
        storage_ = other.storage_;
        if (&other != this)
            other.reset();
        return *this;
    }
    CopiedResource(const CopiedResource&) = delete;
    CopiedResource& operator=(const CopiedResource&) = delete;
    ~CopiedResource() = default;

    CopiedResource copy() const { return CopiedResource(storage_.pointer); }
    void reset() { storage_.pointer = nullptr; }

    Type* get() const { return storage_.pointer; }
    Type* operator->() const { return storage_.pointer; }
    bool isEmpty() const { return storage_.pointer == nullptr; }

private:
    Storage storage_;
};

} // namespace zul
