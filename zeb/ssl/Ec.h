#pragma once

// Ssl::Ec::PrivateKey, Ssl::Ec::PublicKey: keys on the curve "prime256v1" (P-256), for signatures of ECDSA
// with SHA-256. A key is empty until it is generated, decoded or assigned.
//
//   Ssl::Ec::PrivateKey key;
//   Ssl::Ec::PublicKey peer;
//   Buffer signature;
//   if (ReturnT const code = key.Generate(); code.Failed()) return code;
//   if (ReturnT const code = key.Sign(CBuffer(data, size), signature); code.Failed()) return code;
//   ...
//   if (peer.Verify(CBuffer(data, size), signature) == Ssl::Ec::PublicKey::WRONG_SIGNATURE) ...
//
// Owns       a reference to a key of OpenSSL, which is never changed: Assign() shares it, and costs nothing
// Threads    an object is used by one thread at a time; objects that share a key by several
// Failure    a Fail code, an Oom code, or one of those named here, each with a line in the log; what OpenSSL
// says of it
//            stands in lines of Ssl::Error. The object and the result are then as they were. An empty key is
//            a Fail
// Memory     a private key that was encoded lies in a buffer that is wiped on release, whatever buffer it is
// asked into;
//            the text of EncodePem() is a plain one

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/String.h"

struct evp_pkey_st;

namespace Ssl::Ec {

template<class T>
struct KeyDeleter;
template<>
struct ZEB_PUBLIC KeyDeleter<evp_pkey_st> {
    static void Free(evp_pkey_st* key);
};
using KeyPtr = AutoPtr<evp_pkey_st, KeyDeleter>;

class ZEB_PUBLIC PublicKey {
public:
    static constexpr char const IDENT[] = "Ssl::Ec::PublicKey";

    // Of Verify(): a key that cannot verify; data or signature are not those that were signed.
    static constexpr ReturnT NO_VERIFICATION = 0x88340190;
    static constexpr ReturnT WRONG_SIGNATURE = 0x8834019A;

    bool Exists() const { return bool(key_); }
    void Reset() { key_.Reset(); }

    // Shares the key of the other, which may be empty.
    ReturnT Assign(PublicKey const& other);

    // The point of the curve, compressed, as 33 bytes. DecodeAsn1() takes the long form of 65 as well.
    ReturnT EncodeAsn1(Buffer& out) const;
    ReturnT DecodeAsn1(CBuffer const& data);

    ReturnT Verify(CBuffer const& data, CBuffer const& signature) const;

private:
    KeyPtr key_;
};

class ZEB_PUBLIC PrivateKey {
public:
    static constexpr char const IDENT[] = "Ssl::Ec::PrivateKey";

    // Of DecodeAsn1(): no private key of an elliptic curve; one of another curve.
    static constexpr ReturnT NOT_DECODED = 0x88350190;
    static constexpr ReturnT WRONG_CURVE = 0x8835019A;

    bool Exists() const { return bool(key_); }
    void Reset() { key_.Reset(); }

    ReturnT Generate();

    // Shares the key of the other, which may be empty.
    ReturnT Assign(PrivateKey const& other);

    // ECPrivateKey of RFC 5915 in DER; what follows it is not looked at.
    ReturnT EncodeAsn1(Buffer& out) const;
    ReturnT DecodeAsn1(CBuffer const& data);

    // "BEGIN PRIVATE KEY", not encrypted.
    ReturnT EncodePem(String& out) const;

    // The signature is the DER form of the two numbers, of 72 bytes at most.
    ReturnT Sign(CBuffer const& data, Buffer& signature) const;

    ReturnT GetPublicKey(PublicKey& out) const;

private:
    KeyPtr key_;
};

} // namespace Ssl::Ec
