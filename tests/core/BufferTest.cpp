#include "zeb/core/Buffer.h"

#include "tests/core/Rig.h"
#include "zeb/core/AutoBuffer.h"

namespace {

TEST(Buffer, GrowsToExactlyWhatIsAskedAndKeepsItWhenTruncated) {
    Heap const heap; // a block that grows moves
    Buffer buffer;
    ASSERT_TRUE(buffer.Assign(View("hello")) && buffer.Append(View(" world")) && buffer.Reserve(7));
    EXPECT_EQ(buffer.Capacity(), 11u);
    EXPECT_EQ((buffer.Truncate(20), buffer.Erase(2, 6), Text(buffer)), "herld");
    EXPECT_EQ((buffer.Truncate(3), buffer.Capacity()), 11u);
    EXPECT_EQ((buffer.ShrinkToFit(), buffer.Capacity()), 3u);
    ASSERT_TRUE(buffer.Assign(buffer) && buffer.Append(buffer));
    EXPECT_EQ(Text(buffer), "herher");
    ASSERT_TRUE(buffer.Append(CBuffer(buffer.Bytes() + 1, 2)) && buffer.Append(CBuffer(buffer.Bytes(), 4)));
    EXPECT_EQ(Text(buffer), "herhererherh");
    ASSERT_TRUE(buffer.Assign(CBuffer(buffer.Bytes() + 5, 6)));
    EXPECT_EQ(Text(buffer), "rerher");
    ASSERT_TRUE(buffer.Assign(View("herher")));
    EXPECT_FALSE(buffer.Append(CBuffer("", ~0UL)));
    EXPECT_TRUE(buffer == View("herher") && !(buffer == View("herhex")) && !(buffer == View("her")));
    CryptoBuffer secure;
    ASSERT_TRUE(secure.Assign(View("key")) && secure.Reserve(9));
    EXPECT_TRUE(secure == View("key") && !(secure == View("kez")) && CBuffer::Nil() == View(""));
    EXPECT_EQ((buffer.Swap(secure), Text(buffer) + Text(secure)), "keyherher");
    EXPECT_TRUE(buffer.IsSecure() && !secure.IsSecure() && buffer.Capacity() == 9);
}

TEST(CryptoBuffer, WipesEachBlockThatItLeaves) {
    Heap heap;
    int released = 0;
    heap.OnRelease([&](void const* data, std::size_t size) {
        auto const* const bytes = static_cast<char const*>(data);
        EXPECT_EQ(std::count(bytes, bytes + size, '\0'), static_cast<long>(size));
        ++released;
    });
    {
        CryptoBuffer buffer;
        ASSERT_TRUE(buffer.Assign(View("the secret key")));
        buffer.Truncate(3); // the rest is still in the block
        ASSERT_TRUE(buffer.Reserve(100) && buffer.Append(View(" second")));
        Buffer plain;
        plain.Swap(buffer); // carries the mark along
    }
    EXPECT_EQ(released, 2);
}

} // namespace
