#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Cursor.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/runtime/StatusLog.h"

namespace Json {

namespace {

// A scalar in its XML form, by the operation that appends it; false for what has none.
template<class AppendT>
bool ExportScalar(Value const& value, AppendT append) {
    if (value.IsNull()) {
        append(static_cast<char const*>(nullptr));
    } else if (value.IsString()) {
        append(value.String());
    } else if (value.IsBool()) {
        append(value.Bool());
    } else if (value.IsLongLong()) {
        append(value.LongLong());
    } else if (value.IsULongLong()) {
        append(value.ULongLong());
    } else {
        return false;
    }
    return true;
}

// Writes the members of an object below a node. What is lost for want of memory takes the flag of the XML
// document down, which is tested at the end of each object.
class Exporter_ {
public:
    Exporter_(Value const& object, Xml::Node& node)
        : at_(object)
        , node_(&node) {}

    ReturnT Run();

private:
    ReturnT Enter_(Value const& value, Xml::Node* element);
    ReturnT ExportMember_();
    ReturnT ExportElement_();

    Cursor_ at_;
    Xml::Node* node_; // of the object at hand, or of the one that the array at hand is in
};

ReturnT Exporter_::Enter_(Value const& value, Xml::Node* element) {
    if (element == nullptr) return ReturnT::Oom();
    node_ = element;
    at_.Enter(value);
    return CODE_OK;
}

ReturnT Exporter_::ExportMember_() {
    CString const& name = at_.Name();
    Value const& value = at_.Value();
    if (value.IsObject()) return Enter_(value, node_->AppendElement(name));
    if (value.IsArray()) return Enter_(value, node_);
    bool const ok = ExportScalar(value, [&](auto const& item) { node_->AppendElement(name, item); });
    at_.Next();
    return ok ? CODE_OK : CODE_EXPORT_TYPE;
}

ReturnT Exporter_::ExportElement_() {
    CString const& name = at_.OwnerName();
    Value const& value = at_.Value();
    if (value.IsObject()) return Enter_(value, node_->AppendToArray(name));
    bool const ok = ExportScalar(value, [&](auto const& item) { node_->AppendToArray(name, item); });
    at_.Next();
    return ok ? CODE_OK : CODE_EXPORT_ELEMENT;
}

ReturnT Exporter_::Run() {
    Value const& top = at_.Owner();
    for (;;) {
        if (!at_.AtEnd()) {
            ReturnT const code = at_.InObject() ? ExportMember_() : ExportElement_();
            if (code.Failed()) return code;
            continue;
        }
        if (at_.InObject() && !node_->Doc()->Valid()) return ReturnT::Oom();
        if (&at_.Owner() == &top) return CODE_OK;
        if (at_.InObject()) node_ = node_->Parent();
        at_.Leave();
        at_.Next();
    }
}

} // namespace

ReturnT Document::Export(Xml::Node& parent) const {
    if (!IsObject()) return CODE_EXPORT_ROOT;
    ReturnT const code = Exporter_(*this, parent).Run();
    if (!code.IsOom()) return code;
    return StatusLog(code, Log::CRITICAL, IDENT, nullptr, "").SetOom();
}

} // namespace Json
