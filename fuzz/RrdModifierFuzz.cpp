// Modifiers of a query: a byte of flags and level, then three lines. What is accepted is what a second
// reading gives, a refusal changes nothing, and an answer has just the samples that the modifiers ask for.
#include "fuzz/FuzzInput.h"

#include "zeb/core/Time.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/stats/RrdDb.h"

#include <cerrno>

namespace {

using Stats::Rrd::Db;

Db const& Database() {
    static Db::Attribute const attribute = {"a", 1, Db::Attribute::GAUGE, Db::RAISE_OFF};
    static Db db("id", "area", &attribute, 1, Db::STEP_3S);
    Array<unsigned long long> values;
    for (int i = 0; !db.HasData() && i < 100; ++i) {
        values.Clear();
        FUZZ_CHECK(values.PushBack(static_cast<unsigned long long>(i)));
        FUZZ_CHECK(db.Update(Time::Span(1700 + i * 3100), values).Succeeded());
    }
    return db;
}

std::string_view Line(std::string_view& text) {
    size_t const end = std::min(text.find('\n'), text.size());
    std::string_view const line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

bool AllDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

bool ReadSeconds(std::string_view text, long& seconds) {
    bool const hasSign = !text.empty() && (text[0] == '-' || text[0] == '+');
    if (!AllDigits(text.substr(hasSign ? 1 : 0))) return false;
    errno = 0;
    seconds = strtol(std::string(text).c_str(), nullptr, 10);
    return errno == 0;
}

bool ReadSpan(std::string_view text, Time::Span& span) {
    size_t const point = std::min(text.find('.'), text.size());
    std::string fraction(text.substr(std::min(point + 1, text.size())));
    long seconds;
    if (!ReadSeconds(text.substr(0, point), seconds) || fraction.size() > 6) return false;
    if (!fraction.empty() && !AllDigits(fraction)) return false;
    fraction.resize(6, '0');
    long const microseconds = strtol(fraction.c_str(), nullptr, 10);
    span = Time::Span(Time::Span::Value(seconds, text[0] == '-' ? -microseconds : microseconds));
    return true;
}

void TryAnswer(Db::Modifier const& modifier, unsigned char level) {
    Array<Stats::Rrd::Sample> samples;
    Xml::Document document;
    FUZZ_CHECK(Database().GetData(samples, "a", level, modifier).Succeeded());
    FUZZ_CHECK(Database().AttachTo(document, "a", level, modifier).Succeeded());
    unsigned long wanted = 0;
    unsigned long found = 0;
    for (Stats::Rrd::Sample const& sample : samples)
        wanted += sample.time.Parts().Seconds() > modifier.LastT().Parts().Seconds();
    for (Xml::Node* node = document.FirstNode(); node; node = node->NextSibling()) {
        FUZZ_CHECK((node->FirstNode("ts") != nullptr) == (modifier.QueryTs() > 0));
        ++found;
    }
    FUZZ_CHECK(found == samples.Size() || (found == wanted && modifier.QueryTs() > 0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    unsigned const choice = input.Byte();
    std::string_view text = input.Rest();
    std::string_view const lines[] = {Line(text), Line(text), Line(text)};
    CString const words[] = {{lines[0].data(), lines[0].size()},
                             {lines[1].data(), lines[1].size()},
                             {lines[2].data(), lines[2].size()}};
    Db::Modifier modifier;
    modifier.SetQueryTs(77);
    if ((choice & 4) != 0) modifier.SetTailing();
    if ((choice & 8) != 0) modifier.SetIntegerTime();
    bool const accepted = Db::ParseModifiers(modifier, words[0], words[1], words[2]).Succeeded();
    long query = 0;
    Time::Span time;
    Time::Span clientTime;
    bool const good = ReadSeconds(lines[0], query) && ReadSpan(lines[1], time) &&
                      ReadSpan(lines[2], clientTime) && Time::Span(Time::Span::Value(query, 0)) > clientTime;
    FUZZ_CHECK(accepted == (good || lines[0].empty()));
    FUZZ_CHECK(modifier.QueryTs() == (accepted ? query : 77));
    FUZZ_CHECK(!good || (modifier.LastT() == time && modifier.LastTs() == clientTime));
    TryAnswer(modifier, static_cast<unsigned char>(choice & 3));
    return 0;
}
