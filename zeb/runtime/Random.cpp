#include "zeb/runtime/Random.h"

#include "zeb/core/Buffer.h"
#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/core/String.h"
#include "zeb/core/Time.h"
#include "zeb/core/UnseenImpl.h"

#include <cerrno>

#include <sys/random.h>
#include <time.h>

namespace {

constexpr unsigned long BLOCK_SIZE = 256;
constexpr long RETRY_MS = 333;

constexpr char const ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789Ze";

void Pause_() {
    timespec const pause{0, RETRY_MS * 1000000};
    if (!Sleep(RETRY_MS)) nanosleep(&pause, nullptr); // an interrupted thread must not spin
}

// One block, at most.
ZEB_UNSEEN void Fill_(unsigned char* data, unsigned long size) {
    for (;; Pause_()) {
        ssize_t const count = getrandom(data, size, GRND_NONBLOCK | GRND_RANDOM);
        int const error = errno;
        if (count == static_cast<ssize_t>(size)) return;
        if (count < 0)
            (Log(Log::CRITICAL, Random::IDENT, nullptr, "unable to get random: %1")
             << ErrorString(error) << Log::Backtrace(0))
                .Fail(ReturnT::Fail());
        else
            (Log(Log::CRITICAL, Random::IDENT, nullptr,
                 "unable to get sufficient entropy: get %1 instead of %2")
             << count << size << Log::Backtrace(0))
                .Fail(ReturnT::Fail());
    }
}

} // namespace

ZEB_UNSEEN long Random::GetAbs() { return static_cast<long>(Get()); }

ZEB_UNSEEN unsigned long Random::Get() {
    unsigned char data[sizeof(unsigned long)];
    unsigned long value;
    Fill_(data, sizeof data);
    __builtin_memcpy(&value, data, sizeof value);
    return value;
}

ZEB_UNSEEN unsigned long Random::GetUniformInterval(unsigned long base, unsigned long span) {
    unsigned long const value = Get();
    return base + (span == 0 ? value : value % span);
}

ZEB_UNSEEN void Random::Get(unsigned char* data, unsigned long size) {
    while (size != 0) {
        unsigned long const count = size < BLOCK_SIZE ? size : BLOCK_SIZE;
        Fill_(data, count);
        data += count;
        size -= count;
    }
}

ZEB_UNSEEN void Random::Get(char* data, unsigned long size) {
    Get(reinterpret_cast<unsigned char*>(data), size);
}

ZEB_UNSEEN bool Random::Get(Buffer& out, unsigned long size) {
    if (!out.Resize(size)) return false;
    Get(out.Bytes(), size);
    return true;
}

ZEB_UNSEEN bool Random::GetAsciiString(unsigned long size, String& text) {
    CryptoBuffer bytes;
    if (size + 1 == 0 || !Get(bytes, size + 1)) return false;
    char* const characters = reinterpret_cast<char*>(bytes.Bytes());
    for (unsigned long i = 0; i < size; ++i)
        characters[i] = ALPHABET[characters[i] & 0x3F];
    return text.Assign(characters, size);
}

ZEB_UNSEEN void Random::GetNz(unsigned char* data, unsigned long size) {
    unsigned char block[BLOCK_SIZE];
    while (size != 0) {
        Fill_(block, sizeof block);
        for (unsigned long i = 0; i < sizeof block && size != 0; ++i) {
            if (block[i] == 0) continue;
            *data++ = block[i];
            --size;
        }
    }
}
