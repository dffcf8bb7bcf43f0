#include "zeb/doc/xml/NameLog.h"

#include "zeb/core/Log.h"

void Xml::LogNodeName(char const* ident, Node::TypeT type, CString const& name) {
    if (NeedsName(type)) {
        (Log(Log::CRITICAL, ident, nullptr, "invalid %1 node name: \"%2\"") << Node::TypeName(type) << name)
            .Fail(ReturnT::Fail());
        return;
    }
    (Log(Log::CRITICAL, ident, nullptr, "non-empty %1 node name") << Node::TypeName(type))
        .Fail(ReturnT::Fail());
}

void Xml::LogAttributeName(char const* ident, CString const& name) {
    (Log(Log::CRITICAL, ident, nullptr, "invalid attribute name: \"%1\"") << name).Fail(ReturnT::Fail());
}
