#include "zeb/event/Base.h"

#include "zeb/core/Time.h"
#include "zeb/doc/xml/Attribute.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Node.h"
#include "zeb/runtime/StatusLog.h"

#include <cstring>

namespace Event {

namespace {

constexpr CString YES("yes", 3);
constexpr CString NO("no", 2);

bool ReportOom(char const* ident) {
    (void)StatusLog(ReturnT::Oom(), Log::CRITICAL, ident, nullptr, "").SetOom();
    return false;
}

bool IsPublic(char const* ident) {
    for (char const* const* event = Base::PUBLIC_EVENTS_; *event != nullptr; ++event) {
        if (strcmp(*event, ident) == 0) return true;
    }
    return false;
}

Xml::String CopyText(CString const& text, Xml::Document& document) {
    return text.Empty() ? Xml::String() : document.AllocateString(text.Cstr(), text.Size());
}

// Without its children; null if memory ran out, for a text too.
Xml::Node* CopyNode(Xml::Node const& source, Xml::Document& document) {
    Xml::String const name = CopyText(source.Name(), document);
    Xml::String const value = CopyText(source.Value(), document);
    Xml::Node* const node = document.AllocateNode(source.Type(), name, value);
    if (node == nullptr) return nullptr;
    for (Xml::Attribute const* attribute = source.FirstAttribute(); attribute != nullptr;
         attribute = attribute->NextAttribute()) {
        node->AppendAttribute(attribute->Name(), attribute->Value());
    }
    return node;
}

} // namespace

char const* const Base::PUBLIC_EVENTS_[] = {
    "Event::Type::AuditLog",
    "Event::Type::Heartbeat",
    "Event::Type::ConfigurationSaved",
    "Event::Type::FailSafeState",
    "Event::Type::KnownHost",
    "Event::Type::MwsMember",
    "Event::Type::Neighbour",
    "Event::Type::Sms",
    "Event::Type::SystemReady",
    "Event::Type::CloudReady",
    "Event::Type::User",
    "Event::Type::IpWan",
    "Event::Type::Schedule",
    "Event::Type::UpdatesAvailable",
    "Event::Type::UpdateSettingsChanged",
    "Event::Type::TrafficCounter",
    nullptr,
};

Base::~Base() = default;

bool Base::PrintXmlBody_(Xml::Node&) const { return true; }

void Base::MarkRaised() { raiseTime_ = Time::Monotonic(); }

Base* Base::Clone() const {
    Base* clone = Clone_();
    // What is missing here can not be seen in the copy.
    if (clone != nullptr) clone->SetInitialized_(initialized_);
    clone = CheckInitialized_(Ident(), clone);
    if (clone != nullptr) clone->raiseTime_ = raiseTime_;
    return clone;
}

Base* Base::CheckInitialized_(char const* ident, Base* event) {
    AutoPtr<Base, StdDeleter> owner(event);
    if (event != nullptr && event->Initialized()) return owner.Release();
    (void)StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT_, ident, "").SetOom();
    return nullptr;
}

bool Base::PrintXml(Xml::Node& parent) const {
    char const* fault = nullptr;
    if (!Initialized()) {
        fault = "can not create an XML event: \"%1\" event instance was not initialized";
    } else if (!IsPublic(Ident())) {
        fault = "can not create an XML event: \"%1\" event is not public";
    } else if (raiseTime_ < Time::Span()) {
        fault = "can not create an XML event: \"%1\" event has wrong raise time";
    }
    if (fault == nullptr) return PrintXml_(parent);
    Log(Log::ERROR, IDENT_, nullptr, fault) << Ident();
    return false;
}

bool Base::PrintXml_(Xml::Node& parent) const {
    Xml::Node* const event = parent.AppendElement("event");
    if (event == nullptr) return ReportOom(IDENT_);
    event->AppendAttribute("class", Ident());
    event->AppendAttribute("raise_time", Time::Span::String(raiseTime_).Cstr());
    if (PrintXmlBody_(*event) && parent.Doc()->Valid()) return true;
    parent.RemoveNode(event);
    return ReportOom(IDENT_);
}

bool Base::PrintXmlTags_(char const*, Xml::Node& node, char const* const* names, char const* const* values) {
    for (; *names != nullptr; ++names, ++values)
        node.AppendElement(*names, *values);
    return node.Doc()->Valid() || ReportOom(IDENT_);
}

CString const& Base::Bool_(bool value) { return value ? YES : NO; }

bool Base::IsBool_(char const* event, char const* value, bool& result) {
    if (YES.Compare(value) == 0 || NO.Compare(value) == 0) {
        result = YES.Compare(value) == 0;
        return true;
    }
    Log(Log::ERROR, IDENT_, nullptr,
        "invalid boolean value \"%1\" (expected \"%2\" or \"%3\") while parsing \"%4\" event description")
        << value << YES << NO << event;
    return false;
}

// A walk without recursion: the depth of the tree comes from outside. Each copy is linked when it is made;
// what a failure leaves stands in a document that is not valid any more.
void Base::CloneXml_(Xml::Node const* source, Xml::Node* parent) {
    Xml::Node const* const root = source;
    while (source != nullptr) {
        Xml::Node* const copy = CopyNode(*source, *parent->Doc());
        if (copy == nullptr) return;
        parent->AppendNode(copy);
        if (source->FirstNode() != nullptr) {
            source = source->FirstNode();
            parent = copy;
            continue;
        }
        while (source != root && source->NextSibling() == nullptr) {
            source = source->Parent();
            parent = parent->Parent();
        }
        source = source == root ? nullptr : source->NextSibling();
    }
}

} // namespace Event
