// A name out of a Windows share, a version to compare with, the environment, and a password.
#include "zeb/core/StringMap.h"
#include "zeb/io/StdStream.h"
#include "zeb/runtime/Environment.h"
#include "zeb/runtime/Random.h"
#include "zeb/text/Transcoder.h"
#include "zeb/text/Version.h"

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

bool Run(Io::OStream& out) {
    String name, password, path;
    if (!ToUtf8(CString("M\0\xFC\0s\0l\0i\0", 10), name)) return false;
    out << "share " << name << Io::Endl;

    Version installed, offered;
    if (!installed.Parse("4.02.C.1.0-3") || !offered.Parse("4.02.C.10.0-1")) return false;
    out << (installed < offered ? "an update is offered" : "up to date") << Io::Endl;

    ReturnT const found = Environment::Get("PATH", path);
    if (found.Failed() && found != Environment::NOT_SET) return false;
    out << "PATH has " << path.Size() << " bytes" << Io::Endl;

    if (!Random::GetAsciiString(12, password)) return false;
    out << "a password of " << password.Size() << " characters" << Io::Endl;
    return out.Flush();
}

} // namespace

int main() {
    Io::StdOut out;
    return Run(out) ? 0 : 1;
}
