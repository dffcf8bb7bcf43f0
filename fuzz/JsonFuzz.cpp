// Text of JSON: bytes of flags, failing allocation and split size, then the text. What parses survives
// printing and parsing.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "zeb/doc/json/Document.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/stream/StringStream.h"

#include <climits>
#include <cmath>

namespace {

// A double prints in six digits. In the corner where those fall below the normal numbers they are refused.
bool IsTiny(double number) { return number != 0 && std::fabs(number) < 2.3e-308; }

bool AnyTiny(Json::Value const& value) {
    if (value.IsDouble()) return IsTiny(value.Double());
    if (Json::Array const* const array = value.Array())
        for (auto const* e = array->First(); e != nullptr; e = e->Next())
            if (AnyTiny(*e->Value())) return true;
    if (Json::Object const* const object = value.Object())
        for (auto const* m = object->First(); m != nullptr; m = m->Next())
            if (AnyTiny(*m->Value())) return true;
    return false;
}

double AsDouble(Json::Value const& value) {
    if (value.IsDouble()) return value.Double();
    return value.IsLongLong() ? static_cast<double>(value.LongLong())
                              : static_cast<double>(value.ULongLong());
}

bool SameText(CString const& a, CString const& b) {
    return std::string_view(a.Cstr(), a.Size()) == std::string_view(b.Cstr(), b.Size());
}

bool SameNumber(Json::Value const& a, Json::Value const& b) {
    if (a.IsDouble() || b.IsDouble())
        return std::fabs(AsDouble(a) - AsDouble(b)) <= std::fabs(AsDouble(a)) * 1e-5;
    return a.ULongLong() == b.ULongLong() && a.IsLongLong() == b.IsLongLong();
}

bool Same(Json::Value const& a, Json::Value const& b);

bool SameArray(Json::Array const& a, Json::Array const& b) {
    auto const* x = a.First();
    auto const* y = b.First();
    for (; x != nullptr && y != nullptr; x = x->Next(), y = y->Next())
        if (!Same(*x->Value(), *y->Value())) return false;
    return x == nullptr && y == nullptr;
}

bool SameObject(Json::Object const& a, Json::Object const& b) {
    auto const* x = a.First();
    auto const* y = b.First();
    for (; x != nullptr && y != nullptr; x = x->Next(), y = y->Next())
        if (!SameText(x->Name(), y->Name()) || !Same(*x->Value(), *y->Value())) return false;
    return x == nullptr && y == nullptr;
}

bool Same(Json::Value const& a, Json::Value const& b) {
    if (a.Type() != b.Type()) return false;
    if (a.IsString()) return SameText(a.String(), b.String());
    if (a.IsNumber()) return SameNumber(a, b);
    if (a.IsArray()) return SameArray(*a.Array(), *b.Array());
    return !a.IsObject() || SameObject(*a.Object(), *b.Object());
}

void PrintAndParse(Json::Document const& document, bool compact, unsigned long split, unsigned long failing) {
    FuzzHeap::Arm(failing);
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF, split, LONG_MAX);
    bool const printed = document.Print(stream, compact) && stream.Flush();
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(printed == !fired);
    if (!printed) return;
    Json::Document again;
    ReturnT const code = again.Parse(stream.Str(), Json::Document::PARSE_ANY);
    if (AnyTiny(document)) return;
    FUZZ_CHECK(code.Succeeded());
    FUZZ_CHECK(Same(document, again));
}

void Export(Json::Document const& document, unsigned long failing) {
    Xml::Document tree;
    FuzzHeap::Arm(failing);
    ReturnT const code = document.Export(tree);
    // What cannot be exported ends the export where it stands, out of memory at the end.
    if (FuzzHeap::Disarm()) FUZZ_CHECK(code.Failed() && !tree.Valid());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned const flags = input.Byte();
    unsigned long const failing = input.Failing();
    unsigned long const split = input.Split();
    std::string_view const text = input.Rest();
    auto const what = (flags & 1) != 0 ? Json::Document::PARSE_ANY : Json::Document::PARSE_CONTAINER;

    Json::Document document;
    FuzzHeap::Arm((flags & 6) == 0 ? failing : 0);
    Json::FaultT fault;
    ReturnT const code = document.Parse(CBuffer(text.data(), text.size()), what, &fault);
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(code.IsOom() == fired);
    FUZZ_CHECK(document.Valid() == !fired);
    if (code.Failed()) {
        FUZZ_CHECK(fault.offset <= text.size() && fault.line != 0 && fault.column != 0 &&
                   !fault.words.Empty());
        document.InitObject();
        FUZZ_CHECK(document.Valid() && document.Object()->First() == nullptr);
        return 0;
    }
    PrintAndParse(document, (flags & 8) != 0, split, (flags & 6) == 2 ? failing : 0);
    Export(document, (flags & 6) == 4 ? failing : 0);
    return 0;
}
