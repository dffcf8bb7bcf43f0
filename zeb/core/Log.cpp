#include "zeb/core/Log.h"

#include "zeb/core/CString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/LogImpl.h"
#include "zeb/core/StringAccumulator.h"

#include <cstdio>
#include <cstring>
#include <syslog.h>
#include <time.h>

namespace {

constinit CString const cut_(" [...]");

}

Log::Log(LevelT level, char const* ident, char const* name, char const* message)
    : impl_(&Impl_::Enter()) {
    impl_->Reset(level, ident, name, message);
}

Log::~Log() {
    impl_->Print();
    Impl_::Leave();
}

template<class T>
Log& Log::Number_(T number) {
    Integer const text(number, impl_->IsHex() ? Integer::PRINT_HEX : Integer::PRINT_DECIMAL);
    impl_->AppendMeasured(text.Cstr(), text.Size());
    return *this;
}

Log& Log::operator<<(char const* text) {
    impl_->AppendMeasured(text ? text : "", text ? strlen(text) : 0);
    return *this;
}

Log& Log::operator<<(CString const& text) {
    impl_->AppendArgument(text.Cstr(), text.Size());
    return *this;
}

Log& Log::operator<<(StringAccumulator const& text) { return *this << text.Str(); }

Log& Log::operator<<(Slice const& text) {
    impl_->AppendArgument(text.Data(), text.Size());
    return *this;
}

Log& Log::operator<<(Combo const& value) {
    value.Draw(*this);
    return *this;
}

Log& Log::operator<<(char c) {
    impl_->AppendArgument(&c, 1);
    return *this;
}

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
    impl_->Control(control);
    return *this;
}

Log& Log::operator<<(Backtrace const& request) {
    impl_->Request(request);
    return *this;
}

Log& Log::Done(ReturnT const& code) {
    impl_->SetCode(Impl_::DONE, code);
    return *this;
}

Log& Log::Fail(ReturnT const& code) {
    impl_->SetCode(Impl_::FAIL, code);
    return *this;
}

Log& Log::Oom(ReturnT const& code) {
    impl_->SetCode(Impl_::OOM, code);
    return *this;
}

char const* Log::ProcessIdent(int argc, char** argv) {
    if (argc < 1 || !argv[0]) return "";
    char const* const slash = strrchr(argv[0], '/');
    char const* const ident = slash ? slash + 1 : argv[0];
    openlog(ident, LOG_NDELAY, LOG_USER);
    return ident;
}

void Log::ConsoleMode() {
    setvbuf(stdout, nullptr, _IONBF, 0);
    tzset(); // reads the time zone ahead of the statements, which must not allocate
    Impl_::SetConsole();
}

bool Log::IsConsole() { return Impl_::IsConsole(); }

void Log::Close() { closelog(); }

char const* Log::L10n(char const* text) { return text; }
char const* Log::L10n(CString const& text) { return text.Cstr(); }

CString const& Log::Cut() { return cut_; }

ReturnT Log::Code_() const { return impl_->Code(); }

char const* Log::MakeMessage_(bool* internal) {
    char const* const message = impl_->MakeMessage();
    if (internal) *internal = impl_->IsInternal();
    return message;
}

Log::Slice::Slice(CString const& text, unsigned long pos, unsigned long size)
    : data_(text.Cstr() + pos)
    , size_(size) {}

Log::Combo::~Combo() = default;
