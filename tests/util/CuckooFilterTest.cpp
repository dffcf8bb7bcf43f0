#include "zeb/util/CuckooFilter.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/TempDir.h"
#include "zeb/util/MurmurHash.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Util::CuckooFilter;

constexpr unsigned HEADER = 24;

std::string Bytes(CBuffer const& data) { return {static_cast<char const*>(data.Ptr()), data.Size()}; }
CBuffer View(std::string const& data) { return {data.data(), data.size()}; }
std::string Item(unsigned i) { return "item-" + std::to_string(i); }

std::string Words(std::initializer_list<unsigned> words) {
    std::string out;
    for (unsigned const word : words)
        out.append(reinterpret_cast<char const*>(&word), 4);
    return out;
}

// Where an item belongs, by the definition.
struct Place {
    unsigned fingerprint, first, second;

    Place(std::string const& item, unsigned count, unsigned seed) {
        unsigned const h1 = Util::MurmurHash::Digest(View(item), seed);
        fingerprint = (h1 + 1000 * Util::MurmurHash::Digest(View(item), h1)) % count & 0xFFFF;
        if (fingerprint == 0) fingerprint = 1;
        first = h1 % count;
        second = Alternate(fingerprint, first, count, seed);
    }
    static unsigned Alternate(unsigned fingerprint, unsigned bucket, unsigned count, unsigned seed) {
        std::string const bytes = Words({fingerprint});
        unsigned const m1 = Util::MurmurHash::Digest(View(bytes), seed);
        return ((m1 + 900 * Util::MurmurHash::Digest(View(bytes), m1)) % count ^ bucket) % count;
    }
};

// The bytes of a filter of which all slots are empty.
std::string Empty(unsigned count, unsigned size, unsigned kicks, unsigned seed, unsigned mask = 0xFFFF) {
    return Words({count, size, mask, kicks, seed, 0}) + std::string(count * size * 2 + 2, '\0');
}

void Set(std::string& bytes, unsigned slot, unsigned fingerprint) {
    bytes[HEADER + 2 * slot] = static_cast<char>(fingerprint);
    bytes[HEADER + 2 * slot + 1] = static_cast<char>(fingerprint >> 8);
}

unsigned Filled(CBuffer const& filter) {
    unsigned count = 0;
    for (unsigned i = HEADER; i < filter.Size(); i += 2)
        count += filter.Bytes()[i] != 0 || filter.Bytes()[i + 1] != 0 ? 1 : 0;
    return count;
}

TEST(CuckooFilter, IsMadeInItsForm) {
    std::pair<unsigned long, unsigned> const rows[] = {
        {0, 0},  {3, 0},  {4, 2},   {7, 2},   {8, 4},   {11, 4},  {12, 4},           {15, 4},
        {16, 8}, {30, 8}, {31, 16}, {32, 16}, {61, 16}, {62, 32}, {1000000, 262144}, {1010000, 524288}};
    for (auto const& [capacity, count] : rows) {
        Calls calls;
        calls.Script(SysCall::getrandom, {Calls::Data("\1\2\3\x84\5\6\7\x88")});
        CuckooFilter const filter(capacity, 500);
        EXPECT_EQ(Bytes(filter), Empty(count, 4, 500, 0x84030201)) << capacity;
        EXPECT_TRUE(filter.Initialized());
    }
    EXPECT_FALSE(CuckooFilter(1UL << 40, 1).Initialized());
}

