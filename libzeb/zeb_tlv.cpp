#include "libzeb/zeb_tlv.h"

#include "libzeb/zeb_crc.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

namespace {

constexpr size_t WORD = 4;
constexpr size_t HEADER = 3 * WORD; // behind the magic
constexpr size_t ENTRY = 2 * WORD;  // ahead of a value

uint32_t GetWord(unsigned char const* at) {
    uint32_t word;
    memcpy(&word, at, WORD);
    return __builtin_bswap32(word); // both processors are little-endian
}

void SetWord(unsigned char* at, size_t value) {
    uint32_t const word = __builtin_bswap32(static_cast<uint32_t>(value));
    memcpy(at, &word, WORD);
}

constexpr size_t Padded(size_t size) { return (size + WORD - 1) / WORD * WORD; }

int Refuse(int error = EINVAL) {
    errno = error;
    return -1;
}

struct Entry {
    uint32_t tag = 0;
    size_t size = 0;
    unsigned char const* value = nullptr;

    bool IsPadded() const {
        for (size_t i = size; i < Padded(size); ++i)
            if (value[i] != 0) return false;
        return true;
    }
};

// The entries in a run of bytes, one by one.
class Walk {
public:
    Walk(unsigned char const* at, size_t left)
        : at_(at)
        , left_(left) {}

    // False at the end, and for an entry that reaches beyond it.
    bool Next(Entry& entry) {
        if (left_ < ENTRY) return false;
        entry.tag = GetWord(at_);
        entry.size = GetWord(at_ + WORD);
        entry.value = at_ + ENTRY;
        if (Padded(entry.size) > left_ - ENTRY) return false;
        size_t const total = ENTRY + Padded(entry.size);
        at_ += total;
        left_ -= total;
        return true;
    }

    bool AtEnd() const { return left_ == 0; }

private:
    unsigned char const* at_;
    size_t left_;
};

} // namespace

struct zeb_tlv_table {
    size_t length;
    size_t magicSize;
    unsigned char image[];

    size_t CrcOffset() const { return magicSize + WORD; }
    size_t FirstOffset() const { return magicSize + HEADER; }
    size_t Count() const { return GetWord(image + magicSize + 2 * WORD); }

    uint32_t Crc() const {
        constexpr unsigned char ZEROS[WORD] = {};
        unsigned crc = 0xFFFFFFFF;
        size_t const behind = CrcOffset() + WORD;
        zeb_crc32_update(&crc, image, CrcOffset());
        zeb_crc32_update(&crc, ZEROS, WORD);
        zeb_crc32_update(&crc, image + behind, length - behind);
        return crc;
    }

    Walk Entries() const { return {image + FirstOffset(), length - FirstOffset()}; }

    // False if there is none.
    bool Find(uint32_t tag, Entry& entry) const {
        Walk entries = Entries();
        while (entries.Next(entry))
            if (entry.tag >= tag) return entry.tag == tag;
        return false;
    }

    bool AreEntriesGood() const {
        size_t count = 0;
        Entry entry;
        Walk entries = Entries();
        for (uint32_t last = 0; entries.Next(entry); last = entry.tag)
            if ((count++ != 0 && entry.tag <= last) || !entry.IsPadded()) return false;
        return entries.AtEnd() && count == Count();
    }

    static zeb_tlv_table* New(size_t length, size_t magicSize) {
        auto* const table = static_cast<zeb_tlv_table*>(malloc(sizeof(zeb_tlv_table) + length));
        if (table == nullptr) return nullptr;
        table->length = length;
        table->magicSize = magicSize;
        return table;
    }
};

int zeb_tlv_table_parse_img(zeb_tlv_table** table, void const* magic, size_t magic_size, void const* data,
                            size_t size) {
    *table = nullptr;
    auto const* const bytes = static_cast<unsigned char const*>(data);
    if (magic_size % WORD != 0 || size < magic_size || size - magic_size < HEADER) return Refuse();
    if (memcmp(bytes, magic, magic_size) != 0) return Refuse();
    size_t const length = GetWord(bytes + magic_size);
    if (length > size || length % WORD != 0 || length < magic_size + HEADER) return Refuse();
    zeb_tlv_table* made = zeb_tlv_table::New(length, magic_size);
    if (made == nullptr) return Refuse(ENOMEM);
    memcpy(made->image, data, length);
    if (made->Crc() == GetWord(made->image + made->CrcOffset()) && made->AreEntriesGood()) {
        *table = made;
        return 0;
    }
    zeb_tlv_table_free(&made);
    return Refuse();
}

int zeb_tlv_table_make(zeb_tlv_table** table, void const* magic, size_t magic_size,
                       zeb_tlv_entry const* entries, size_t count) {
    *table = nullptr;
    if (magic_size % WORD != 0) return Refuse();
    size_t length = magic_size + HEADER;
    for (size_t i = 0; i < count; ++i) {
        if (i != 0 && entries[i].tag <= entries[i - 1].tag) return Refuse();
        if (entries[i].size > UINT32_MAX - WORD || length > UINT32_MAX - ENTRY - Padded(entries[i].size))
            return Refuse();
        length += ENTRY + Padded(entries[i].size);
    }
    zeb_tlv_table* const made = zeb_tlv_table::New(length, magic_size);
    if (made == nullptr) return Refuse(ENOMEM);
    memset(made->image, 0, length);
    memcpy(made->image, magic, magic_size);
    SetWord(made->image + magic_size, length);
    SetWord(made->image + magic_size + 2 * WORD, count);
    unsigned char* at = made->image + made->FirstOffset();
    for (size_t i = 0; i < count; ++i, at += ENTRY + Padded(entries[i - 1].size)) {
        SetWord(at, entries[i].tag);
        SetWord(at + WORD, entries[i].size);
        if (entries[i].value != nullptr) memcpy(at + ENTRY, entries[i].value, entries[i].size);
    }
    SetWord(made->image + made->CrcOffset(), made->Crc());
    *table = made;
    return 0;
}

void const* zeb_tlv_table_get(zeb_tlv_table const* table, uint32_t tag, size_t* size) {
    Entry entry;
    if (!table->Find(tag, entry)) return nullptr;
    *size = entry.size;
    return entry.value;
}

int zeb_tlv_table_at(zeb_tlv_table const* table, size_t place, zeb_tlv_entry* entry) {
    Entry found;
    Walk entries = table->Entries();
    do
        if (!entries.Next(found)) return 0;
    while (place-- != 0);
    *entry = {found.tag, found.size, found.value};
    return 1;
}

int zeb_tlv_table_set(zeb_tlv_table* table, uint32_t tag, size_t size, void const* data) {
    Entry entry;
    if (!table->Find(tag, entry)) return Refuse(ENOENT);
    if (entry.size != size) return Refuse();
    if (size != 0) memcpy(table->image + (entry.value - table->image), data, size);
    SetWord(table->image + table->CrcOffset(), table->Crc());
    return 0;
}

size_t zeb_tlv_table_img_len(zeb_tlv_table const* table) { return table->length; }

void const* zeb_tlv_table_img_ptr(zeb_tlv_table const* table) { return table->image; }

size_t zeb_tlv_table_img_offs_crc(zeb_tlv_table const* table, size_t* crc_size) {
    *crc_size = WORD;
    return table->CrcOffset();
}

void zeb_tlv_table_free(zeb_tlv_table** table) {
    free(*table);
    *table = nullptr;
}
