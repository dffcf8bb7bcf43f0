#include "zeb/doc/xml/Base.h"

#include "zeb/core/Log.h"
#include "zeb/doc/xml/CharClass.h"

bool Xml::Base::ValidateName(CString const& name) {
    if (name.Empty() || !IsChar(name.Cstr()[0], CHAR_NAME_START)) return false;
    for (unsigned long i = 1; i < name.Size(); ++i) {
        if (!IsChar(name.Cstr()[i], CHAR_NAME)) return false;
    }
    return true;
}

// Declared below the documents, which it prints.
Log& Log::operator<<(Xml::Base const* base) {
    return *this << (base != nullptr ? static_cast<CString const&>(base->Value()) : CString::Nil());
}
