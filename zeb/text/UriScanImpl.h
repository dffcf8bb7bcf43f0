#pragma once

// The fixed patterns of URIs and authorities, scanned by hand: a regular expression takes some forty times as
// long. The results are to the byte those of the patterns below, which tests and a fuzz target hold against
// the engine. The parts are views into the text. Internal; nothing here allocates.
//
//   URI        ^(([^:/?#]+):)?(//([^/?#]*))?([^?#]*)(\?([^#]*))?(#(.*))?           RFC 3986, appendix B
//   login ^((([^:]+):([^@:]*)|[^:@]+){0,1}@(([^:\/\[]+)|(\[([0-9a-fA-F:]{3,39})\]))(:([[:digit:]]{1,5}))?$)?
//   host only  ^((([^:\/\[]+)|(\[([\:0-9a-fA-F]{3,39})\]))(:([[:digit:]]{1,5}))?$)?

#include "zeb/core/CString.h"

namespace Util {

struct UriParts {
    CString scheme, authority, path, query, fragment;
};

struct AuthorityParts {
    // Which pattern matched; NEITHER leaves the parts empty.
    enum FormT { NEITHER, LOGIN, HOST };

    CString user, password, host, port;
    bool bracketed = false; // the host stood in brackets, which are not part of it
};

// Where the scan came to an end: CLEAN is the end of the text, SPACE and NUL are bytes that no URI holds.
// The parts are complete only if it is CLEAN.
enum UriEndT { URI_CLEAN, URI_SPACE, URI_NUL };

inline bool IsUriSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

UriEndT ScanUri(CString const& text, UriParts& parts);
AuthorityParts::FormT ScanAuthority(CString const& text, AuthorityParts& parts);

} // namespace Util
