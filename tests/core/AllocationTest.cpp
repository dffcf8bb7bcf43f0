// Operations that allocate fail exactly when the heap does, and leave their object as it was.

#include "tests/core/Rig.h"
#include "zeb/core/Array.h"
#include "zeb/core/ArrayMap.h"
#include "zeb/core/AutoBuffer.h"
#include "zeb/core/Base64.h"
#include "zeb/core/HexString.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/core/VoidPMap.h"

namespace {

struct Map : ArrayMap {
    Map()
        : ArrayMap(200, '=', "a=1\0b=2\0d=44444444\0", 20) {}
};

// The content, as text.
template<class T>
std::string Show(T const& item) {
    std::string text;
    if constexpr (std::is_scalar_v<T>) return testing::PrintToString(item);
    if constexpr (requires { item.Cstr(); }) return {item.Cstr(), item.Size()};
    if constexpr (requires { item.Str(); }) return Show(item.Str());
    if constexpr (requires { item.key; }) return Show(item.key) + "=" + Show(item.value);
    if constexpr (requires { item.begin(); })
        for (auto const& element : item) text += Show(element) + ",";
    else if constexpr (requires { item.Ptr(); }) // bytes, or pointers
        text.assign(reinterpret_cast<char const*>(item.Ptr()),
                    item.Size() * (std::is_same_v<T, VoidPVector> ? sizeof(void*) : 1));
    else if constexpr (requires { item.Key(0UL); })
        for (unsigned long i = 0; i < item.Size(); ++i) text += Show(item.Key(i)) + "=" + Show(item.Get(i)) + ",";
    return text;
}

template<class T>
void Sweep(bool (*prepare)(T&), std::initializer_list<bool (*)(T&)> changes) {
    for (auto const change : changes)
        ForEveryAllocation([&](Heap& heap) {
            T object;
            ASSERT_TRUE(prepare(object));
            std::string const before = Show(object);
            bool const ok = Reported(heap, [&] { return change(object); });
            EXPECT_EQ(Show(object) == before, !ok);
        });
}

std::string const big(300, 'a');
CString const text(big.c_str());
CBuffer const data(text);
Map const other;
StringVector strings;
StringMap pairs;
VoidPVector pointers;
Array<int> numbers;
HexString hex;

TEST(Allocation, FailureLeavesAllAsItWas) {
    for (int i = 0; i < 9; ++i) ASSERT_TRUE(strings.PushBack(text) && numbers.PushBack(i) && pointers.PushBack(&numbers));
    ASSERT_TRUE(pairs.Set("a", "1") && pairs.Set("b", text) && hex.Assign(data));
    // clang-format off
    Sweep<String>([](auto& s) { return s.Assign("old"); }, {[](auto& s) { return s.Assign(text); },
        [](auto& s) { return s.Assign('a', 300); }, [](auto& s) { return s.Resize(300); },
        [](auto& s) { return s.Replace(1, 1, big.data(), 300); }, [](auto& s) { return s.Replace(1, 1, 'a', 300); },
        [](auto& s) { return s.Append(text); }, [](auto& s) { return s.Join(strings, ", "); },
        [](auto& s) { return text.Substr(s, 2, 30); }});
    Sweep<Buffer>([](auto& b) { return b.Assign(CBuffer("abc")); }, {[](auto& b) { return b.Assign(data); },
        [](auto& b) { return b.Append(data); }, [](auto& b) { return b.Resize(300); }, [](auto& b) { return hex.Get(b); }});
    Sweep<CryptoBuffer>([](auto& b) { return b.Assign(CBuffer("abc")); }, {[](auto& b) { return b.Assign(data); },
        [](auto& b) { return b.Append(data); }, [](auto& b) { return b.Resize(300); }});
    Sweep<VoidPVector>([](auto& v) { return v.Assign(pointers) && (v.Remove(8), true); }, {
        [](auto& v) { return v.Insert(&numbers, 3); }, [](auto& v) { return v.PushBack(&numbers) && v.Size() == 9; }});
    Sweep<VoidPVector>([](auto&) { return true; }, {[](auto& v) { return v.Assign(pointers); },
        [](auto& v) { return v.PushBack(&numbers); }});
    Sweep<Array<int>>([](auto& a) { return a.Assign(numbers) && (a.Remove(8), true); }, {[](auto& a) { return a.Insert(4, 99); },
        [](auto& a) { return a.Assign(numbers); }});
    Sweep<StringVector>([](auto& v) { return v.Assign(strings) && (v.Remove(8), true); }, {
        [](auto& v) { return v.Append(strings); }, [](auto& v) { return v.Insert("x", 0UL); },
        [](auto& v) { return v.Assign(strings); }});
    Sweep<StringMap>([](auto& m) { return m.Set("a", "0"); }, {[](auto& m) { return m.Set("a", text); },
        [](auto& m) { return m.Set("b", "2"); }, [](auto& m) { return m.Assign(pairs); }});
    Sweep<VoidPMap>([](auto& m) { return m.Set("a", &pairs); }, {[](auto& m) { return m.Set("b", &pairs); }});
    Sweep<Map>([](auto& m) { return m.Unset("b").Succeeded(); }, {
        [](auto& m) { return !m.Set("a", "a value that needs room", true).IsOom(); },
        [](auto& m) { return !m.Set("c", "a new entry", true).IsOom(); },
        [](auto& m) { return !m.Assign("long=enough to need another block than the one before\0", 55).IsOom(); },
        [](auto& m) { return !m.Assign(other).IsOom(); }});
    Sweep<HexString>([](auto& h) { return h.Assign(CBuffer("k")); }, {[](auto& h) { return h.Assign(data); },
        [](auto& h) { return h.Assign(hex); }, [](auto& h) { bool ok; return h.Assign(hex.Str(), ok); }});
    // clang-format on
    strings.Clear(), pairs.Clear(), pointers.Clear(), numbers.Clear(), hex.Clear();
}

TEST(Allocation, SomeAreLeftEmptyWithTheirCodes) {
    ForEveryAllocation([](Heap& heap) {
        char const* const list[] = {"one", "two", nullptr};
        StringVector listed, fields;
        StringMap all;
        String value, base64;
        Buffer bytes;
        AutoPVector<String> owners;
        AutoPtr<String> owner(new String);
        AutoBuffer<8, long> room;
        long* const inner = room.Ptr();
        ASSERT_TRUE(listed.PushBack("old") && fields.PushBack("old") && all.Set("old", "value"));
        heap.Arm();
        ReturnT const codes[] = {other.Get("d", value), other.Get(all), Base64::EncodeToString(data, base64, Base64::URL),
                                 Base64::DecodeString(text, bytes, Base64::URL)};
        bool const ok = listed.Assign(list), split = CString("a,b,c,d,e,f,g,h,i").Split(fields, ',');
        EXPECT_TRUE(room.Resize(3) && room.Ptr() == inner);
        bool const roomy = room.Resize(9), owned = owners.PushBack(owner);
        heap.Disarm();
        bool failed = !ok || !split || !roomy || !owned;
        for (ReturnT const code : codes) EXPECT_TRUE((failed |= code.Failed(), code.Failed() == code.IsOom()));
        EXPECT_EQ(failed, heap.Fired());
        bool const empty[] = {value.Empty(), !all.Size(), base64.Empty(), bytes.Empty()};
        for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(empty[i], codes[i].Failed()) << i;
        EXPECT_TRUE(all.Size() % 3 == 0 && listed.Size() == ok * 2u && fields.Size() == split * 9u && room.Size() == roomy * 9u);
        EXPECT_TRUE((room.Ptr() != nullptr) == roomy && !owner == owned && owners.Empty() == !owned);
        EXPECT_TRUE(room.Resize(8) && room.Ptr() == inner);
    });
}

TEST(Allocation, ShrinkingNeverFails) {
    ForEveryAllocation([](Heap& heap) {
        String string;
        Buffer buffer;
        VoidPVector vector;
        Array<int> array;
        Map map;
        ASSERT_TRUE(string.Assign('x', 1000) && buffer.Assign(CBuffer("abc")) && buffer.Reserve(10));
        for (int i = 0; i < 9; ++i) ASSERT_TRUE(vector.PushBack(&pointers) && array.PushBack(i));
        heap.Arm();
        string.Truncate(500).Erase(100, 300).Erase(0).Strip(), buffer.ShrinkToFit();
        vector.Remove(0), array.Remove(0), array.Remove(0);
        EXPECT_TRUE(array.PushBack(9) && array.Size() == 8 && array[0] == 2 && array[7] == 9);
        EXPECT_EQ(map.Unset("d"), 0x00800004u);
        heap.Disarm();
        EXPECT_EQ(string, std::string(199, 'x').c_str());
        EXPECT_FALSE(string.Replace(0, 1, 'x', ~0UL) || string.Assign('x', ~0UL) || string.Size() != 199);
        EXPECT_TRUE(Show(buffer) == "abc" && vector.Size() == 8 && Show(map) == std::string("a=1\0b=2\0", 9));
    });
}

} // namespace