TEST(CuckooFilter, NeverForgetsWhatItTookIn) {
    for (unsigned const capacity : {4u, 30u, 1000u, 60000u}) {
        CuckooFilter filter(capacity, 500);
        unsigned added = 0, strangers = 0;
        while (added < capacity * 9 / 10 && filter.Add(View(Item(added))))
            ++added;
        EXPECT_EQ(added, capacity * 9 / 10);
        std::string const before = Bytes(filter);
        for (unsigned i = 0; i < added; ++i)
            EXPECT_TRUE(filter.Contains(View(Item(i))) && filter.Add(View(Item(i)))) << i;
        EXPECT_EQ(Bytes(filter), before) << "nothing is added twice";
        for (unsigned i = 1000000; i < 1010000; ++i)
            strangers += filter.Contains(View(Item(i))) ? 1 : 0;
        EXPECT_LE(strangers, capacity < 1000 ? 10000u : capacity == 1000 ? 700u : 60u);
        Footprint const footprint;
        EXPECT_TRUE(filter.Contains(View(Item(1))));
        EXPECT_EQ(footprint.Allocations(), 0u);
    }
}

// Both forms of bucket counts and sizes, on filters that were loaded.
TEST(CuckooFilter, PutsAnItemWhereItBelongs) {
    for (auto const& [count, size, mask] :
         {std::tuple(64u, 4u, 0xFFFFu), {100u, 4u, 0xFFFFu}, {1u << 17, 1u, ~0u}, {77u, 3u, 6u}}) {
        for (unsigned i = 0; i < 40; ++i) {
            std::string const item = Item(i), empty = Empty(count, size, 0, 77 + i, mask);
            Place place(item, count, 77 + i);
            if ((place.fingerprint & mask) != place.fingerprint) continue;
            std::string expected = empty;
            for (unsigned const bucket : {place.first, place.second}) {
                for (unsigned slot = 0; slot < size; ++slot) {
                    if (expected.substr(HEADER + (bucket * size + slot) * 2, 2) != std::string(2, '\0'))
                        continue;
                    std::string found = expected;
                    Set(found, bucket * size + slot, place.fingerprint);
                    CuckooFilter filter{View(expected)};
                    EXPECT_FALSE(filter.Contains(View(item)));
                    EXPECT_TRUE(filter.Add(View(item)));
                    EXPECT_EQ(Bytes(filter), found);
                    EXPECT_TRUE(filter.Contains(View(item)));
                    Set(expected, bucket * size + slot, place.fingerprint ^ 0x8000 ^ slot << 12);
                }
            }
            CuckooFilter full{View(expected)};
            EXPECT_FALSE(full.Add(View(item)) || full.Contains(View(item)));
            EXPECT_EQ(Bytes(full), expected) << "no kick is allowed";
        }
    }
}

TEST(CuckooFilter, KicksAnotherOutOfAFullBucket) {
    constexpr unsigned COUNT = 64, SEED = 5;
    std::string const item = Item(3);
    Place const place(item, COUNT, SEED);
    std::string bytes = Empty(COUNT, 4, 1, SEED);
    for (unsigned const bucket : {place.first, place.second})
        for (unsigned slot = 0; slot < 4; ++slot)
            Set(bytes, bucket * 4 + slot, 100 + 4 * (bucket == place.second) + slot);
    for (unsigned const round : {0u, 3u, 4u, 6u}) { // bucket and slot by the kernel's randomness
        unsigned const bucket = round < 4 ? place.first : place.second, slot = round % 4,
                       victim = 100 + round;
        Calls calls;
        calls.Script(SysCall::getrandom,
                     {Calls::Data(round < 4 ? "\2aaaaaaa" : "\1aaaaaaa"),
                      Calls::Data(std::string(1, static_cast<char>(0xF8 | slot)) + "zzzzzz\xFF")});
        std::string expected = bytes;
        Set(expected, bucket * 4 + slot, place.fingerprint);
        unsigned const next = Place::Alternate(victim, bucket, COUNT, SEED);
        bool const isFull = next == place.first || next == place.second;
        if (!isFull) Set(expected, next * 4, victim);
        CuckooFilter filter{View(bytes)};
        EXPECT_EQ(filter.Add(View(item)), !isFull);
        EXPECT_EQ(Bytes(filter), expected) << round;
    }
    CuckooFilter crowded(1000, 3); // until no place is left
    unsigned taken = 0, before = 0;
    for (unsigned i = 0; i < 5000; ++i) {
        bool const isThere = crowded.Contains(View(Item(i)));
        bool const isAdded = crowded.Add(View(Item(i)));
        taken = Filled(crowded);
        EXPECT_EQ(taken, before + (isAdded && !isThere ? 1 : 0));
        before = taken;
    }
    EXPECT_GE(taken, 500u);
}

