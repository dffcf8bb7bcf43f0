#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Document.h"
#include "zeb/doc/xml/Document.h"

namespace Json {

namespace {

ReturnT Export_(Object const* object, Xml::Node& node);

ReturnT ExportObject(Object const* object, Xml::Node* node) {
    return node != nullptr ? Export_(object, *node) : ReturnT::Oom();
}

// A scalar that is lost for want of memory takes the flag of the XML document down, which is tested at the
// end.
ReturnT ExportElement(CString const& name, Value const& value, Xml::Node& node) {
    if (value.IsObject()) return ExportObject(value.Object(), node.AppendToArray(name));
    if (value.IsNull()) {
        node.AppendToArray(name, static_cast<char const*>(nullptr));
    } else if (value.IsString()) {
        node.AppendToArray(name, value.String());
    } else if (value.IsBool()) {
        node.AppendToArray(name, value.Bool());
    } else if (value.IsLongLong()) {
        node.AppendToArray(name, value.LongLong());
    } else if (value.IsULongLong()) {
        node.AppendToArray(name, value.ULongLong());
    } else {
        return CODE_EXPORT_ELEMENT;
    }
    return CODE_OK;
}

ReturnT ExportArray(CString const& name, Array const& array, Xml::Node& node) {
    for (Array::Element const* element = array.First(); element != nullptr; element = element->Next()) {
        ReturnT const code = ExportElement(name, *element->Value(), node);
        if (code.Failed()) return code;
    }
    return CODE_OK;
}

ReturnT ExportMember(CString const& name, Value const& value, Xml::Node& node) {
    if (value.IsObject()) return ExportObject(value.Object(), node.AppendElement(name));
    if (value.IsArray()) return ExportArray(name, *value.Array(), node);
    if (value.IsNull()) {
        node.AppendElement(name, static_cast<char const*>(nullptr));
    } else if (value.IsString()) {
        node.AppendElement(name, value.String());
    } else if (value.IsBool()) {
        node.AppendElement(name, value.Bool());
    } else if (value.IsLongLong()) {
        node.AppendElement(name, value.LongLong());
    } else if (value.IsULongLong()) {
        node.AppendElement(name, value.ULongLong());
    } else {
        return CODE_EXPORT_TYPE;
    }
    return CODE_OK;
}

ReturnT Export_(Object const* object, Xml::Node& node) {
    if (object == nullptr) return ReturnT::Done();
    for (Object::Member const* member = object->First(); member != nullptr; member = member->Next()) {
        ReturnT const code = ExportMember(member->Name(), *member->Value(), node);
        if (code.Failed()) return code;
    }
    return node.Doc()->Valid() ? ReturnT(CODE_OK) : ReturnT::Oom();
}

} // namespace

ReturnT Document::Export(Xml::Node& parent) const {
    return IsObject() ? Export_(Object(), parent) : ReturnT(CODE_EXPORT_ROOT);
}

} // namespace Json
