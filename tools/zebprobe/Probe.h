// What the verbs share. One source per family defines its verbs; Verbs.cpp lists them.
#pragma once

#include "zeb/core/CString.h"
#include "zeb/core/ReturnT.h"

#include <string>
#include <string_view>
#include <vector>

namespace Probe {

// Of results without a code of their own.
constexpr uint32_t ACCEPTED = 0x0FFF0000;
constexpr uint32_t REFUSED = 0xCFFD0000;

struct Options {
    unsigned long split = 0; // bytes given at a time where a stream is read or written; 0 is all
    bool prefixes = false;
    bool log = false;
    char const* text = nullptr;     // the input itself
    std::vector<std::string> words; // the arguments of the verb
};

struct Result {
    uint32_t code = REFUSED;
    std::string text;
};

struct Verb {
    char const* name;
    char const* arguments; // for the help text; one word each
    char const* help;
    // Null if the arguments are in order, else what is wrong.
    char const* (*check)(Options const& options);
    Result (*run)(std::string const& input, Options const& options);
};

using VerbsT = std::vector<Verb>;

VerbsT const& JsonVerbs();
VerbsT const& XmlVerbs();
VerbsT const& TimeVerbs();
VerbsT const& IntegerVerbs();
VerbsT const& AddressVerbs();
VerbsT const& UriVerbs();
VerbsT const& SmallValueVerbs();
VerbsT const& DigestVerbs();
VerbsT const& KernelVerbs();
VerbsT const& PathVerbs();

// The verb of that name, or null.
Verb const* FindVerb(std::string_view name);
std::string HelpText();

// The whole program but for main; its exit code.
int Main(int argc, char** argv);

// Text in double quotes: a backslash before backslash and quote, \n \t \r, \xHH for other bytes outside of
// 0x20 to 0x7E.
std::string Quoted(std::string_view text);

// For verbs without words.
inline char const* CheckNothing(Options const&) { return nullptr; }

inline CString Text(std::string const& input) { return {input.data(), input.size()}; }
inline std::string_view View(CString const& text) { return {text.Cstr(), text.Size()}; }

// A number in decimal, or in hexadecimal behind 0x; false if the word is anything else or above `max`.
bool ParseNumber(std::string const& word, unsigned long max, unsigned long& number);

// The place of `word` in a list that ends in null; -1 if it is not there.
int IndexOf(std::string const& word, char const* const* list);

} // namespace Probe
