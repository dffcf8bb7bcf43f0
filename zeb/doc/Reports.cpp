// Statuses and lock entries as nodes of documents.

#include "zeb/core/Time.h"
#include "zeb/doc/json/Array.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Object.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Node.h"
#include "zeb/runtime/Status.h"
#include "zeb/runtime/Thread.h"

namespace {

constexpr uint32_t WITHOUT_SEVERITY = 0x0FFFFFFF;
constexpr uint32_t WARNING = 1;
constexpr uint32_t CRITICAL = 3;

char const* Kind_(ReturnT const& code) { return code.Failed() ? "error" : "message"; }

// The name of the mark that a code of such severity carries, or null.
char const* Mark_(ReturnT const& code) {
    switch (code.Severity()) {
    case CRITICAL:
        return "critical";
    case WARNING:
        return "warning";
    default:
        return nullptr;
    }
}

void AppendText_(Xml::Node& node, CString const& text) {
    Xml::Document& document = *node.Doc();
    Xml::String const copy = document.AllocateString(text.Cstr(), text.Size());
    Xml::Node* const data = document.Valid() ? document.AllocateNode(Xml::Node::DATA, "", copy) : nullptr;
    if (data) node.AppendNode(data);
}

} // namespace

bool Status::AttachTo(Xml::Node& parent) const {
    Guard const guard(*this);
    Xml::Node* const node = parent.AppendElement(Kind_(code_));
    if (node) {
        node->AppendAttribute("code", code_.Code() & WITHOUT_SEVERITY);
        node->AppendAttribute("ident", CString(ident_));
        if (char const* const mark = Mark_(code_)) node->AppendAttribute(mark, true);
        if (!NoMessage_()) AppendText_(*node, Message_());
    }
    return parent.Doc()->Valid();
}

bool Status::AppendTo(Json::Object& object) const {
    Guard const guard(*this);
    Json::Array* const array = object.AppendArray("status");
    Json::Object* const member = array ? array->AppendObject() : nullptr;
    if (!member) return false;
    member->Append("status", Kind_(code_));
    member->Append("code", code_.Code() & WITHOUT_SEVERITY);
    member->Append("ident", CString(ident_));
    member->Append("message", Message_());
    if (char const* const mark = Mark_(code_)) member->Append(mark, true);
    return object.Doc()->Valid();
}

bool Thread::Lock::AttachTo(Xml::Node& node) const {
    Xml::Node* const lock = node.AppendToArray("lock");
    if (!lock) return false;
    Xml::Node* const precedence = lock->AppendElement("precedence");
    if (precedence) {
        precedence->AppendElement("name", Mutex::PrecedenceName(precedence_));
        precedence->AppendElement("order", precedence_);
    }
    lock->AppendElement("state", *state_);
    lock->AppendElement("since", since_.Cstr());
    lock->AppendElement("duration", ::Time::Span::String(::Time::Monotonic() - timespan_).Cstr());
    return node.Doc()->Valid();
}
