// URIs and authorities: the scanners against the regular expressions that they stand for, what is joined
// against what was taken apart, and percent-encoding against itself. The first byte chooses.
#include "fuzz/FuzzInput.h"

#include "fuzz/UriEngine.h"
#include "zeb/text/URI.h"
#include "zeb/text/UriScanImpl.h"

namespace {

using Util::URI;

std::string Std(CString const& text) { return {text.Cstr(), text.Size()}; }
std::string Ended(CString const& text) { return Std(text) + "|"; }

void TryUri(CString const& text) {
    URI uri, again;
    bool valid = false;
    FUZZ_CHECK(uri.Parse(text, valid));
    std::string dense = Std(text);
    std::erase_if(dense, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
    std::string const expected = UriEngine::Uri(dense);
    FUZZ_CHECK(valid == (expected != "no"));
    if (!valid) return;
    FUZZ_CHECK(expected == Ended(uri.Scheme()) + Ended(uri.Authority()) + Ended(uri.Path()) +
                               Ended(uri.Query()) + Ended(uri.Fragment()));
    String joined;
    FUZZ_CHECK(uri.Get(joined) && joined.Size() <= dense.size());
    bool const same = joined.Size() == dense.size(); // no empty part was dropped
    FUZZ_CHECK(!same || joined == CString(dense.data(), dense.size()));
    if (same) FUZZ_CHECK(again.Parse(joined, valid) && valid && again == uri);
}

void TryAuthority(CString const& text) {
    Util::AuthorityParts parts;
    bool const matched = Util::ScanAuthority(text, parts) != Util::AuthorityParts::NEITHER;
    std::string const found = Ended(parts.user) + Ended(parts.password) + Ended(parts.host) +
                              Ended(parts.port) + (parts.bracketed ? "[]" : "");
    FUZZ_CHECK(UriEngine::Authority(Std(text)) == (matched ? found : "no"));

    URI uri("", text, "", "", "");
    String part[4], again[4];
    bool valid = false;
    FUZZ_CHECK(uri.ParseAuthority(part[0], part[1], part[2], part[3], valid));
    // Brackets that came with a text that is no address are not made again; those that are made for "::" and
    // for addresses with a dotted end are not taken off, as the patterns know three and more digits and
    // colons.
    bool const unknown =
        part[2] == "::" || (part[2].Find(':') < part[2].Size() && part[2].Find('.') < part[2].Size());
    if (!valid || !matched || parts.bracketed || unknown) return;
    FUZZ_CHECK(uri.SetAuthority(part[0], part[1], part[2], part[3]));
    FUZZ_CHECK(uri.ParseAuthority(again[0], again[1], again[2], again[3], valid) && valid);
    for (unsigned i = 0; i < 4; ++i)
        FUZZ_CHECK(again[i] == part[i] || (i == 1 && part[0].Empty()));
}

void TryEncoding(URI::EncodeT mode, CString const& text) {
    String out, again;
    bool valid = false;
    FUZZ_CHECK(URI::Encode(mode, text, out) && URI::Decode(mode, out, again, valid) && valid);
    FUZZ_CHECK(Std(again) == Std(text));
    FUZZ_CHECK(URI::Decode(mode, text, out, valid) && out.Size() <= text.Size());
    FUZZ_CHECK(valid || out.Find('?') < out.Size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned const way = input.Byte() % 4;
    std::string_view const rest = input.Rest();
    CString const text(rest.data(), rest.size());
    if (way == 0) TryUri(text);
    if (way == 1) TryAuthority(text);
    if (way >= 2) TryEncoding(way == 2 ? URI::ENCODE_URI : URI::ENCODE_FORM, text);
    return 0;
}
