#include "zeb/core/Log.h"

#include "zeb/core/CString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/LogImpl.h"
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/UnseenImpl.h"

#include <cstdio>
#include <cstring>
#include <syslog.h>

namespace {

constinit CString const cut_(" [...]");

}

Log::Log(LevelT level, char const* ident, char const* name, char const* message)
    : impl_(Impl_::Enter()) {
    if (impl_) impl_->Reset(level, ident, name, message);
}

ZEB_UNSEEN Log::~Log() {
    if (!impl_) return;
    impl_->Print();
    impl_->Leave();
}

// The text holds no NUL.
Log& Log::Text_(char const* text, unsigned long size) {
    if (impl_) impl_->AppendMeasured(text, size);
    return *this;
}

template<class T>
Log& Log::Number_(T number) {
    Integer const text(number, impl_ && impl_->IsHex() ? Integer::PRINT_HEX : Integer::PRINT_DECIMAL);
    return Text_(text.Cstr(), text.Size());
}

Log& Log::operator<<(char const* text) { return Text_(text ? text : "", text ? strlen(text) : 0); }

Log& Log::operator<<(CString const& text) { return Text_(text.Cstr(), strnlen(text.Cstr(), text.Size())); }

Log& Log::operator<<(StringAccumulator const& text) { return *this << text.Str(); }

Log& Log::operator<<(Slice const& text) { return Text_(text.Data(), strnlen(text.Data(), text.Size())); }

Log& Log::operator<<(Combo const& value) {
    value.Draw(*this);
    return *this;
}

Log& Log::operator<<(char c) { return Text_(&c, c != '\0'); }
Log& Log::operator<<(signed char c) { return *this << static_cast<char>(c); }
Log& Log::operator<<(unsigned char c) { return *this << static_cast<char>(c); }

Log& Log::operator<<(short number) { return Number_(number); }
Log& Log::operator<<(unsigned short number) { return Number_(number); }
Log& Log::operator<<(int number) { return Number_(number); }
Log& Log::operator<<(unsigned int number) { return Number_(number); }
Log& Log::operator<<(long number) { return Number_(number); }
Log& Log::operator<<(unsigned long number) { return Number_(number); }
Log& Log::operator<<(long long number) { return Number_(number); }
Log& Log::operator<<(unsigned long long number) { return Number_(number); }

Log& Log::operator<<(ControlT const& control) {
    if (impl_) impl_->Control(control);
    return *this;
}

Log& Log::operator<<(Backtrace const& request) {
    if (impl_) impl_->Request(request);
    return *this;
}

Log& Log::SetCode_(uint64_t kind, ReturnT const& code) {
    if (impl_) impl_->SetCode(kind, code);
    return *this;
}

Log& Log::Done(ReturnT const& code) { return SetCode_(Impl_::DONE, code); }
Log& Log::Fail(ReturnT const& code) { return SetCode_(Impl_::FAIL, code); }
Log& Log::Oom(ReturnT const& code) { return SetCode_(Impl_::OOM, code); }

char const* Log::ProcessIdent(int argc, char** argv) {
    if (argc < 1 || !argv[0]) return "";
    char const* const slash = strrchr(argv[0], '/');
    char const* const ident = slash ? slash + 1 : argv[0];
    openlog(ident, LOG_NDELAY, LOG_USER);
    Impl_::SetIdent(ident);
    Impl_::ReadZone();
    return ident;
}

void Log::ConsoleMode() {
    setvbuf(stdout, nullptr, _IONBF, 0);
    Impl_::ReadZone();
    Impl_::SetConsole();
}

bool Log::IsConsole() { return Impl_::IsConsole(); }

void Log::Close() {
    closelog();
    Impl_::SetIdent(nullptr);
}

char const* Log::L10n(char const* text) { return text; }
char const* Log::L10n(CString const& text) { return text.Cstr(); }

CString const& Log::Cut() { return cut_; }

ReturnT Log::Code_() const { return impl_ ? impl_->Code() : ReturnT::UNDEFINED; }

char const* Log::MakeMessage_(bool* internal) {
    char const* const message = impl_ ? impl_->MakeMessage() : nullptr;
    if (internal) *internal = impl_ && impl_->IsInternal();
    return message;
}

Log::Slice::Slice(CString const& text, unsigned long pos, unsigned long size) {
    unsigned long const begin = pos < text.Size() ? pos : text.Size();
    unsigned long const rest = text.Size() - begin;
    data_ = text.Cstr() + begin;
    size_ = size < rest ? size : rest;
}

Log::Combo::~Combo() = default;
