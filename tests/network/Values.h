// What the tests of addresses share: values from their texts and back.
#pragma once

#include "workbench/LogCapture.h"
#include "zeb/core/Log.h"
#include "zeb/core/String.h"

template<class T>
T Value(char const* text) {
    T value;
    EXPECT_TRUE(value.Assign(CString(text))) << text;
    return value;
}

template<class T, class... More>
std::string Shown(T const& value, More const&... more) {
    typename T::Str const made(value), text(made); // a copy aims at its own array
    return (std::string(text.Cstr(), text.Size()) + ... + (" " + Shown(more)));
}

// Those of the letters whose test holds.
inline std::string Letters(char const* letters, std::initializer_list<bool> tests) {
    std::string text;
    for (bool const holds : tests) text.append(holds ? 1 : 0, *letters++);
    return text;
}

// None of the texts is a value, and none changes one.
template<class T>
void ExpectRefused(T value, std::initializer_list<char const*> texts) {
    T const old = value;
    for (char const* const text : texts) EXPECT_TRUE(!value.Assign(CString(text)) && value == old) << text;
}

// The order of the values is that of their texts.
template<class T, std::size_t SIZE>
void ExpectOrder(char const* const (&texts)[SIZE]) {
    for (std::size_t i = 0; i < SIZE; ++i)
        for (std::size_t k = 0; k < SIZE; ++k)
            EXPECT_EQ(Value<T>(texts[i]) < Value<T>(texts[k]), i < k) << texts[i] << " < " << texts[k];
}

// An address of a socket, in the kernel's form too, of which `foreign` is one of another family.
template<class T, class RawT>
void ExpectSocketAddress(T const& address, RawT const& foreign, char const* text) {
    T other;
    String copy;
    EXPECT_FALSE(other.Assign(address.Sockaddr(), T::Socklen() - 1) || other == address);
    EXPECT_TRUE(other.Assign(address.Sockaddr(), T::Socklen()));
    EXPECT_FALSE(other.Assign(foreign));
    EXPECT_TRUE(other == address && other.Port() == address.Port() && other.Address() == address.Address());
    EXPECT_TRUE(address.AsString(copy) && (other.Clear(), other == T()));
    LogCapture log;
    Log(Log::INFO, "Test", nullptr, "to %1 from %2") << address << "here";
    EXPECT_EQ(log.Take(), LogCapture::LinesT{std::string("I Test: to ") + text + " from here."});
    EXPECT_EQ(Shown(address) + copy.Cstr(), std::string(text) + text);
}
