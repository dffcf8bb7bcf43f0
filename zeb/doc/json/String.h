#pragma once

// A view of text in the pool of a document. The bytes stay until the document is cleared; a NUL stands behind
// them, and NUL bytes may stand among them: the size counts.

#include "zeb/core/CString.h"

namespace Json {

class ZEB_PUBLIC String : public CString {
public:
    String() = default;
    explicit String(CString const& view)
        : CString(view) {}
    // Takes the pointer as it comes: a null data marks a failed allocation.
    String(char* data, unsigned long size)
        : CString(data, size) {}
    String(String const&) = default;
    String& operator=(String const&) = default;
    ~String() override {}
};

static_assert(sizeof(String) == 24);

} // namespace Json
