#pragma once

#include <cstdint>

namespace zul {

// Control blocks of SharedResource. Virtual slots, in order: the destructor, which deletes the
// held object when there is one, and release, which empties the block without deleting it.
class SharedResourceManagerCommonBase {
public:
    virtual ~SharedResourceManagerCommonBase() = default;
    virtual void release() = 0;
};

// The unlocked manager: a plain reference count, for handles used by one thread at a time.
class SharedResourceManagerUnlockedBase : public SharedResourceManagerCommonBase {
public:
    uint32_t addReference() { return ++count_; }
    uint32_t dropReference() { return --count_; }
    uint32_t count() const { return count_; }

private:
    uint32_t count_ = 1;
};

template <class Storage> class SharedResourceManager : public SharedResourceManagerUnlockedBase {
public:
    using Type = typename Storage::Type;

    explicit SharedResourceManager(Type* pointer) { storage_.pointer = pointer; }
    ~SharedResourceManager() override { delete storage_.pointer; }
    SharedResourceManager(const SharedResourceManager&) = delete;
    SharedResourceManager& operator=(const SharedResourceManager&) = delete;

    void release() override { storage_.pointer = nullptr; }
    Type* get() const { return storage_.pointer; }

private:
    Storage storage_;
};

// A reference-counted handle. Copies share one control block; the last handle released destroys
// the block and the object it holds. Only the unlocked variant (Locking 0) exists.
template <class Storage, int Locking> class SharedResource {
    static_assert(Locking == 0, "only the unlocked resource manager is provided");
    using Manager = SharedResourceManager<Storage>;

public:
    using Type = typename Storage::Type;

    SharedResource() = default;
    explicit SharedResource(Type* pointer) : manager_(pointer ? new Manager(pointer) : nullptr) {}
    SharedResource(const SharedResource& other) : manager_(other.manager_) { share(); }
    SharedResource& operator=(const SharedResource& other) {
        if (manager_ != other.manager_) {
            reset();
            manager_ = other.manager_;
            share();
        }
        return *this;
    }
    ~SharedResource() { reset(); }

    // Drops this handle's reference; the object goes with the last one.
    void reset() {
        if (manager_ && manager_->dropReference() == 0)
            destroy(manager_);
        manager_ = nullptr;
    }

    Type* get() const { return manager_ ? manager_->get() : nullptr; }
    Type* operator->() const { return get(); }
    Type& operator*() const { return *get(); }
    bool isEmpty() const { return get() == nullptr; }
    bool sharesWith(const SharedResource& other) const { return manager_ == other.manager_; }
    uint32_t useCount() const { return manager_ ? manager_->count() : 0; }

private:
    // Kept out of line: the compiler cannot follow the reference count, and once it sees the
    // delete it warns of a use after free on paths where two handles share one block.
    [[gnu::noinline]] static void destroy(Manager* manager) { delete manager; }

    void share() {
        if (manager_)
            manager_->addReference();
    }

    Manager* manager_ = nullptr;
};

} // namespace zul
