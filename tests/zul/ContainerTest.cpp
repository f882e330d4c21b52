#include "zul/Array.h"
#include "zul/Buffer.h"
#include "zul/String.h"

#include <gtest/gtest.h>

namespace {

TEST(ArrayTest, AppendCopiesEvenAnElementOfItselfAcrossRegrowth) {
    zul::Array<zul::String> array;
    zul::String text("first");
    array.append(text);
    text += "changed";
    for (unsigned n = 1; n < 20; ++n)
        array.append(array[0]);
    ASSERT_EQ(array.size(), 20u);
    for (const zul::String& element : array)
        EXPECT_EQ(element, zul::String("first"));
}

TEST(ContainerDeathTest, BuffersAreZeroFilledAndEveryIndexIsChecked) {
    zul::Array<int> array;
    EXPECT_DEATH(array[0], "index < size\\(\\)");
    array.append(1);
    EXPECT_DEATH(static_cast<const zul::Array<int>&>(array)[1], "index < size\\(\\)");

    zul::Buffer<uint32_t> buffer(300);
    for (size_t n = 0; n < buffer.size(); ++n)
        EXPECT_EQ(buffer[n], 0u);
    EXPECT_DEATH(buffer[300], "index < size\\(\\)");
    EXPECT_DEATH(zul::Buffer<char>()[0], "index < size\\(\\)");
}

} // namespace
