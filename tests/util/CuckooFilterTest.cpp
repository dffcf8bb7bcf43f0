#include "zeb/util/CuckooFilter.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/TempDir.h"
#include "zeb/util/MurmurHash.h"

#include <gtest/gtest.h>

namespace {

using Util::CuckooFilter;

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

uint16_t& Slot(std::string& bytes, unsigned index) { return *reinterpret_cast<uint16_t*>(bytes.data() + 24 + 2 * index); }

// Where an item belongs, by the definition.
struct Place {
    unsigned fingerprint, first, second;

    Place(std::string const& item, unsigned count, unsigned seed, unsigned mask = 0xFFFF) {
        unsigned const h1 = Util::MurmurHash::Digest(View(item), seed);
        fingerprint = (h1 + 1000 * Util::MurmurHash::Digest(View(item), h1)) % count & mask & 0xFFFF;
        fingerprint += fingerprint == 0 ? 1 : 0;
        first = h1 % count;
        second = Alternate(fingerprint, first, count, seed);
    }
    static unsigned Alternate(unsigned fingerprint, unsigned bucket, unsigned count, unsigned seed) {
        std::string const bytes = Words({fingerprint});
        unsigned const m1 = Util::MurmurHash::Digest(View(bytes), seed);
        return ((m1 + 900 * Util::MurmurHash::Digest(View(bytes), m1)) % count ^ bucket) % count;
    }
};

TEST(CuckooFilter, IsMadeInItsForm) {
    std::pair<unsigned long, unsigned> const rows[] = {
        {0, 0},  {3, 0},  {4, 2},   {7, 2},   {8, 4},   {11, 4},  {12, 4},           {15, 4},
        {16, 8}, {30, 8}, {31, 16}, {32, 16}, {61, 16}, {62, 32}, {1000000, 262144}, {1010000, 524288}};
    for (auto const& [capacity, count] : rows) {
        Calls calls;
        calls.Script(SysCall::getrandom, {Calls::Data("\1\2\3\x84\5\6\7\x88")});
        EXPECT_EQ(Bytes(CuckooFilter(capacity, 500)), Empty(count, 4, 500, 0x84030201)) << capacity;
    }
    EXPECT_FALSE(CuckooFilter(1UL << 40, 1).Initialized());
}

TEST(CuckooFilter, NeverForgetsWhatItTookIn) {
    std::pair<unsigned, unsigned> const rows[] = {{4, 10000}, {30, 10000}, {1000, 700}, {60000, 60}}; // strangers of 10000
    for (auto const& [capacity, most] : rows) {
        CuckooFilter filter(capacity, 500);
        unsigned const count = capacity * 9 / 10;
        for (unsigned i = 0; i < count; ++i) EXPECT_TRUE(filter.Add(View(Item(i)))) << i;
        std::string const before = Bytes(filter);
        Footprint const footprint;
        unsigned strangers = 0;
        for (unsigned i = 0; i < count; ++i) EXPECT_TRUE(filter.Contains(View(Item(i))) && filter.Add(View(Item(i)))) << i;
        for (unsigned i = 1000000; i < 1010000; ++i) strangers += filter.Contains(View(Item(i))) ? 1 : 0;
        EXPECT_LE(strangers, most);
        EXPECT_EQ(footprint.Allocations(), 0u);
        EXPECT_EQ(Bytes(filter), before) << "nothing is added twice";
    }
}

TEST(CuckooFilter, PutsAnItemWhereItBelongs) {
    for (auto const& [count, size, mask] :
         {std::tuple(64u, 4u, 0xFFFFu), {100u, 4u, 0xFFFFu}, {1u << 17, 1u, ~0u}, {77u, 3u, 6u}}) {
        for (unsigned i = 0; i < 40; ++i) {
            std::string const item = Item(i);
            Place const place(item, count, 77 + i, mask);
            std::string bytes = Empty(count, size, 0, 77 + i, mask);
            for (unsigned const bucket : {place.first, place.second}) {
                for (unsigned slot = bucket * size; slot < (bucket + 1) * size; ++slot) {
                    if (Slot(bytes, slot) != 0) continue; // the second bucket is the first
                    std::string found = bytes;
                    Slot(found, slot) = static_cast<uint16_t>(place.fingerprint);
                    CuckooFilter filter{View(bytes)};
                    EXPECT_TRUE(!filter.Contains(View(item)) && filter.Add(View(item)) && filter.Contains(View(item)));
                    EXPECT_EQ(Bytes(filter), found);
                    Slot(bytes, slot) = static_cast<uint16_t>(place.fingerprint ^ 0x8000 ^ slot % size << 12);
                }
            }
            CuckooFilter full{View(bytes)};
            EXPECT_FALSE(full.Add(View(item)) || full.Contains(View(item)));
            EXPECT_EQ(Bytes(full), bytes) << "no kick is allowed";
        }
    }
}

TEST(CuckooFilter, KicksAnotherOutOfAFullBucket) {
    Place const place(Item(3), 64, 5);
    std::string bytes = Empty(64, 4, 1, 5);
    for (unsigned i = 0; i < 8; ++i)
        Slot(bytes, (i < 4 ? place.first : place.second) * 4 + i % 4) = static_cast<uint16_t>(100 + i);
    for (unsigned const i : {0u, 3u, 4u, 6u}) { // bucket and slot by the kernel's randomness
        unsigned const bucket = i < 4 ? place.first : place.second;
        Calls calls;
        calls.Script(SysCall::getrandom, {Calls::Data(i < 4 ? "\2aaaaaaa" : "\1aaaaaaa"),
                                          Calls::Data(std::string(1, static_cast<char>(0xF8 | i % 4)) + "zzzzzz\xFF")});
        std::string expected = bytes;
        Slot(expected, bucket * 4 + i % 4) = static_cast<uint16_t>(place.fingerprint);
        unsigned const next = Place::Alternate(100 + i, bucket, 64, 5);
        bool const isFull = next == place.first || next == place.second;
        if (!isFull) Slot(expected, next * 4) = static_cast<uint16_t>(100 + i);
        CuckooFilter filter{View(bytes)};
        EXPECT_EQ(filter.Add(View(Item(3))), !isFull);
        EXPECT_EQ(Bytes(filter), expected) << i;
    }
    CuckooFilter crowded(1000, 3);
    unsigned taken = 0;
    for (unsigned i = 0; i < 5000; ++i) taken += !crowded.Contains(View(Item(i))) && crowded.Add(View(Item(i))) ? 1 : 0;
    std::string filled = Bytes(crowded);
    for (unsigned i = 0; i < 2048; ++i) taken -= Slot(filled, i) != 0 ? 1 : 0;
    EXPECT_EQ(taken, 0u) << "one more slot for each success";
}

TEST(CuckooFilter, RefusesWhatItsHeaderDoesNotFit) {
    std::string const good = Empty(4, 4, 1, 2);
    for (std::string const& bytes :
         {std::string("x"), good.substr(0, 23), good.substr(0, 24), good.substr(0, 55), Empty(0, 4, 1, 2),
          Empty(4, 0, 1, 2) + "12345678", Words({~0U, ~0U, 0xFFFF, ~0U, 0, 0}) + "12345678",
          Words({0x80000000, 2, 0xFFFF, 1, 0, 0}) + "12345678"}) {
        CuckooFilter filter{View(bytes)};
        EXPECT_FALSE(!filter.Initialized() || filter.Contains(View("a")) || filter.Add(View("a"))) << bytes.size();
        EXPECT_EQ(Bytes(filter), bytes);
    }
    CuckooFilter exact{View(good.substr(0, 56))}; // the last two bytes are not asked for
    EXPECT_TRUE(exact.Add(View("a")) && exact.Contains(View("a")));
}

TEST(CuckooFilter, GoesThroughAFileAndTellsWhatFailed) {
    TempDir const dir;
    LogCapture log;
    CuckooFilter filter(20000, 100); // more than one block of the stream
    EXPECT_TRUE(filter.Add(View("a")));
    std::string const path = dir.Write("filter", std::string(100000, 'x')), empty = dir.Write("empty", "");
    EXPECT_TRUE(filter.Export(CString(path.c_str())));
    EXPECT_EQ(dir.Read("filter"), Bytes(filter));
    EXPECT_EQ(Bytes(CuckooFilter(CString(path.c_str()))), Bytes(filter));
    EXPECT_FALSE(CuckooFilter(CString(empty.c_str())).Initialized());
    EXPECT_TRUE(log.Take().empty());
    EXPECT_FALSE(filter.Export("/dev/full") || filter.Export("/nowhere/x"));
    EXPECT_FALSE(CuckooFilter(CString("/etc")).Initialized() || CuckooFilter(CString("/nowhere/y")).Initialized());
    EXPECT_EQ(log.Count("no such file or directory."), 2u);
    EXPECT_TRUE(log.Has("is a directory.") && log.Has("no space left on device."));
    Calls calls;
    calls.Script(SysCall::read, {Calls::Short(100), Calls::Fail(EIO)});
    EXPECT_FALSE(CuckooFilter(CString(path.c_str())).Initialized());
    ForEveryAllocation([&, small = dir.Write("small", Empty(64, 4, 1, 2))](Heap& heap) {
        Buffer out;
        heap.Arm();
        CuckooFilter const made(100, 1), read(CString(small.c_str())), copied(View("copy"));
        bool const exported = copied.Initialized() && copied.Export(out);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), !made.Initialized() || !read.Initialized() || !exported);
        EXPECT_EQ(Bytes(out), exported ? "copy" : "");
    });
}

} // namespace
