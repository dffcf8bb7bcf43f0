#include "zeb/doc/xml/Attribute.h"

#include "zeb/doc/xml/Match.h"

Xml::Attribute* Xml::Attribute::NextAttribute(CString const& name) const {
    return Parent() != nullptr ? FindName<&Attribute::next_>(next_, name) : nullptr;
}

Xml::Attribute* Xml::Attribute::PreviousAttribute(CString const& name) const {
    return Parent() != nullptr ? FindName<&Attribute::previous_>(previous_, name) : nullptr;
}
