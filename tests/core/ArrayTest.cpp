#include "zeb/core/Array.h"

#include "tests/core/Rig.h"

namespace {

// Knows where it lives, so that an element that was copied by bytes is found out.
struct Tracked {
    Tracked(int number) { value = number; }
    Tracked(Tracked const& other) { value = other; }
    Tracked& operator=(Tracked const& other) { return value = other, *this; }
    ~Tracked() { live -= self == this ? 1 : 1000; }
    operator int() const { return self == this ? value : -1; }

    static inline int live = 0;
    Tracked const* self = this;
    int value = 0, count = ++live;
};

TEST(Array, RandomOperationsMatchAStandardVector) {
    {
        std::mt19937 random(6);
        Array<Tracked> array;
        std::vector<int> twin;
        for (int step = 0; step < 5000; ++step) {
            unsigned long const at = random() % (twin.size() + 2);
            bool const own = at < twin.size() && step % 2 == 0; // an element of the array itself
            auto const place = twin.begin() + static_cast<long>(std::min(at / 2, twin.size()));
            auto const action = random() % 6;
            Array<Tracked> copy;
            if (action < 2) array.Remove(at / 2), place == twin.end() ? place : twin.erase(place);
            if (action == 2 && copy.PushBack(1) && copy.Assign(array) && copy.Assign(copy)) array = std::move(copy);
            if (action > 2) {
                ASSERT_TRUE(own ? array.Insert(at / 2, array[at]) : array.Insert(at / 2, step));
                twin.insert(place, own ? int{twin[at]} : step);
            }
            ASSERT_EQ(std::vector<int>(array.begin(), array.end()), twin);
            ASSERT_EQ(array.Capacity(), (twin.size() + 7) / 8 * 8);
            ASSERT_TRUE(copy.Capacity() == 0 && reinterpret_cast<unsigned long>(array.Ptr()) % 16 == 0);
        }
        EXPECT_FALSE(array.Insert(twin.size() + 1, 1) || array.Assign(array.Ptr(), ~0UL / sizeof(Tracked)));
    }
    EXPECT_EQ(Tracked::live, 0);
}

} // namespace
