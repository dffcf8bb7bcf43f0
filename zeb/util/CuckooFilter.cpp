#include "zeb/util/CuckooFilter.h"

#include "zeb/io/File.h"
#include "zeb/runtime/Random.h"
#include "zeb/util/MurmurHash.h"

#include <cstring>

#include <fcntl.h>

namespace Util {

namespace {

constexpr uint32_t BUCKET_SIZE = 4;
constexpr uint32_t FINGERPRINT_MASK = 0xFFFF;
constexpr double FULL = 0.96; // of the slots: more cannot be filled in practice
constexpr unsigned long SLOT_SIZE = sizeof(uint16_t);
constexpr unsigned long END_SIZE = 2;

// A power of two; 0 for a capacity below 4, or one that is too great for the form.
unsigned long BucketsFor_(unsigned long capacity) {
    unsigned long buckets = capacity / 4 - 1;
    for (unsigned shift = 1; shift < 64; shift *= 2)
        buckets |= buckets >> shift;
    ++buckets;
    if (buckets == 0) return 0;
    if (static_cast<double>(capacity) / static_cast<double>(buckets) / 4 > FULL) buckets *= 2;
    return buckets;
}

// A loaded filter may have any number of buckets.
uint32_t Modulo_(uint32_t number, uint32_t count) {
    return (count & (count - 1)) == 0 ? number & (count - 1) : number % count;
}

} // namespace

CuckooFilter::CuckooFilter(unsigned long capacity, unsigned long maxKicks) {
    unsigned long const buckets = BucketsFor_(capacity);
    if (buckets > UINT32_MAX) return;
    if (!Resize(sizeof(Header_) + buckets * BUCKET_SIZE * SLOT_SIZE + END_SIZE)) return;
    memset(Ptr(), 0, Size());
    Header_ const header{static_cast<uint32_t>(buckets),
                         BUCKET_SIZE,
                         FINGERPRINT_MASK,
                         static_cast<uint32_t>(maxKicks),
                         static_cast<uint32_t>(Random::GetAbs()),
                         0};
    memcpy(Ptr(), &header, sizeof header);
}

CuckooFilter::CuckooFilter(CBuffer const& data) {
    (void)Assign(data); // Initialized() tells
}

CuckooFilter::CuckooFilter(CString const& path) {
    Io::File file(path, O_RDONLY);
    long size = 0;
    bool const isRead = file.Ok() && file.GetStreamSize(size) && Resize(static_cast<unsigned long>(size)) &&
                        file.ReadAll(Bytes(), Size()) && file.Close();
    if (!isRead) Truncate(0);
}

bool CuckooFilter::Export(CString const& path) const {
    Io::File file(path, O_WRONLY | O_CREAT | O_TRUNC);
    return file.WriteAll(Bytes(), Size()) && file.Close();
}

// False if the filter has no bucket, or fewer bytes than its header says.
bool CuckooFilter::GetHeader_(Header_& header) const {
    if (Size() < sizeof header) return false;
    memcpy(&header, Ptr(), sizeof header);
    unsigned long const slots = (Size() - sizeof header) / SLOT_SIZE;
    return header.bucketCount != 0 && header.bucketSize != 0 &&
           uint64_t{header.bucketCount} * header.bucketSize <= slots;
}

uint16_t CuckooFilter::Slot_(Header_ const& header, uint32_t bucket, uint32_t slot) const {
    uint16_t value;
    unsigned long const index = uint64_t{bucket} * header.bucketSize + slot;
    memcpy(&value, Bytes() + sizeof header + index * SLOT_SIZE, sizeof value);
    return value;
}

void CuckooFilter::SetSlot_(Header_ const& header, uint32_t bucket, uint32_t slot, uint32_t fingerprint) {
    auto const value = static_cast<uint16_t>(fingerprint);
    unsigned long const index = uint64_t{bucket} * header.bucketSize + slot;
    memcpy(Bytes() + sizeof header + index * SLOT_SIZE, &value, sizeof value);
}

// The other bucket of a fingerprint that may stand in this one.
inline uint32_t CuckooFilter::Alternate_(Header_ const& header, uint32_t fingerprint, uint32_t bucket) {
    uint32_t const m1 = MurmurHash::Digest(fingerprint, header.seed);
    uint32_t const m2 = MurmurHash::Digest(fingerprint, m1);
    return Modulo_(Modulo_(m1 + 900 * m2, header.bucketCount) ^ bucket, header.bucketCount);
}

inline bool CuckooFilter::Has_(Header_ const& header, uint32_t bucket, uint32_t fingerprint) const {
    if (header.bucketSize != BUCKET_SIZE) return HasAny_(header, bucket, fingerprint);
    constexpr uint64_t EACH = 0x0001000100010001;
    uint64_t slots;
    memcpy(&slots, Bytes() + sizeof header + uint64_t{bucket} * sizeof slots, sizeof slots);
    slots ^= fingerprint * EACH; // is one of the four 0 now?
    return ((slots - EACH) & ~slots & EACH << 15) != 0;
}

// Of a bucket of another size, which a loaded filter may have.
bool CuckooFilter::HasAny_(Header_ const& header, uint32_t bucket, uint32_t fingerprint) const {
    for (uint32_t i = 0; i < header.bucketSize; ++i)
        if (Slot_(header, bucket, i) == fingerprint) return true;
    return false;
}

inline CuckooFilter::Place_ CuckooFilter::PlaceOf_(Header_ const& header, CBuffer const& item) const {
    uint32_t const h1 = MurmurHash::Digest(item, header.seed);
    uint32_t const h2 = MurmurHash::Digest(item, h1);
    Place_ place;
    place.fingerprint =
        Modulo_(h1 + 1000 * h2, header.bucketCount) & header.fingerprintMask & FINGERPRINT_MASK;
    if (place.fingerprint == 0) place.fingerprint = 1;
    place.first = Modulo_(h1, header.bucketCount);
    return place;
}

bool CuckooFilter::Contains(CBuffer const& item) const {
    Header_ header;
    if (!GetHeader_(header)) return false;
    Place_ const place = PlaceOf_(header, item);
    if (Has_(header, place.first, place.fingerprint)) return true;
    return Has_(header, Alternate_(header, place.fingerprint, place.first), place.fingerprint);
}

bool CuckooFilter::Add(CBuffer const& item) {
    Header_ header;
    if (!GetHeader_(header)) return false;
    Place_ const place = PlaceOf_(header, item);
    if (Has_(header, place.first, place.fingerprint)) return true;
    uint32_t const second = Alternate_(header, place.fingerprint, place.first);
    return Has_(header, second, place.fingerprint) || Move_(header, place.fingerprint, place.first, second);
}

bool CuckooFilter::Put_(Header_ const& header, uint32_t bucket, uint32_t fingerprint) {
    for (uint32_t i = 0; i < header.bucketSize; ++i) {
        if (Slot_(header, bucket, i) != 0) continue;
        SetSlot_(header, bucket, i, fingerprint);
        return true;
    }
    return false;
}

// Puts the fingerprint into one of its two buckets, if need be in the place of another, which then moves on.
bool CuckooFilter::Move_(Header_ const& header, uint32_t fingerprint, uint32_t bucket, uint32_t other) {
    for (uint32_t kicks = 0;; ++kicks) {
        if (Put_(header, bucket, fingerprint) || Put_(header, other, fingerprint)) return true;
        if (kicks == header.maxKicks) return false;
        if ((Random::GetAbs() & 1) != 0) bucket = other;
        uint32_t const slot = static_cast<uint32_t>(Random::GetAbs()) % header.bucketSize;
        uint32_t const victim = Slot_(header, bucket, slot);
        SetSlot_(header, bucket, slot, fingerprint);
        fingerprint = victim;
        other = Alternate_(header, fingerprint, bucket);
    }
}

} // namespace Util
