#include "zul/Array.h"
#include "zul/Buffer.h"
#include "zul/String.h"

#include <gtest/gtest.h>

namespace {

TEST(ArrayTest, GrowsFromEightAndCopiesWhatIsAppended) {
    zul::Array<zul::String> array;
    EXPECT_EQ(array.capacity(), 0u);

    zul::String text("first");
    array.append(text);
    text += "changed";
    EXPECT_EQ(array.capacity(), zul::Array<zul::String>::FirstAllocation);
    EXPECT_EQ(array[0], zul::String("first"));

    for (unsigned n = 1; n < 20; ++n)
        array.append(array[0]); // appending an element of the array itself, across regrowth
    ASSERT_EQ(array.size(), 20u);
    EXPECT_GE(array.capacity(), 20u);
    for (const zul::String& element : array)
        EXPECT_EQ(element, zul::String("first"));
}

TEST(ArrayDeathTest, IndexOutOfRangeAborts) {
    zul::Array<int> array;
    EXPECT_DEATH(array[0], "index < size\\(\\)");
    array.append(1);
    const zul::Array<int>& constant = array;
    EXPECT_EQ(constant[0], 1);
    EXPECT_DEATH(constant[1], "index < size\\(\\)");
}

TEST(BufferTest, ZeroFilledAndBounded) {
    zul::Buffer<uint32_t> buffer(300);
    ASSERT_EQ(buffer.size(), 300u);
    for (size_t n = 0; n < buffer.size(); ++n)
        EXPECT_EQ(buffer[n], 0u);
    EXPECT_DEATH(buffer[300], "index < size\\(\\)");
    EXPECT_DEATH(zul::Buffer<char>()[0], "index < size\\(\\)");
}

} // namespace
