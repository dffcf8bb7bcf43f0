#include "zeb/doc/xml/Base.h"

#include "zeb/core/Log.h"
#include "zeb/doc/xml/CharClass.h"

bool Xml::Base::ValidateName(CString const& name) { return IsName(name.Cstr(), name.Size()); }

// Declared below the documents, which it prints.
Log& Log::operator<<(Xml::Base const* base) {
    return *this << (base != nullptr ? static_cast<CString const&>(base->Value()) : CString::Nil());
}
