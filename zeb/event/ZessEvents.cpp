#include "zeb/event/ZessEvents.h"

namespace Event {

char const* ZessAutoUpdate::Ident() const { return IDENT; }
Base* ZessAutoUpdate::Clone_() const { return fields_.Clone<ZessAutoUpdate>(); }

char const* ZessCookie::Ident() const { return IDENT; }
Base* ZessCookie::Clone_() const { return fields_.Clone<ZessCookie>(); }

ZessCookie::ZessCookie(CString const& first, CString const& second, CString const& third) {
    StringMap& cookie = fields_.At<0>();
    SetInitialized_(Decode_(first, cookie) && Decode_(second, cookie) && Decode_(third, cookie));
}

char const* ZessDeferred::Ident() const { return IDENT; }
Base* ZessDeferred::Clone_() const { return fields_.Clone<ZessDeferred>(); }

char const* ZessHostname::Ident() const { return IDENT; }
Base* ZessHostname::Clone_() const { return fields_.Clone<ZessHostname>(); }

ZessNotify::ZessNotify(CString const& host, Xml::Node const* source, ProtocolT protocol)
    : protocol_(protocol) {
    if (source == nullptr) return;
    CloneXml_(source, &xml_);
    SetInitialized_(xml_.Valid());
    Xml::Node const* const root = xml_.FirstNode();
    if (!Initialized() || root == nullptr) return;
    Xml::Attribute const* const id = root->FirstAttribute("id");
    SetInitialized_((id == nullptr || id_.Assign(id->Value())) && serviceHost_.Assign(host));
}

char const* ZessNotify::Ident() const { return IDENT; }
Base* ZessNotify::Clone_() const { return New_<ZessNotify>(ServiceHost(), xml_.FirstNode(), Protocol()); }

} // namespace Event
