#include "tools/zebprobe/Probe.h"

#include "zeb/doc/json/Document.h"
#include "zeb/stream/StringStream.h"

#include <climits>
#include <cstdio>

namespace Probe {

namespace {

char const* const ROOTS[] = {"container", "any", nullptr};
char const* const FORMS[] = {"indent", "compact", nullptr};

char const* CheckRoot(Options const& options) {
    return IndexOf(options.words[0], ROOTS) < 0 ? "json takes 'any' or 'container'" : nullptr;
}

char const* CheckForm(Options const& options) {
    return IndexOf(options.words[0], FORMS) < 0 ? "json-print takes 'compact' or 'indent'" : nullptr;
}

// The flags of the exact types, colon, value: 3ff:12, 400:0x1.8p+0.
std::string Number(Json::Value const& value) {
    using TestT = bool (Json::Value::*)() const;
    constexpr TestT TESTS[] = {&Json::Value::IsChar,      &Json::Value::IsUChar, &Json::Value::IsShort,
                               &Json::Value::IsUShort,    &Json::Value::IsInt,   &Json::Value::IsUInt,
                               &Json::Value::IsLong,      &Json::Value::IsULong, &Json::Value::IsLongLong,
                               &Json::Value::IsULongLong, &Json::Value::IsDouble};
    unsigned flags = 0;
    unsigned bit = 1;
    for (TestT const test : TESTS) {
        if ((value.*test)()) flags |= bit;
        bit <<= 1;
    }
    char text[64];
    if (value.IsDouble())
        snprintf(text, sizeof(text), "%x:%a", flags, value.Double());
    else if (value.IsLongLong())
        snprintf(text, sizeof(text), "%x:%lld", flags, value.LongLong());
    else
        snprintf(text, sizeof(text), "%x:%llu", flags, value.ULongLong());
    return text;
}

std::string Dump(Json::Value const& value) {
    std::string text;
    switch (value.Type()) {
    case Json::Value::TYPE_NULL:
        return "null";
    case Json::Value::TYPE_FALSE:
        return "false";
    case Json::Value::TYPE_TRUE:
        return "true";
    case Json::Value::TYPE_STRING:
        return Quoted(View(value.String()));
    case Json::Value::TYPE_NUMBER:
        return Number(value);
    case Json::Value::TYPE_ARRAY:
        for (auto const* element = value.Array()->First(); element != nullptr; element = element->Next())
            text += (text.empty() ? "" : ",") + Dump(*element->Value());
        return "[" + text + "]";
    case Json::Value::TYPE_OBJECT:
        for (auto const* member = value.Object()->First(); member != nullptr; member = member->Next())
            text += (text.empty() ? "" : ",") + Quoted(View(member->Name())) + ":" + Dump(*member->Value());
        return "{" + text + "}";
    }
    return "?";
}

ReturnT ParseInto(Json::Document& document, std::string const& input, bool any) {
    return document.Parse(CBuffer(input.data(), input.size()),
                          any ? Json::Document::PARSE_ANY : Json::Document::PARSE_CONTAINER);
}

Result RunDump(std::string const& input, Options const& options) {
    Json::Document document;
    ReturnT const code = ParseInto(document, input, IndexOf(options.words[0], ROOTS) == 1);
    return {code.Code(), code.Failed() ? "" : Dump(document)};
}

Result RunPrint(std::string const& input, Options const& options) {
    Json::Document document;
    ReturnT const code = ParseInto(document, input, true);
    if (code.Failed()) return {code.Code(), ""};
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_ANY_LF,
                            options.split == 0 ? Io::StringStream::DEFAULT_BUFFER_SIZE : options.split,
                            LONG_MAX);
    bool const printed = document.Print(stream, IndexOf(options.words[0], FORMS) == 1) && stream.Flush();
    return {printed ? code.Code() : REFUSED, Quoted(View(stream.Str()))};
}

} // namespace

VerbsT const& JsonVerbs() {
    static VerbsT const verbs = {
        {"json", "any|container", "JSON; the tree, each number with the flags of its types", CheckRoot,
         RunDump},
        {"json-print", "compact|indent", "JSON, printed again", CheckForm, RunPrint},
    };
    return verbs;
}

} // namespace Probe
