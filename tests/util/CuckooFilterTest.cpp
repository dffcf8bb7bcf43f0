#include "zeb/util/CuckooFilter.h"
#include "workbench/Calls.h"
#include "workbench/Folder.h"
#include "workbench/Heap.h"
#include "zeb/util/MD5.h"

#include <sstream>

namespace {

using Util::CuckooFilter;
using CuckooFilterFile = WithFolder;

std::string Bytes(CBuffer const& data) { return {static_cast<char const*>(data.Ptr()), data.Size()}; }
CBuffer View(std::string const& data) { return {data.data(), data.size()}; }
std::string Item(unsigned i) { return "item-" + std::to_string(i); }

std::string Words(std::initializer_list<unsigned> words) {
    return {reinterpret_cast<char const*>(words.begin()), words.size() * 4};
}

// A filter without items.
std::string Empty(unsigned count, unsigned size, unsigned kicks, unsigned seed, unsigned mask = 0xFFFF) {
    return Words({count, size, mask, kicks, seed, 0}) + std::string(count * size * 2 + 2, '\0');
}

TEST(CuckooFilter, IsMadeInItsForm) {
    std::istringstream rows("0 0 3 0 4 2 7 2 8 4 15 4 16 8 30 8 31 16 61 16 62 32 1000000 262144 1010000 524288");
    for (unsigned capacity, count; rows >> capacity >> count;) {
        Calls calls;
        calls.Script(SysCall::getrandom, {Calls::Data("\1\2\3\x84\5\6\7\x88")});
        EXPECT_EQ(Bytes(CuckooFilter(capacity, 500)), Empty(count, 4, 500, 0x84030201)) << capacity;
    }
    for (unsigned const shift : {34, 40, 63}) EXPECT_FALSE(CuckooFilter(1UL << shift, 1).Initialized()) << shift;
}

TEST(CuckooFilter, NeverForgetsWhatItTookIn) {
    for (auto const& [count, most] : {std::pair(4u, 10000u), {27, 10000}, {900, 700}, {54000, 60}}) {
        CuckooFilter filter(count * 10 / 9, 500);
        unsigned added = 0, there = 0, again = 0, strangers = 0;
        for (unsigned i = 0; i < count; ++i) added += filter.Add(View(Item(i)));
        std::string const before = Bytes(filter);
        Footprint const footprint;
        for (unsigned i = 0; i < count; ++i) there += filter.Contains(View(Item(i))), again += filter.Add(View(Item(i)));
        for (unsigned i = 1000000; i < 1010000; ++i) strangers += filter.Contains(View(Item(i)));
        EXPECT_EQ(std::tuple(added, there, again), std::tuple(count, count, count));
        EXPECT_LE(strangers, most) << count;
        EXPECT_EQ(footprint.Allocations(), 0u);
        EXPECT_EQ(Bytes(filter), before) << "nothing is added twice";
    }
}

// By a model of the definition: what each Contains(), Add() and Contains() of one more item gave, and the
// bytes at the end.
TEST(CuckooFilter, PutsAndKicksItemsAsDefined) {
    // An empty filter, items, MD5.
    std::tuple<std::string, unsigned, char const*> const rows[] = {
        {Empty(64, 4, 3, 77), 400, "5b68e784ac1eaaa4a30456ca158516c2"},
        {Empty(100, 4, 0, 78), 900, "fffd62c256e55c8a523bf8bcaed3cf36"},
        {Empty(512, 1, 2, 79, ~0U), 500, "ace8bf2b9f09d469ce32712b51df92e0"},
        {Empty(77, 3, 1, 80, 6), 300, "29fce636f5952ee4731417d79f58986f"},
        {Empty(131072, 4, 0, 81), 60, "d4e1e16b12458f34819649cf15611af8"}};
    for (auto const& [empty, count, expected] : rows) {
        Calls calls;
        for (unsigned i = 0; i < 500; ++i) calls.Script(SysCall::getrandom, {Calls::Data(Words({i * 2654435761U, 0}))});
        CuckooFilter filter{View(empty)};
        std::string told;
        for (unsigned i = 0; i < count; ++i)
            for (bool const isAdding : {false, true, false})
                told += (isAdding ? filter.Add(View(Item(i))) : filter.Contains(View(Item(i)))) ? '1' : '0';
        char text[Util::MD5::TEXT_SIZE];
        Util::MD5 digest;
        digest.Update(CString((told + Bytes(filter)).c_str(), told.size() + filter.Size()));
        digest.TextDigest(text);
        EXPECT_STREQ(text, expected);
        calls.Clear();
    }
}

TEST(CuckooFilter, RefusesWhatItsHeaderDoesNotFit) {
    std::string const good = Empty(4, 4, 1, 2), behind = "12345678";
    // clang-format off
    std::pair<std::string, bool> const rows[] = {{"x", false}, {good.substr(0, 23), false}, {good.substr(0, 24), false},
        {good.substr(0, 55), false}, {good.substr(0, 56), true}, // the last two bytes are not asked for
        {Empty(0, 4, 1, 2), false}, {Empty(4, 0, 1, 2) + behind, false}, {Words({~0U, ~0U, 0xFFFF, ~0U, 0, 0}) + behind, false},
        {Words({0x80000000, 2, 0xFFFF, 1, 0, 0}) + behind, false}, {Words({1 << 26, 1 << 26, 0xFFFF0000, 0, 0, 0}), false}};
    // clang-format on
    for (auto const& [bytes, isTaken] : rows) {
        CuckooFilter filter{View(bytes)};
        std::vector const told = {filter.Initialized(), filter.Add(View(Item(1))), filter.Contains(View(Item(1))),
                                  Bytes(filter) != bytes};
        EXPECT_EQ(told, (std::vector{true, isTaken, isTaken, isTaken})) << bytes.size();
    }
}

TEST_F(CuckooFilterFile, IsWrittenAndReadAndTellsWhatFailed) {
    CuckooFilter filter(20000, 100); // more than one block of the stream
    auto const load = [&](std::string const& name) { return Bytes(CuckooFilter(At(name))); };
    dir.Make("d/");
    dir.Write("filter", std::string(100000, 'x')), dir.Write("empty", ""), dir.Write("small", Empty(64, 4, 1, 2));
    EXPECT_TRUE(filter.Add(View(Item(1))) && filter.Export(At("filter")));
    EXPECT_TRUE(dir.Read("filter") == Bytes(filter) && load("filter") == Bytes(filter) && load("empty").empty());
    Calls calls;
    calls.Script(SysCall::read, {Calls::Short(100), Calls::Fail(EIO), Calls::Short(100), Calls::Return(0)}); // an early end
    for (char const* const from : {"filter", "filter", "d", "no"}) EXPECT_EQ(load(from), "");
    calls.Script(SysCall::write, {Calls::Short(5000), Calls::Fail(ENOSPC)});
    EXPECT_FALSE(filter.Export(At("filter")));
    calls.Script(SysCall::close, {Calls::Fail(EDQUOT)});
    for (char const* const to : {"filter", "no/x", "."}) EXPECT_FALSE(filter.Export(At(to))) << to;
    EXPECT_EQ(
        Replaced(dir.Masked(log.TakeText()), {{"E Io::File: |unable to ", ""}, {"\\.\n", "; "}}),
        R"("@/filter": read data: input/output error; "@/d": read data: is a directory; open "@/no": no such file or directory; )"
        R"("@/filter": write data: no space left on device; "@/filter": close descriptor -1: disk quota exceeded; )"
        R"(open "@/no/x": no such file or directory; open "@/.": is a directory; )");
    ForEveryAllocation([&, small = At("small")](Heap& heap) {
        Buffer out;
        heap.Arm();
        CuckooFilter const made(100, 1), read(small), copied(View("copy"));
        bool const exported = copied.Initialized() && copied.Export(out);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), !made.Initialized() || !read.Initialized() || !exported);
        EXPECT_EQ(Bytes(out), exported ? "copy" : "");
    });
}

} // namespace
