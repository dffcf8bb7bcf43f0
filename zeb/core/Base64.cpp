#include "zeb/core/Base64.h"

#include "zeb/core/Base64Impl.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/String.h"

#include <cctype>

namespace Base64Impl {

constexpr TablesT TABLES[2] = {TablesT("+/", '+'), TablesT("-_", '-')};

unsigned long EncodeLast(char* out, unsigned char const* in, unsigned long count, Base64::FormatT format) {
    unsigned char block[BLOCK_BYTES] = {};
    char symbols[BLOCK_SYMBOLS];
    memcpy(block, in, count);
    EncodeBlock(symbols, block, TABLES[format]);
    memset(symbols + count + 1, '=', BLOCK_BYTES - count);
    unsigned long const size = format == Base64::URL ? count + 1 : BLOCK_SYMBOLS;
    memcpy(out, symbols, size);
    return size;
}

char* Encode(char* out, unsigned char const* in, unsigned long size, Base64::FormatT format) {
    TablesT const& tables = TABLES[format];
    for (; size >= BLOCK_BYTES; size -= BLOCK_BYTES, in += BLOCK_BYTES, out += BLOCK_SYMBOLS)
        EncodeBlock(out, in, tables);
    return size == 0 ? out : out + EncodeLast(out, in, size, format);
}

Gatherer::ResultT Gatherer::Put(char c) {
    unsigned char const value = value_[static_cast<unsigned char>(c)];
    if (value == OUTSIDE && !isspace(static_cast<unsigned char>(c))) return FORBIDDEN;
    if (value & NO_SYMBOL) return MORE;
    bits_ = bits_ << 6 | value;
    if (++count_ < BLOCK_SYMBOLS) return MORE;
    count_ = 0;
    Store_();
    return BLOCK;
}

bool Gatherer::Finish(unsigned long& count) {
    count = count_ == 0 ? 0 : count_ - 1;
    if (count_ == 1) return false;
    bits_ <<= 6 * (BLOCK_SYMBOLS - count_);
    Store_();
    return true;
}

void Gatherer::Store_() {
    bytes_[0] = static_cast<unsigned char>(bits_ >> 16);
    bytes_[1] = static_cast<unsigned char>(bits_ >> 8);
    bytes_[2] = static_cast<unsigned char>(bits_);
}

} // namespace Base64Impl

using namespace Base64Impl;

namespace {

// Whole blocks of nothing but symbols, as long as there is room. Moves the ends that it worked up to.
void DecodeClean_(char const*& text, char const* end, unsigned char*& out, unsigned char const* outEnd,
                  unsigned char const* value) {
    auto const* p = reinterpret_cast<unsigned char const*>(text);
    unsigned long blocks = static_cast<unsigned long>(end - text) / BLOCK_SYMBOLS;
    unsigned long const room = static_cast<unsigned long>(outEnd - out) / BLOCK_BYTES;
    if (blocks > room) blocks = room;
    for (; blocks != 0; --blocks, p += BLOCK_SYMBOLS, out += BLOCK_BYTES) {
        uint32_t const a = value[p[0]], b = value[p[1]], c = value[p[2]], d = value[p[3]];
        if ((a | b | c | d) & NO_SYMBOL) break;
        uint32_t const bits = a << 18 | b << 12 | c << 6 | d;
        out[0] = static_cast<unsigned char>(bits >> 16);
        out[1] = static_cast<unsigned char>(bits >> 8);
        out[2] = static_cast<unsigned char>(bits);
    }
    text = reinterpret_cast<char const*>(p);
}

} // namespace

unsigned long Base64::EncodedSize(unsigned long size, FormatT format) {
    static constexpr unsigned long LEFT_OUT[BLOCK_BYTES] = {0, 2, 1};
    unsigned long const groups = size / BLOCK_BYTES + (size % BLOCK_BYTES != 0);
    return groups * BLOCK_SYMBOLS - (format == URL ? LEFT_OUT[size % BLOCK_BYTES] : 0);
}

unsigned long Base64::DecodedSizeMax(unsigned long size, FormatT format) {
    static constexpr unsigned long LEFT_OUT[BLOCK_SYMBOLS] = {0, 0, 2, 1};
    unsigned long const groups = (size + BLOCK_SYMBOLS - 1) / BLOCK_SYMBOLS;
    return groups * BLOCK_BYTES - (format == URL ? LEFT_OUT[size % BLOCK_SYMBOLS] : 0);
}

ReturnT Base64::EncodeToString(CBuffer const& data, unsigned char* out, unsigned long capacity,
                               FormatT format) {
    if (EncodedSize(data.Size(), format) > capacity) return ReturnT::Fail();
    if (data.Size() == 0) {
        if (capacity == 0) return ReturnT::Fail();
        *out = '\0';
        return ReturnT::Done();
    }
    auto const* const in = static_cast<unsigned char const*>(data.Ptr());
    *Base64Impl::Encode(reinterpret_cast<char*>(out), in, data.Size(), format) = '\0';
    return ReturnT::Done();
}

ReturnT Base64::EncodeToString(CBuffer const& data, String& out, FormatT format) {
    unsigned long const size = EncodedSize(data.Size(), format);
    if (!out.Resize(size)) return ReturnT::Oom();
    if (size == 0) return ReturnT::Done();
    return EncodeToString(data, reinterpret_cast<unsigned char*>(out.Ptr()), size, format);
}

ReturnT Base64::DecodeString(CString const& text, Buffer& out, FormatT format) {
    unsigned long size = text.Empty() ? 0 : DecodedSizeMax(text.Size(), format);
    if (!out.Resize(size)) return ReturnT::Oom();
    if (text.Empty()) return ReturnT::Done();
    ReturnT const result = DecodeString(text, static_cast<unsigned char*>(out.Ptr()), size, format);
    if (result.Failed()) return result;
    if (!out.Resize(size)) return ReturnT::Oom();
    return result;
}

ReturnT Base64::DecodeString(CString const& text, unsigned char* out, unsigned long& size, FormatT format) {
    unsigned char* const start = out;
    unsigned char const* const outEnd = out + size;
    char const* p = text.Cstr();
    char const* const end = p + text.Size();
    Gatherer gatherer(format);
    unsigned long count = BLOCK_BYTES;
    for (;; ++p) {
        if (gatherer.Empty()) DecodeClean_(p, end, out, outEnd, TABLES[format].value);
        if (p == end) break;
        Gatherer::ResultT const result = gatherer.Put(*p);
        if (result == Gatherer::FORBIDDEN) return ReturnT::Fail();
        if (result == Gatherer::MORE) continue;
        if (outEnd - out < static_cast<long>(BLOCK_BYTES)) return ReturnT::Oom();
        memcpy(out, gatherer.Bytes(), BLOCK_BYTES);
        out += BLOCK_BYTES;
    }
    if (!gatherer.Finish(count)) return ReturnT::Fail();
    if (static_cast<unsigned long>(outEnd - out) < count) return ReturnT::Oom();
    if (count != 0) memcpy(out, gatherer.Bytes(), count);
    size = static_cast<unsigned long>(out - start) + count;
    return ReturnT::Done();
}
