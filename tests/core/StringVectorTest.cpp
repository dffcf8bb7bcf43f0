#include "zeb/core/StringVector.h"

#include "tests/core/Rig.h"

namespace {

using ListT = std::vector<std::string>;

ListT List(StringVector const& vector) {
    ListT list;
    for (String const& text : vector) list.emplace_back(text.begin(), text.end());
    return list;
}

struct Filled : StringVector {
    Filled(ListT const& list) {
        for (auto const& text : list) EXPECT_TRUE(PushBack(text.data(), text.size()));
    }
};

TEST(StringVector, FindsByTextAndRange) {
    Filled const vector({"a", "B", "a", "", "c"});
    unsigned long const found[] = {
        vector.Find("a"),       vector.Find("a", 1UL, 5UL), vector.Find("a", 1UL, 2UL),           vector.Find("c", 4UL, 99UL),
        vector.Find("cx", 1UL), vector.Find("Bx", 1, 0, 5), vector.Find(CString::IgnoreCase("b"))};
    EXPECT_THAT(found, testing::ElementsAre(0, 2, 5, 4, 4, 1, 1)); // "cx" and "Bx" are pointer and size
    EXPECT_TRUE(vector.Has("") && !vector.Has("b") && StringVector::Nil().Empty());
}

TEST(StringVector, ChangesKeepTheOrderOfWhatStays) {
    Filled vector({"b", "a", "b", "", "c", "a", "", "b"});
    vector.Unique();
    EXPECT_EQ(List(vector), (ListT{"b", "a", "", "c"}));
    vector.SetDifference(Filled({"a", "x"}));
    EXPECT_TRUE(vector.Insert("dx", 1, 1UL) && vector.Insert("e", 4UL) && !vector.Insert("f", 6UL));
    EXPECT_EQ(List(vector), (ListT{"b", "d", "", "c", "e"}));
    for (unsigned long const index : {5UL, 2UL, ~0UL}) vector.Remove(index);
    ASSERT_TRUE(vector.PushBack("a") && vector.Append(vector) && vector.Assign(vector));
    vector.Truncate(9), vector.PopFront(), vector.PopBack(), vector.Truncate(6);
    EXPECT_EQ(List(vector), (ListT{"d", "c", "e", "a", "b", "d"}));
    vector.Sort();
    for (String& text : vector) text.ToUpper().ToLower();
    EXPECT_EQ(List(vector), (ListT{"a", "b", "c", "d", "d", "e"}));
    vector.SetDifference(vector), vector.PopFront(), vector.PopBack();
    EXPECT_TRUE(vector.Empty());
}

} // namespace
