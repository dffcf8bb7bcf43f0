// Queries of a round-robin database, their answers as arrays and as nodes of documents.

#include "zeb/core/Integer.h"
#include "zeb/core/Time.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/stats/RrdAttributeImpl.h"

namespace Stats::Rrd {

namespace {

constinit Db::Modifier const EMPTY;

Time::Span WholeSeconds_(long seconds) { return Time::Span(Time::Span::Value(seconds, 0)); }

void AppendSample_(Xml::Node& node, Sample const& sample, Db::Modifier const& modifier,
                   Time::Span const& now) {
    Xml::Node* const data = node.AppendToArray("data");
    if (!data) return;
    if (modifier.IsSetIntegerTime()) {
        data->AppendElement("t", sample.time.Parts().Seconds());
    } else {
        data->AppendElement("t", Time::Span::String(sample.time).Cstr());
    }
    if (modifier.QueryTs() > 0) {
        Time::Span const time = WholeSeconds_(modifier.QueryTs()) - (now - sample.time);
        data->AppendElement("ts", Time::Span::String(time).Cstr());
    }
    data->AppendElement("v", sample.value);
}

} // namespace

Db::Modifier const& Db::Modifier::Empty() { return EMPTY; }

Rrd::Attribute::Base const* Db::Find_(CString const& name) const {
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        if (attributes_[i]->HasRings() && attributes_[i]->Name() == name) return attributes_[i];
    }
    return nullptr;
}

ReturnT Db::FailUnknown_(CString const& attribute) const {
    return StatusLog(UNKNOWN_ATTRIBUTE, Log::ERROR, IDENT, id_.Cstr(), "unknown attribute: %1") << attribute;
}

ReturnT Db::FailLevel_(unsigned char level) const {
    return StatusLog(BAD_LEVEL, Log::ERROR, IDENT, id_.Cstr(), "detail value is out of bounds: %1")
           << unsigned{level};
}

ReturnT Db::Read_(Sample* samples, CString const& name, unsigned char level, Modifier const& modifier) const {
    if (level >= LEVELS) return FailLevel_(level);
    BaseT const* const attribute = Find_(name);
    if (!attribute) return StatusLog(UNKNOWN_ATTRIBUTE, Log::ERROR, IDENT, id_.Cstr(), ""); // no line
    attribute->Read(samples, level, modifier);
    return ReturnT::Done();
}

ReturnT Db::GetData(Array<Sample>& samples, CString const& attribute, unsigned char level,
                    Modifier const& modifier) const {
    if (samples.Size() == SAMPLES) return Read_(samples.Ptr(), attribute, level, modifier);
    Sample read[SAMPLES];
    ReturnT const code = Read_(read, attribute, level, modifier);
    if (code.Failed() || samples.Assign(read, SAMPLES)) return code;
    return StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, id_.Cstr(), "").SetOom();
}

ReturnT Db::GetDatum(Sample& sample, CString const& name, unsigned char level,
                     Modifier const& modifier) const {
    if (level >= LEVELS && level != LEVEL_ALL) return FailLevel_(level);
    BaseT const* const attribute = Find_(name);
    return attribute ? attribute->GetDatum(sample, level, modifier) : FailUnknown_(name);
}

ReturnT Db::AttachTo(Xml::Node& node, CString const& attribute, unsigned char level,
                     Modifier const& modifier) const {
    Sample samples[SAMPLES];
    ReturnT const code = Read_(samples, attribute, level, modifier);
    if (code.Failed()) return code;
    Time::Span const now = Time::Monotonic();
    bool const all = modifier.QueryTs() < 1 || WholeSeconds_(modifier.QueryTs()) - modifier.LastTs() > now;
    for (Sample const& sample : samples) {
        if (all || sample.time.Parts().Seconds() > modifier.LastT().Parts().Seconds())
            AppendSample_(node, sample, modifier, now);
    }
    return Attached_(node);
}

ReturnT Db::AttachLatestTo(Xml::Node& node) const {
    for (unsigned long i = 0; i < attributes_.Size(); ++i) {
        RingBuffer const& ring = attributes_[i]->Ring(0);
        if (attributes_[i]->HasRings())
            node.AppendElement(attributes_[i]->Name(), ring.Empty() ? 0 : ring[0].value);
    }
    return Attached_(node);
}

ReturnT Db::Attached_(Xml::Node const& node) const {
    if (node.Doc()->Valid()) return ReturnT::Done();
    return StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, id_.Cstr(), "").SetOom();
}

ReturnT Db::ParseModifiers(Modifier& modifier, CString const& queryTs, CString const& lastT,
                           CString const& lastTs) {
    long query;
    Time::Span time;
    Time::Span clientTime;
    if (queryTs.Empty()) {
        modifier = Modifier::Empty();
        return ReturnT::Done();
    }
    if (!Integer::Parse(queryTs, query))
        return StatusLog(BAD_MODIFIER, Log::ERROR, IDENT, nullptr, "invalid query-ts value: %1") << queryTs;
    if (!Time::Span::String::Parse(lastT, time))
        return StatusLog(BAD_MODIFIER, Log::ERROR, IDENT, nullptr, "invalid last-t value: %1") << lastT;
    if (!Time::Span::String::Parse(lastTs, clientTime))
        return StatusLog(BAD_MODIFIER, Log::ERROR, IDENT, nullptr, "invalid last-ts value: %1") << lastTs;
    if (WholeSeconds_(query) <= clientTime) {
        return StatusLog(BAD_MODIFIER, Log::ERROR, IDENT, nullptr,
                         "incorrect \"last-ts\" compared to \"query-ts\"");
    }
    modifier.SetQueryTs(query);
    modifier.SetLastT(time);
    modifier.SetLastTs(clientTime);
    return ReturnT::Done();
}

} // namespace Stats::Rrd
