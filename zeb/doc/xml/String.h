#pragma once

// The type of every name and value of a tree: a view of bytes in the pool of a document, or in the text that
// was parsed. It owns nothing and ends with what it views. Its data pointer is null when the pool had no
// memory for it.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"

namespace Xml {

class ZEB_PUBLIC String : public CString {
public:
    String() = default;
    String(char* data, unsigned long size)
        : CString(data, size) {}
    explicit String(CString const& view)
        : CString(view) {}
    String(String const&) = default;
    String& operator=(String const&) = default;
    virtual ~String() {}
};

static_assert(sizeof(String) == 24);

} // namespace Xml
