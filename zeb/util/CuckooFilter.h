#pragma once

// Util::CuckooFilter: a set of byte strings that remembers two bytes of each: "certainly not there" or
// "probably there". For a test that spares a costly search: a list of a million names takes 2 MiB.
//
//   Util::CuckooFilter filter(names.Size(), 500);
//   if (!filter.Initialized()) ...
//   for (...) if (!filter.Add(name)) ...     // too full: make a greater one
//   if (filter.Contains(name)) ...           // then ask the list
//
// The filter is one buffer, and a file of it has the same bytes. Integers are in the order of the processor,
// which is little-endian on all targets of the library:
//
//   offset  size   field
//        0     4   bucketCount
//        4     4   bucketSize: 4
//        8     4   fingerprintMask: 0xFFFF
//       12     4   maxKicks
//       16     4   seed
//       20     4   zero
//       24           slots: bucketCount x bucketSize fingerprints of 2 bytes, 0 for an empty slot
//      end     2   zero
//
// A filter that was loaded is taken as it is: one of a processor of the other order finds nothing. One whose
// header does not fit its size, as one with a capacity below 4, contains nothing and takes nothing in.
//
// Of an item the filter keeps a number below bucketCount, or 16 bits of it: so a small filter is a coarse
// one. Of items that were never added every other one seems to be there in a full filter for 100, one in 30
// for 1000, one in 200 for 10,000, one in 2000 for a million. An item cannot be taken out.
//
// Owns       its bytes. It is not copied but by Export() and a constructor; Swap() moves it. The other
// operations
//            of Buffer are for who knows the form
// Threads    one at a time adds; any number may ask meanwhile nobody adds
// Waits      for the disk, with a path; for randomness (see Random) when one is made for a capacity, and in
// Add()
//            twice for each fingerprint that it moves, up to maxKicks
// Memory     taken by the constructors and by Export() into a buffer alone

#include "zeb/core/Buffer.h"

#include <cstdint>

namespace Util {

class ZEB_PUBLIC CuckooFilter : public Buffer {
public:
    // For `capacity` items: the buckets are a power of two, so that there is room for up to twice as many.
    // `maxKicks` (its lower 32 bits) is how many fingerprints Add() moves to make room for one: 500 fill 95
    // of 100 slots. Empty, with Initialized() false, when memory ran out or the form has no room for so many.
    CuckooFilter(unsigned long capacity, unsigned long maxKicks);

    // A copy of what Export() gave, or the file of that path, read whole. Empty when memory ran out, when
    // there is nothing in the file, or when reading fails, which is logged.
    explicit CuckooFilter(CBuffer const& data);
    explicit CuckooFilter(CString const& path);

    bool Initialized() const { return !Empty(); }

    // True if the item is there afterwards; an item that seems to be there changes nothing. False when the
    // filter is too full: then one fingerprint was lost, which may be that of an item added before.
    bool Add(CBuffer const& item);

    // True for each item that was added, unless an Add() has failed since the filter was made; of the others
    // for some. Nothing is allocated.
    bool Contains(CBuffer const& item) const;

    // False when memory ran out; `out` stays as it was.
    bool Export(Buffer& out) const { return out.Assign(*this); }

    // Makes the file, or writes over it. False, logged, when that fails; the file may then have a part of the
    // filter. Who must not lose the old one writes the bytes to an Io::ConfigFile.
    bool Export(CString const& path) const;

private:
    struct Header_ {
        uint32_t bucketCount, bucketSize, fingerprintMask, maxKicks, seed, zero;
    };
    struct Place_ {
        uint32_t fingerprint, first; // the second bucket takes two hashes more, and is not always needed
    };

    bool GetHeader_(Header_& header) const;
    Place_ PlaceOf_(Header_ const& header, CBuffer const& item) const;
    static uint32_t Alternate_(Header_ const& header, uint32_t fingerprint, uint32_t bucket);
    bool Has_(Header_ const& header, uint32_t bucket, uint32_t fingerprint) const;
    bool HasAny_(Header_ const& header, uint32_t bucket, uint32_t fingerprint) const;
    bool Put_(Header_ const& header, uint32_t bucket, uint32_t fingerprint);
    bool Move_(Header_ const& header, uint32_t fingerprint, uint32_t bucket, uint32_t other);

    uint16_t Slot_(Header_ const& header, uint32_t bucket, uint32_t slot) const;
    void SetSlot_(Header_ const& header, uint32_t bucket, uint32_t slot, uint32_t fingerprint);
};

} // namespace Util
