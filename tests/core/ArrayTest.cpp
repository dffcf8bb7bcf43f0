#include "zeb/core/Array.h"
#include "tests/support/Heap.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <random>
#include <vector>

namespace {

// Knows where it lives, so that an element that was copied by bytes is found out.
class Tracked {
public:
    Tracked(int value)
        : value_(value) {
        ++live;
    }
    Tracked(Tracked const& other)
        : value_(other.Value()) {
        ++live;
    }
    Tracked& operator=(Tracked const& other) {
        value_ = other.Value() + Value() * 0;
        return *this;
    }
    ~Tracked() {
        (void)Value();
        self_ = nullptr;
        --live;
    }

    int Value() const {
        EXPECT_EQ(self_, this);
        return value_;
    }

    static int live;

private:
    Tracked const* self_ = this;
    int value_;
};
int Tracked::live = 0;

struct Odd {
    Odd(int value)
        : number(value) {}
    int Value() const { return number; }

    int number;
    char pad[9] = "padpadpa";
};

struct Poll : pollfd {
    Poll(int value)
        : pollfd{value, POLLIN, 0} {}
    int Value() const { return fd; }
};

template<class T>
class ArrayOf : public testing::Test {};
using ElementsT = testing::Types<Tracked, Odd, Poll>;
TYPED_TEST_SUITE(ArrayOf, ElementsT);

template<class T>
std::vector<int> List(Array<T> const& array) {
    std::vector<int> list;
    for (T const& element : array)
        list.push_back(element.Value());
    return list;
}

TYPED_TEST(ArrayOf, RandomOperationsMatchAStandardVector) {
    {
        std::mt19937 random(6);
        Array<TypeParam> array;
        std::vector<int> twin;
        for (int step = 0; step < 2500; ++step) {
            unsigned long const at = random() % (twin.size() + 2);
            switch (random() % 7) {
            case 0:
            case 1:
                array.Remove(at);
                if (at < twin.size()) twin.erase(twin.begin() + static_cast<long>(at));
                break;
            case 2: {
                Array<TypeParam> copy;
                ASSERT_TRUE(copy.PushBack(1) && copy.Assign(array) && copy.Assign(copy));
                Array<TypeParam> moved(std::move(copy));
                ASSERT_EQ(copy.Size() + copy.Capacity(), 0u);
                array = std::move(moved);
                break;
            }
            case 3:
                if (at < twin.size()) { // an element of the array itself
                    ASSERT_TRUE(array.Insert(at / 2, array[at]));
                    twin.insert(twin.begin() + static_cast<long>(at / 2), int(twin[at]));
                }
                break;
            default:
                ASSERT_EQ(array.Insert(at, step), at <= twin.size());
                if (at <= twin.size()) twin.insert(twin.begin() + static_cast<long>(at), step);
                break;
            }
            ASSERT_EQ(List(array), twin);
            ASSERT_EQ(array.Capacity(), (twin.size() + 7) / 8 * 8);
            ASSERT_EQ(reinterpret_cast<unsigned long>(array.Ptr()) % 16, 0u);
        }
        ASSERT_TRUE(array.PushBack(7));
        EXPECT_EQ(array.Back().Value(), 7);
        array.PopBack();
        array.Clear();
        array.PopBack();
        EXPECT_TRUE(array.Empty());
    }
    EXPECT_EQ(Tracked::live, 0);
}

TYPED_TEST(ArrayOf, FailureLeavesItAsItWasAndShrinkingNeverFails) {
    ForEveryAllocation([](Heap& heap) {
        Array<TypeParam> array;
        Array<TypeParam> other;
        for (int i = 0; i < 8; ++i)
            ASSERT_TRUE(array.PushBack(i));
        ASSERT_TRUE(other.PushBack(1));
        heap.Arm();
        bool const inserted = array.Insert(4, 99);
        unsigned long const size = array.Size();
        bool const assigned = other.Assign(array);
        array.Remove(4);
        if (inserted) array.Remove(3);
        heap.Disarm();
        EXPECT_TRUE(heap.Fired() || (inserted && assigned && array.Capacity() == 8));
        EXPECT_EQ(size, inserted ? 9u : 8u);
        EXPECT_EQ(List(array),
                  inserted ? (std::vector{0, 1, 2, 4, 5, 6, 7}) : (std::vector{0, 1, 2, 3, 5, 6, 7}));
        EXPECT_EQ(other.Size(), assigned ? size : 1u);
    });
    Array<TypeParam> array;
    for (int i = 0; i < 9; ++i)
        ASSERT_TRUE(array.PushBack(i));
    Heap heap(1, Heap::ModeT::FOREVER);
    heap.Arm();
    array.Remove(0), array.Remove(0);
    EXPECT_TRUE(array.PushBack(9)) << "there is room in the block that could not shrink";
    heap.Disarm();
    EXPECT_EQ(List(array), (std::vector{2, 3, 4, 5, 6, 7, 8, 9}));
    TypeParam const one(1);
    EXPECT_FALSE(array.Assign(&one, ~0UL));
    EXPECT_FALSE(array.Assign(&one, ~0UL / sizeof(TypeParam)));
}

} // namespace
