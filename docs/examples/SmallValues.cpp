// A name in UTF-16, versions to compare, the environment, a password, a filter and a digest.
#include "zeb/core/StringMap.h"
#include "zeb/filesystem/UsbPath.h"
#include "zeb/filesystem/UsbPortId.h"
#include "zeb/io/StdStream.h"
#include "zeb/runtime/Environment.h"
#include "zeb/runtime/Random.h"
#include "zeb/text/Transcoder.h"
#include "zeb/text/Version.h"
#include "zeb/util/CuckooFilter.h"
#include "zeb/util/SHA256.h"
#include "zeb/util/Scramble.h"

namespace {

using Charset::Transcoder;

// UTF-16 as text of ours; what is no text becomes "?".
bool ToUtf8(CString const& name, String& out) {
    Transcoder const transcoder(Charset::UTF_16LE, Charset::UTF_8,
                                Transcoder::REPLACE_INVALID | Transcoder::REPLACE_TRUNCATED);
    char const* in = name.Cstr();
    unsigned long size;
    if (transcoder.Encode(&in, name.Size(), nullptr, 0, &size).Failed() || !out.Resize(size)) return false;
    in = name.Cstr();
    char* end = out.Ptr();
    return transcoder.Encode(&in, name.Size(), &end, size, &size).Succeeded();
}

// A filter of names ahead of a list on the disk, and the key of a name in that list.
bool PrintBlocked(Io::OStream& out) {
    Util::CuckooFilter filter(1000, 500);
    if (!filter.Initialized() || !filter.Add(CString("ads.example.com"))) return false;
    for (CString const& host : {CString("ads.example.com"), CString("www.example.com")}) {
        char key[Util::SHA256::TEXT_SIZE];
        Util::SHA256 digest;
        digest.Update(host);
        digest.TextDigest(key);
        out << host << (filter.Contains(host) ? " may be blocked: see " : " is not blocked: ") << key
            << Io::Endl;
    }
    return out.Ok();
}

bool Run(Io::OStream& out) {
    String name, password, hidden, path, port;
    if (!ToUtf8(CString("M\0\xFC\0s\0l\0i\0", 10), name)) return false;
    out << "share " << name << Io::Endl;

    Version installed, offered;
    if (!installed.Parse("4.02.C.1.0-3") || !offered.Parse("4.02.C.10.0-1")) return false;
    out << (installed < offered ? "an update is offered" : "up to date") << Io::Endl;

    ReturnT const found = Environment::Get("PATH", path);
    if (found.Failed() && found != Environment::NOT_SET) return false;
    out << "PATH has " << path.Size() << " bytes" << Io::Endl;

    if (!Random::GetAsciiString(12, password) || !Util::Scramble::Encode(password, hidden)) return false;
    out << "a password of " << password.Size() << " characters, to be kept as " << hidden << Io::Endl;

    Usb::Path stick;
    if (!stick.Assign("/sys/devices/platform/soc/usb1/1-1/1-1.2/1-1.2:1.0/host0")) return false;
    if (!Usb::PortId(stick).GetString(port)) return false;
    out << "a stick in port " << port << Io::Endl;
    return PrintBlocked(out) && out.Flush();
}

} // namespace

int main() {
    Io::StdOut out;
    return Run(out) ? 0 : 1;
}
