#include "zeb/text/URI.h"

#include "zeb/core/AutoBuffer.h"
#include "zeb/network/Ip6Address.h"
#include "zeb/text/UriScanImpl.h"

#include <new>

namespace Util {

namespace {

using BufferT_ = AutoBufferBase<char>;

// The text without white space; gives its size. The buffer has room for the whole text.
unsigned long DropSpace_(CString const& text, BufferT_& out) {
    unsigned long size = 0;
    for (char const *p = text.Cstr(), *const end = p + text.Size(); p != end; ++p) {
        if (!IsUriSpace(*p)) out[size++] = *p;
    }
    return size;
}

struct Authority_ {
    String user, password, host, port;
};

// Copies the parts, and decodes those that may be encoded.
bool Decode_(AuthorityParts const& parts, Authority_& out, bool& valid) {
    bool userValid, passwordValid;
    bool hostValid = true;
    if (!URI::Decode(URI::ENCODE_URI, parts.user, out.user, userValid)) return false;
    if (!URI::Decode(URI::ENCODE_URI, parts.password, out.password, passwordValid)) return false;
    bool const copied = parts.bracketed ? out.host.Assign(parts.host)
                                        : URI::Decode(URI::ENCODE_URI, parts.host, out.host, hostValid);
    if (!copied || !out.port.Assign(parts.port)) return false;
    valid = userValid && passwordValid && hostValid;
    return true;
}

// An address in text ends at a NUL; what stands behind one makes it a name, to be encoded.
bool IsIp6_(CString const& host) {
    in6_addr address;
    return host.Find('\0') == host.Size() && Network::Ip6::Sscan6(host.Cstr(), host.Size(), &address) == 1;
}

// All pieces behind one another.
template<unsigned long N>
bool Join_(CString const (&pieces)[N], String& out) {
    unsigned long size = 0;
    for (CString const& piece : pieces) {
        if (__builtin_add_overflow(size, piece.Size(), &size)) return false;
    }
    String joined;
    if (!joined.Resize(size)) return false;
    char* to = joined.Ptr();
    for (CString const& piece : pieces) {
        memcpy(to, piece.Cstr(), piece.Size());
        to += piece.Size();
    }
    out.Swap(joined);
    return true;
}

bool EncodeHost_(CString const& host, String& out) {
    if (!IsIp6_(host)) return URI::Encode(URI::ENCODE_URI, host, out);
    CString const pieces[] = {"[", host, "]"};
    return Join_(pieces, out);
}

CString If_(CString const& condition, char const* text) { return condition.Empty() ? "" : text; }

} // namespace

URI::URI(CString const& scheme, CString const& authority, CString const& path, CString const& query,
         CString const& fragment) {
    valid_ = Assign_(scheme, authority, path, query, fragment);
}

bool URI::Assign_(CString const& scheme, CString const& authority, CString const& path, CString const& query,
                  CString const& fragment) {
    String copies[5];
    if (!copies[0].Assign(scheme) || !copies[1].Assign(authority) || !copies[2].Assign(path) ||
        !copies[3].Assign(query) || !copies[4].Assign(fragment))
        return false;
    scheme_.Swap(copies[0]);
    authority_.Swap(copies[1]);
    path_.Swap(copies[2]);
    query_.Swap(copies[3]);
    fragment_.Swap(copies[4]);
    return true;
}

bool URI::Assign(URI const& other) {
    if (!Assign_(other.scheme_, other.authority_, other.path_, other.query_, other.fragment_)) return false;
    valid_ = other.valid_;
    return true;
}

void URI::Swap(URI& other) noexcept {
    std::swap(valid_, other.valid_);
    scheme_.Swap(other.scheme_);
    authority_.Swap(other.authority_);
    path_.Swap(other.path_);
    query_.Swap(other.query_);
    fragment_.Swap(other.fragment_);
}

bool URI::operator==(URI const& other) const {
    return scheme_ == other.scheme_ && authority_ == other.authority_ && path_ == other.path_ &&
           query_ == other.query_ && fragment_ == other.fragment_;
}

bool URI::Parse(CString const& text, bool& valid) {
    valid = false;
    UriParts parts;
    AutoBuffer<512, char> dense;
    UriEndT end = ScanUri(text, parts);
    if (end == URI_SPACE) {
        if (text.Size() > dense.Size() && !dense.Resize(text.Size())) return false;
        parts = UriParts();
        end = ScanUri(CString(dense.Ptr(), DropSpace_(text, dense)), parts);
    }
    if (end != URI_CLEAN) return true;
    if (!Assign_(parts.scheme, parts.authority, parts.path, parts.query, parts.fragment)) return false;
    valid = true;
    valid_ = true;
    return true;
}

bool URI::Parse(CString const& text, AutoPtr<URI, StdDeleter>& uri, bool& valid) {
    valid = false;
    AutoPtr<URI, StdDeleter> parsed(new (std::nothrow) URI);
    if (!parsed || !parsed->Parse(text, valid)) return false;
    if (valid) uri.Swap(parsed);
    return true;
}

bool URI::ParseAuthority(String& user, String& password, String& host, String& port, bool& valid) const {
    valid = false;
    if (!authority_.Empty() && authority_[0] == ':') return true;
    AuthorityParts parts;
    Authority_ decoded;
    if (ScanAuthority(authority_, parts) != AuthorityParts::NEITHER) {
        if (!Decode_(parts, decoded, valid)) return false;
        if (!valid) return true;
    } else if (!decoded.host.Assign(authority_)) {
        return false;
    }
    valid = true;
    user.Swap(decoded.user);
    password.Swap(decoded.password);
    host.Swap(decoded.host);
    port.Swap(decoded.port);
    return true;
}

bool URI::SetAuthority(CString const& user, CString const& password, CString const& host,
                       CString const& port) {
    CString const secret = user.Empty() ? CString() : password;
    String encodedUser, encodedSecret, encodedHost;
    if (!Encode(ENCODE_URI, user, encodedUser) || !Encode(ENCODE_URI, secret, encodedSecret) ||
        !EncodeHost_(host, encodedHost))
        return false;
    CString const pieces[] = {encodedUser, If_(secret, ":"), encodedSecret, If_(user, "@"),
                              encodedHost, If_(port, ":"),   port};
    return Join_(pieces, authority_);
}

bool URI::Get(String& text) const {
    CString const pieces[] = {scheme_,
                              If_(scheme_, ":"),
                              If_(authority_, "//"),
                              authority_,
                              path_,
                              If_(query_, "?"),
                              query_,
                              If_(fragment_, "#"),
                              fragment_};
    return Join_(pieces, text);
}

} // namespace Util
