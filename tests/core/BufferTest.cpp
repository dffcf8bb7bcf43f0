#include "zeb/core/Buffer.h"
#include "tests/support/Heap.h"
#include "zeb/core/AutoBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

CBuffer View(std::string const& text) { return {text.data(), text.size()}; }
std::string Text(CBuffer const& data) { return {static_cast<char const*>(data.Ptr()), data.Size()}; }

TEST(CBuffer, EqualityGoesByBytesWhateverTheKindOfEitherSide) {
    struct {
        std::string a;
        std::string b;
        bool equal;
    } const rows[] = {
        {"", "", true},        {"a", "", false},     {"abc", "abc", true},
        {"abc", "abd", false}, {"ab", "abc", false}, {std::string("a\0b", 3), std::string("a\0c", 3), false},
    };
    for (auto const& row : rows) {
        CryptoBuffer secure;
        ASSERT_TRUE(secure.Assign(View(row.a)));
        EXPECT_EQ(secure == View(row.b), row.equal) << row.a << " " << row.b;
        EXPECT_EQ(View(row.b) == secure, row.equal) << row.a << " " << row.b;
        EXPECT_TRUE(secure == secure);
    }
    EXPECT_TRUE(CBuffer::Nil().Empty());
    EXPECT_EQ(Text(CString("text")), "text");
}

TEST(Buffer, GrowsToExactlyWhatIsAskedAndKeepsItWhenTruncated) {
    Buffer buffer;
    ASSERT_TRUE(buffer.Assign(View("hello")));
    EXPECT_EQ(buffer.Capacity(), 5u);
    ASSERT_TRUE(buffer.Append(View(" world")));
    EXPECT_EQ(buffer.Capacity(), 11u);
    buffer.Truncate(20);
    EXPECT_EQ(buffer.Size(), 11u);
    buffer.Erase(2, 6);
    EXPECT_EQ(Text(buffer), "herld");
    buffer.Truncate(3);
    ASSERT_TRUE(buffer.Reserve(7));
    EXPECT_EQ(buffer.Capacity(), 11u);
    buffer.ShrinkToFit();
    EXPECT_EQ(buffer.Capacity(), 3u);
    EXPECT_EQ(Text(buffer), "her");
    buffer.Truncate(0);
    buffer.ShrinkToFit();
    EXPECT_EQ(buffer.Capacity(), 0u);
}

TEST(Buffer, TakesItselfAsSource) {
    Buffer buffer;
    ASSERT_TRUE(buffer.Assign(View("ab")));
    ASSERT_TRUE(buffer.Assign(buffer));
    EXPECT_EQ(Text(buffer), "ab");
    ASSERT_TRUE(buffer.Append(buffer));
    EXPECT_EQ(Text(buffer), "abab");
}

TEST(Buffer, SwapExchangesTheSecureBlockWithItsMark) {
    Buffer plain;
    CryptoBuffer secure;
    ASSERT_TRUE(plain.Assign(View("plain")) && secure.Assign(View("key")) && secure.Reserve(9));
    plain.Swap(secure);
    EXPECT_EQ(Text(plain), "key");
    EXPECT_EQ(plain.Capacity(), 9u);
    EXPECT_TRUE(plain.IsSecure());
    EXPECT_EQ(Text(secure), "plain");
    EXPECT_FALSE(secure.IsSecure());
}

TEST(Buffer, RandomOperationsMatchAString) {
    std::mt19937 random(1);
    Buffer buffer;
    std::string twin;
    for (int step = 0; step < 4000; ++step) {
        unsigned long const pos = twin.empty() ? 0 : random() % twin.size();
        std::string const text(random() % 40, static_cast<char>('a' + step % 26));
        switch (random() % 6) {
        case 0:
            ASSERT_TRUE(buffer.Append(View(text)));
            twin += text;
            break;
        case 1:
            buffer.Erase(pos, (twin.size() - pos) / 2), twin.erase(pos, (twin.size() - pos) / 2);
            break;
        case 2:
            buffer.Truncate(pos), twin.resize(pos);
            break;
        case 3:
            buffer.ShrinkToFit();
            break;
        case 4:
            ASSERT_TRUE(buffer.Reserve(pos + 10));
            break;
        default:
            ASSERT_TRUE(buffer.Assign(View(text)));
            twin = text;
            break;
        }
        ASSERT_EQ(Text(buffer), twin);
        ASSERT_LE(buffer.Size(), buffer.Capacity());
    }
}

