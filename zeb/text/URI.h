#pragma once

// Util::URI: the five parts of a uniform resource identifier (RFC 3986), and percent-encoding.
//
//   scheme ":" "//" authority path "?" query "#" fragment
//
//   Util::URI uri;
//   String user, password, host, port;
//   bool isUri, isAuthority;
//   if (!uri.Parse(text, isUri) || !uri.ParseAuthority(user, password, host, port, isAuthority)) ... // no
//   memory if (!isUri || !isAuthority || uri.Scheme() != "http") ... // not for us
//
// The parts are kept as found, still encoded. The authority is taken apart, and decoded, on demand. Nearly
// every text is a URI, a relative one at least: it is up to the caller which parts there must be.
//
// Owns      its parts; what Scheme() and its like give is part of the object, and lasts until the next change
// Threads   one at a time uses an object
// Results   an operation gives false when memory ran out. Whether a text is what it should be is told by
//           `valid`, which is false too when memory ran out
// Memory    for each part that is not empty. What fails leaves object and arguments as they were

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Export.h"
#include "zeb/core/String.h"

namespace Util {

class ZEB_PUBLIC URI {
public:
    enum EncodeT : unsigned {
        ENCODE_URI = 0,  // for all parts of a URI
        ENCODE_FORM = 1, // for form data: a blank is a "+"
    };

    // All parts are empty.
    URI() = default;

    // The parts as they stand. A copy that failed shows in Valid(); all parts are empty then.
    URI(CString const& scheme, CString const& authority, CString const& path, CString const& query,
        CString const& fragment);
    URI(URI&&) noexcept = default;
    URI& operator=(URI&&) noexcept = default;

    [[nodiscard]] bool Assign(URI const& other);
    void Swap(URI& other) noexcept;

    // The parts are equal.
    bool operator==(URI const& other) const;

    // Takes the text apart. White space in it does not count. Not valid, and then without effect, is only a
    // text that holds a NUL.
    [[nodiscard]] bool Parse(CString const& text, bool& valid);
    [[nodiscard]] static bool Parse(CString const& text, AutoPtr<URI, StdDeleter>& uri, bool& valid);

    // The parts of the authority, decoded; those that are missing are empty. An IPv6 address in brackets
    // comes without them. An authority of no known form is a host as a whole, as it stands. Not valid, and
    // then without effect: a colon in front, or a bad escape.
    [[nodiscard]] bool ParseAuthority(String& user, String& password, String& host, String& port,
                                      bool& valid) const;

    // Encodes and joins what is not empty. A password without a user is dropped; an IPv6 address gets its
    // brackets.
    [[nodiscard]] bool SetAuthority(CString const& user, CString const& password, CString const& host,
                                    CString const& port);

    // The whole text, as the parts stand.
    [[nodiscard]] bool Get(String& text) const;

    // Letters, digits and "-_.~" stand for themselves, all other bytes become "%" and two upper-case digits.
    [[nodiscard]] static bool Encode(EncodeT mode, CString const& text, String& out);

    // The reverse. A bad escape gives "?" in place of its "%" and of what should be its digits; `valid` is
    // false then, and the result is there all the same.
    [[nodiscard]] static bool Decode(EncodeT mode, CString const& text, String& out, bool& valid);

    bool Valid() const { return valid_; }
    String const& Scheme() const { return scheme_; }
    String const& Authority() const { return authority_; }
    String const& Path() const { return path_; }
    String const& Query() const { return query_; }
    String const& Fragment() const { return fragment_; }

private:
    bool Assign_(CString const& scheme, CString const& authority, CString const& path, CString const& query,
                 CString const& fragment);

    bool valid_ = true;
    String scheme_;
    String authority_;
    String path_;
    String query_;
    String fragment_;
};

} // namespace Util
