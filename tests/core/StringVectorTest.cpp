#include "zeb/core/StringVector.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

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
    EXPECT_EQ(vector.Find("a"), 0u);
    EXPECT_EQ(vector.Find("a", 1UL, 5UL), 2u);
    EXPECT_EQ(vector.Find("a", 1UL, 2UL), 5u);
    EXPECT_EQ(vector.Find("c", 4UL, 99UL), 4u);
    EXPECT_EQ(vector.Find("cx", 1UL), 4u); // pointer and size
    EXPECT_EQ(vector.Find("Bx", 1, 0, 5), 1u);
    EXPECT_EQ(vector.Find(CString::IgnoreCase("b")), 1u);
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