template<class T>
class BufferFailure : public testing::Test {};
using BuffersT = testing::Types<Buffer, CryptoBuffer>;
TYPED_TEST_SUITE(BufferFailure, BuffersT);

TYPED_TEST(BufferFailure, LeavesTheBufferAsItWas) {
    ForEveryAllocation([](Heap& heap) {
        TypeParam buffer;
        ASSERT_TRUE(buffer.Assign(View("abc")));
        ASSERT_TRUE(buffer.Reserve(10));
        buffer.Truncate(2);
        heap.Arm();
        buffer.ShrinkToFit();
        bool const shrunk = buffer.Capacity() == 2;
        bool const ok = buffer.Append(View("0123456789"));
        bool const last = ok && buffer.Resize(100);
        heap.Disarm();
        EXPECT_EQ(shrunk && last, !heap.Fired());
        EXPECT_EQ(Text(buffer).substr(0, 12), ok ? "ab0123456789" : "ab");
        if (ok && !last) {
            EXPECT_EQ(buffer.Size(), 12u);
        }
    });
    TypeParam huge;
    ASSERT_TRUE(huge.Resize(1));
    EXPECT_FALSE(huge.Append(CBuffer("", ~0UL)));
    EXPECT_EQ(huge.Size(), 1u);
}

TEST(CryptoBuffer, WipesEachBlockThatItLeaves) {
    Heap heap;
    int released = 0;
    heap.OnRelease([&](void const* data, std::size_t size) {
        ++released;
        auto const* const bytes = static_cast<unsigned char const*>(data);
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; }));
    });
    {
        CryptoBuffer buffer;
        ASSERT_TRUE(buffer.Assign(View("the secret key")));
        buffer.Truncate(3); // the rest is still in the block
        ASSERT_TRUE(buffer.Reserve(100));
        ASSERT_TRUE(buffer.Append(View(" second")));
        Buffer plain;
        plain.Swap(buffer); // carries the mark along
    }
    EXPECT_EQ(released, 2);
    EXPECT_EQ(heap.Live(), 0u);
}

TEST(AutoBuffer, GoesToTheHeapOnlyBeyondItsArray) {
    Heap heap;
    heap.Arm();
    AutoBuffer<8, char> buffer;
    EXPECT_EQ(buffer.Size(), 8u);
    char* const inner = buffer.Ptr();
    EXPECT_TRUE(buffer.Resize(3));
    EXPECT_EQ(buffer.Ptr(), inner);
    EXPECT_EQ(heap.Calls(), 0u);
    EXPECT_TRUE(buffer.Resize(9));
    EXPECT_NE(buffer.Ptr(), inner);
    EXPECT_TRUE(buffer.Resize(1000));
    buffer[999] = 'x';
    EXPECT_EQ(heap.Live(), 1u);
    EXPECT_TRUE(buffer.Resize(8));
    EXPECT_EQ(buffer.Ptr(), inner);
    EXPECT_EQ(heap.Live(), 0u);
}

TEST(AutoBuffer, HasNoRoomAtAllAfterAFailure) {
    ForEveryAllocation([](Heap& heap) {
        heap.Arm();
        AutoBuffer<2, long> buffer(5);
        heap.Disarm();
        EXPECT_EQ(buffer.Ptr() == nullptr, heap.Fired());
        EXPECT_EQ(buffer.Size(), heap.Fired() ? 0u : 5u);
        EXPECT_TRUE(buffer.Resize(2));
    });
}

} // namespace
