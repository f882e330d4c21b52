#include "zul/CopiedResource.h"
#include "zul/PointerStorage.h"
#include "zul/SharedResource.h"

#include <gtest/gtest.h>

namespace {

struct Counted {
    explicit Counted(int& destroyed) : destroyed(destroyed) {}
    ~Counted() { ++destroyed; }
    int& destroyed;
};

using Storage = zul::PointerStorage<Counted, 0, 3>;
using Shared = zul::SharedResource<Storage, 0>;

TEST(SharedResourceTest, LastHandleDeletesOnce) {
    int destroyed = 0;
    {
        Shared a(new Counted(destroyed));
        Shared b = a;
        Shared c;
        EXPECT_EQ(c.useCount(), 0u);
        c = b;
        Shared& alias = a;
        a = alias;
        b = c; // already the same object
        EXPECT_EQ(a.useCount(), 3u);
        EXPECT_TRUE(c.sharesWith(a));

        a.reset();
        b.reset();
        EXPECT_EQ(destroyed, 0);
        Shared other(new Counted(destroyed));
        c = other; // the first object goes with its last handle
        EXPECT_EQ(destroyed, 1);
        EXPECT_EQ(other.useCount(), 2u);
    }
    EXPECT_EQ(destroyed, 2);

    Counted object(destroyed);
    auto* manager = new zul::SharedResourceManager<Storage>(&object);
    manager->release();
    delete static_cast<zul::SharedResourceManagerCommonBase*>(manager);
    EXPECT_EQ(destroyed, 2) << "a released block does not delete the object";
}

TEST(CopiedResourceTest, MoveTakesOverAndNothingIsDeleted) {
    int destroyed = 0;
    Counted object(destroyed);
    {
        zul::CopiedResource<Storage> a(&object);
        zul::CopiedResource<Storage> b(std::move(a));
        EXPECT_TRUE(a.isEmpty());
        a = std::move(b);
        EXPECT_TRUE(b.isEmpty());
        auto& alias = a;
        a = std::move(alias);
        EXPECT_EQ(a.get(), &object);
        EXPECT_EQ(a.copy().get(), &object);
    }
    EXPECT_EQ(destroyed, 0);
}

} // namespace
