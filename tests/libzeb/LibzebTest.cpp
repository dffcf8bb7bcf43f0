#include "libzeb/zeb_crc.h"
#include "libzeb/zeb_crcImpl.h"
#include "libzeb/zeb_string.h"
#include "libzeb/zeb_tlv.h"

#include "workbench/FirmwareImage.h"
#include "workbench/Heap.h"

#include <random>

namespace {

std::string const MAGIC = "TESTMAGI";

constexpr auto Word = FirmwareImage::Word;
constexpr auto Sealed = FirmwareImage::SealTable;

struct Table {
    zeb_tlv_table* table = nullptr;
    int result = 0;

    explicit Table(std::string const& data, std::string const& magic = MAGIC) {
        char* const exact = new char[data.size()]; // no byte behind it is read
        data.copy(exact, data.size());
        result = zeb_tlv_table_parse_img(&table, magic.data(), magic.size(), exact, data.size());
        bool const isTold = result == -1 && table == nullptr && (errno == EINVAL || errno == ENOMEM);
        EXPECT_TRUE(result == 0 || isTold) << errno;
        delete[] exact;
    }
    explicit Table(std::vector<zeb_tlv_entry> const& entries) {
        result = zeb_tlv_table_make(&table, MAGIC.data(), MAGIC.size(), entries.data(), entries.size());
    }
    ~Table() { zeb_tlv_table_free(&table); }