TEST(CuckooFilter, RefusesWhatItsHeaderDoesNotFit) {
    std::string const good = Empty(4, 4, 1, 2);
    std::string const rows[] = {"x",
                                good.substr(0, 23),
                                good.substr(0, HEADER),
                                good.substr(0, HEADER + 31),
                                Empty(0, 4, 1, 2),
                                Empty(4, 0, 1, 2) + "12345678",
                                Words({~0U, ~0U, 0xFFFF, ~0U, 0, 0}) + "12345678",
                                Words({0x80000000, 2, 0xFFFF, 1, 0, 0}) + "12345678"};
    for (std::string const& bytes : rows) {
        CuckooFilter filter{View(bytes)};
        EXPECT_TRUE(filter.Initialized());
        EXPECT_FALSE(filter.Contains(View("a")) || filter.Add(View("a"))) << bytes.size();
        EXPECT_EQ(Bytes(filter), bytes);
    }
    CuckooFilter exact{View(good.substr(0, HEADER + 32))}; // the last two bytes are not asked for
    EXPECT_TRUE(exact.Add(View("a")) && exact.Contains(View("a")));
}

TEST(CuckooFilter, GoesThroughAFile) {
    TempDir const dir;
    LogCapture log;
    CuckooFilter filter(20000, 100); // more than one block of the stream
    for (unsigned i = 0; i < 9000; ++i)
        ASSERT_TRUE(filter.Add(View(Item(i))));
    std::string const path = dir.Write("filter", std::string(100000, 'x'));
    EXPECT_TRUE(filter.Export(CString(path.c_str())));
    EXPECT_EQ(dir.Read("filter"), Bytes(filter));
    CuckooFilter const back(CString(path.c_str()));
    EXPECT_EQ(Bytes(back), Bytes(filter));
    EXPECT_TRUE(log.Take().empty());
    EXPECT_FALSE(filter.Export("/dev/full") || filter.Export("/nowhere/x"));
    for (std::string const& bad : {dir.Path(), dir / "absent"})
        EXPECT_FALSE(CuckooFilter(CString(bad.c_str())).Initialized()) << bad;
    EXPECT_EQ(log.Count("no such file or directory."), 2u);
    EXPECT_EQ(log.Count("is a directory."), 1u);
    EXPECT_TRUE(log.Has("no space left on device."));
    std::string const nothing = dir.Write("nothing", "");
    EXPECT_FALSE(CuckooFilter(CString(nothing.c_str())).Initialized());
    Calls calls;
    calls.Script(SysCall::read, {Calls::Short(100), Calls::Fail(EIO)});
    EXPECT_FALSE(CuckooFilter(CString(path.c_str())).Initialized());
}

TEST(CuckooFilter, TellsThatMemoryRanOut) {
    TempDir const dir;
    std::string const bytes = Empty(64, 4, 1, 2), path = dir.Write("filter", bytes);
    ForEveryAllocation([&](Heap& heap) {
        LogCapture const log;
        Buffer out;
        ASSERT_TRUE(out.Assign(View("old")));
        heap.Arm();
        CuckooFilter const made(100, 1), copied(View(bytes)), read(CString(path.c_str()));
        bool const exported = copied.Initialized() && copied.Export(out);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), !made.Initialized() || !read.Initialized() || !exported);
        EXPECT_EQ(Bytes(out), exported ? bytes : "old");
        EXPECT_EQ(Bytes(read), read.Initialized() ? bytes : "");
    });
}

} // namespace