    std::string Get(uint32_t tag) const {
        size_t size = 7;
        void const* const value = zeb_tlv_table_get(table, tag, &size);
        return value == nullptr ? "none" : std::string(static_cast<char const*>(value), size);
    }
    std::string Img() const { return {static_cast<char const*>(zeb_tlv_table_img_ptr(table)), zeb_tlv_table_img_len(table)}; }
};

FirmwareImage::TagsT const TAGS = {{0, "zero"}, {3, "abc"}, {0x10004, ""}, {0x10005, std::string(9, '\7')}, {~0U, "end"}};

TEST(Tlv, ReadsAndMakesTheImagesOfItsDescription) {
    std::string const image = FirmwareImage::Table(MAGIC, TAGS);
    Table const parsed(image + "more"), empty(FirmwareImage::Table(MAGIC, {}));
    ASSERT_EQ(parsed.result + empty.result, 0);
    EXPECT_EQ(parsed.Img(), image);
    std::vector<zeb_tlv_entry> entries;
    zeb_tlv_entry entry;
    for (auto const& [tag, value] : TAGS) {
        EXPECT_EQ(parsed.Get(tag), value);
        ASSERT_EQ(zeb_tlv_table_at(parsed.table, entries.size(), &entry), 1);
        EXPECT_TRUE(entry.tag == tag && std::string(static_cast<char const*>(entry.value), entry.size) == value) << tag;
        entries.push_back({tag, value.size(), tag == 0x10005 ? nullptr : value.data()});
    }
    EXPECT_EQ(zeb_tlv_table_at(parsed.table, TAGS.size(), &entry) + zeb_tlv_table_at(empty.table, 0, &entry), 0);
    for (uint32_t const tag : {1U, 4U, 0x10006U, ~0U - 1}) EXPECT_EQ(parsed.Get(tag) + empty.Get(tag), "nonenone");
    FirmwareImage::TagsT zeros = TAGS;
    zeros[0x10005].assign(9, '\0');
    Table made(entries);
    ASSERT_EQ(made.result, 0);
    EXPECT_EQ(made.Img(), FirmwareImage::Table(MAGIC, zeros));
    size_t size = 0;
    EXPECT_EQ(zeb_tlv_table_img_offs_crc(made.table, &size) + size, 16u);
    EXPECT_EQ(zeb_tlv_table_set(made.table, 0x10005, 9, TAGS.at(0x10005).data()) +
                  zeb_tlv_table_set(made.table, 0x10004, 0, nullptr),
              0);
    EXPECT_EQ(made.Img(), image);
    for (auto const& [tag, length, error] : {std::tuple(0x10005U, 8UL, EINVAL), {0x10005U, 10UL, EINVAL}, {4U, 4UL, ENOENT}}) {
        EXPECT_EQ(zeb_tlv_table_set(made.table, tag, length, "0123456789"), -1);
        EXPECT_EQ(errno, error);
        EXPECT_EQ(made.Img(), image);
    }
}

TEST(Tlv, RefusesWhatIsNoImage) {
    std::string const image = FirmwareImage::Table(MAGIC, TAGS);
    for (unsigned long size = 0; size < image.size(); ++size) EXPECT_EQ(Table(image.substr(0, size)).result, -1) << size;
    for (unsigned long i = 0; i < image.size() * 8; ++i) {
        std::string bad = image;
        bad[i / 8] = static_cast<char>(bad[i / 8] ^ 1 << i % 8);
        EXPECT_EQ(Table(bad).result, -1) << i;
        bool const isCrc = i / 8 >= 12 && i / 8 < 16;
        EXPECT_EQ(i >= 20 * 8 ? -1 : Table(Sealed(bad)).result, isCrc ? 0 : -1) << i;
    }
    auto const with = [&](unsigned long at, std::string const& bytes) {
        return Sealed(std::string(image).replace(at, bytes.size(), bytes));
    };
    std::pair<char const*, std::string> const rows[] = {
        // clang-format off
        {"length below the header", with(8, Word(16))}, {"length cuts an entry's head", Sealed(with(8, Word(24)).substr(0, 24))},
        {"length of no words", with(8, Word(image.size() - 1))}, {"length beyond the data", with(8, Word(image.size() + 4))},
        {"length without the last entry", Sealed(with(8, Word(image.size() - 12)).substr(0, image.size() - 12))},
        {"huge length", with(8, Word(~0U - 3))}, {"count too low", with(16, Word(4))}, {"count too high", with(16, Word(6))},
        {"tag repeated", with(32, Word(0))}, {"tags fall", with(20, Word(5))}, {"size beyond the image", with(24, Word(0x1000))},
        {"size that wraps", with(24, Word(~0U))}, {"size that wraps with its padding", with(24, Word(~0U - 2))},
        {"padding not zero", with(43, "x")}, {"size one more than the padding", with(24, Word(5))}};
    // clang-format on
    for (auto const& [what, bad] : rows) EXPECT_EQ(Table(bad).result, -1) << what;
    EXPECT_EQ(Table(with(32, Word(2))).Get(2), "abc"); // the rig makes good ones as well
    for (std::string const& magic : {std::string("TESTMAG"), std::string("TESTMAGA"), image + image})
        EXPECT_EQ(Table(image, magic).result, -1);
    EXPECT_EQ(Table(image, MAGIC + image.substr(8, 1)).result, -1); // of no words
    for (std::vector<zeb_tlv_entry> const& entries : {std::vector<zeb_tlv_entry>{{2, 0, ""}, {2, 0, ""}},
                                                      {{3, 0, ""}, {2, 0, ""}},
                                                      {{1, 1UL << 32, ""}},
                                                      {{1, ~0UL, ""}},
                                                      {{1, 0xFFFFFFF0, nullptr}, {2, 0, ""}}}) {
        Table const refused(entries);
        EXPECT_TRUE(refused.result == -1 && refused.table == nullptr && errno == EINVAL);
    }
}

TEST(Tlv, TellsThatMemoryRanOut) {
    ForEveryAllocation([image = FirmwareImage::Table(MAGIC, TAGS)](Heap& heap) {
        heap.Arm();
        errno = 0;
        Table const parsed(image);
        int const first = errno;
        Table const made(std::vector<zeb_tlv_entry>{{1, 3, "abc"}});
        heap.Disarm();
        EXPECT_EQ(heap.Failures(), (parsed.result != 0 ? 1u : 0u) + (made.result != 0 ? 1u : 0u));
        EXPECT_TRUE((parsed.result == 0 || first == ENOMEM) && (made.result == 0 || errno == ENOMEM));
    });
    zeb_tlv_table* none = nullptr;
    zeb_tlv_table_free(&none);
}

TEST(Crc, IsThatOfEthernetInAllItsForms) {
    unsigned crc = 0xFFFFFFFF;
    zeb_crc32_update(&crc, "1234", 4), zeb_crc32_update(&crc, "", 0), zeb_crc32_update(&crc, "56789", 5);
    EXPECT_EQ(~crc, 0xCBF43926);
    std::mt19937 random(1);
    std::string data(1024, '\0');
    for (char& c : data) c = static_cast<char>(random());
    zeb_crc32_fast_t_ const fast = zeb_crc32_fast_();
    for (unsigned size = 0; size < 300; ++size) {
        unsigned const offset = random() % 64;
        auto const* const at = reinterpret_cast<unsigned char const*>(data.data()) + offset;
        unsigned const slow = FirmwareImage::Crc(data.substr(offset, size)), start = random();
        EXPECT_EQ(zeb_crc32_tables_(0xFFFFFFFF, at, size), slow) << size;
        if (fast == nullptr) continue;
        EXPECT_EQ(fast(0xFFFFFFFF, at, size), slow) << size;
        EXPECT_EQ(fast(start, at, size), zeb_crc32_tables_(start, at, size)) << size;
    }
}

TEST(Strings, AreCopiedIntoNewAllocations) {
    ForEveryAllocation([](Heap& heap) {
        heap.Arm();
        char* const texts[] = {zeb_string_dup("text"), zeb_string_dup(""), zeb_string_ndup("text", 2), zeb_string_ndup("te", 9)};
        char* printed = nullptr;
        int const length = zeb_asprintf(&printed, "%s-%d", "a", 12);
        heap.Disarm();
        unsigned nulls = printed == nullptr;
        EXPECT_EQ(length, printed == nullptr ? -1 : 4);
        EXPECT_STREQ(printed == nullptr ? "a-12" : printed, "a-12");
        char const* const expected[] = {"text", "", "te", "te"};
        for (unsigned i = 0; i < 4; free(texts[i++])) {
            nulls += texts[i] == nullptr;
            EXPECT_STREQ(texts[i] == nullptr ? expected[i] : texts[i], expected[i]);
        }
        EXPECT_EQ(nulls, heap.Failures());
        free(printed);
    });
    EXPECT_EQ(zeb_string_dup(nullptr), zeb_string_ndup(nullptr, 3));
    char* none = nullptr;
    EXPECT_EQ(zeb_asprintf(&none, "%lc", 0x7FFFFFFF), -1);
    EXPECT_EQ(none, nullptr);
}

} // namespace
