#include "tools/zebprobe/Probe.h"

#include "zeb/core/Log.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include <getopt.h>
#include <sys/stat.h>

namespace Probe {

namespace {

constexpr int EXIT_UNREADABLE = 1;
constexpr int EXIT_USAGE = 2;

enum OptionT { SPLIT = 's', PREFIXES = 'p', LOG = 'l', TEXT = 't', HELP = 'h' };

option const OPTIONS[] = {
    {"split", required_argument, nullptr, SPLIT}, {"prefixes", no_argument, nullptr, PREFIXES},
    {"log", no_argument, nullptr, LOG},           {"text", required_argument, nullptr, TEXT},
    {"help", no_argument, nullptr, HELP},         {nullptr, 0, nullptr, 0},
};

int Usage(std::string const& what) {
    fprintf(stderr, "zebprobe: %s; see zebprobe --help\n", what.c_str());
    return EXIT_USAGE;
}

int Help() {
    std::cout << HelpText();
    return 0;
}

std::string Hex(uint32_t code) {
    char text[9];
    snprintf(text, sizeof(text), "%08x", code);
    return text;
}

// The result of the whole input, and how many of its prefixes (the empty one and the whole included) gave
// which code.
Result RunPrefixes(Verb const& verb, std::string const& input, Options const& options) {
    std::map<uint32_t, unsigned long> counts;
    Result result;
    for (std::size_t size = 0; size <= input.size(); ++size) {
        result = verb.run(input.substr(0, size), options);
        ++counts[result.code];
    }
    result.text.clear();
    for (auto const& [code, count] : counts)
        result.text += (result.text.empty() ? "" : " ") + Hex(code) + ":" + std::to_string(count);
    return result;
}

// An empty text is read; a folder is not.
bool ReadFile(std::string const& path, std::string& text) {
    struct stat about;
    if (stat(path.c_str(), &about) != 0) return false;
    errno = S_ISDIR(about.st_mode) ? EISDIR : 0;
    if (errno != 0) return false;
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    text.assign(std::istreambuf_iterator<char>(file), {});
    return !file.bad();
}

void RunOne(Verb const& verb, char const* path, std::string const& input, Options const& options) {
    Result const result = options.prefixes ? RunPrefixes(verb, input, options) : verb.run(input, options);
    printf("%s\t%s\t%s\n", path, Hex(result.code).c_str(), result.text.c_str());
}

int RunAll(Verb const& verb, Options const& options) {
    int exitCode = 0;
    if (options.text != nullptr) RunOne(verb, "--text", options.text, options);
    for (std::string path; options.text == nullptr && std::getline(std::cin, path);) {
        std::string input;
        if (!ReadFile(path, input)) {
            printf("%s\t--------\tcannot read: %s\n", path.c_str(), strerror(errno));
            exitCode = EXIT_UNREADABLE;
            continue;
        }
        RunOne(verb, path.c_str(), input, options);
    }
    fflush(stdout);
    return ferror(stdout) != 0 ? EXIT_UNREADABLE : exitCode;
}

// What `arguments` of a verb names: its words.
std::size_t CountWords(char const* text) {
    std::size_t count = 0;
    for (char const* at = text; *at != '\0'; ++at)
        count += *at != ' ' && (at == text || at[-1] == ' ') ? 1 : 0;
    return count;
}

// False after --help (exit code 0) or a wrong option (told).
bool ReadOptions(int argc, char** argv, Options& options, int& exitCode) {
    unsigned long const unlimited = ~0UL;
    for (int name; (name = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        if (name == PREFIXES) options.prefixes = true;
        if (name == LOG) options.log = true;
        if (name == TEXT) options.text = optarg;
        if (name == HELP) {
            exitCode = Help();
            return false;
        }
        bool const badSplit =
            name == SPLIT && (!ParseNumber(optarg, unlimited, options.split) || options.split == 0);
        if (badSplit) exitCode = Usage("--split takes a number above 0");
        if (name == '?') exitCode = EXIT_USAGE;
        if (badSplit || name == '?') return false;
    }
    return true;
}

} // namespace

int Main(int argc, char** argv) {
    Options options;
    int exitCode = EXIT_USAGE;
    if (!ReadOptions(argc, argv, options, exitCode)) return exitCode;
    if (optind == argc) return Usage("a verb is missing");
    if (argv[optind] == std::string_view("help")) return Help();
    Verb const* const verb = FindVerb(argv[optind]);
    if (verb == nullptr) return Usage("unknown verb '" + std::string(argv[optind]) + "'");
    options.words.assign(argv + optind + 1, argv + argc);
    if (options.words.size() != CountWords(verb->arguments))
        return Usage(std::string("usage: zebprobe ") + verb->name + (*verb->arguments != '\0' ? " " : "") +
                     verb->arguments);
    if (char const* const wrong = verb->check(options)) return Usage(wrong);
    if (options.log) Log::ConsoleMode();
    return RunAll(*verb, options);
}

std::string Quoted(std::string_view text) {
    std::string out = "\"";
    for (char const c : text) {
        char const* const at = strchr("\nn\tt\rr\\\\\"\"", c);
        char hex[8];
        if (c != '\0' && at != nullptr && strchr("nrt", c) == nullptr)
            out += {'\\', at[1]};
        else if (c >= 0x20 && c < 0x7F)
            out += c;
        else {
            snprintf(hex, sizeof(hex), "\\x%02x", static_cast<unsigned char>(c));
            out += hex;
        }
    }
    return out + "\"";
}

bool ParseNumber(std::string const& word, unsigned long max, unsigned long& number) {
    if (word.empty() || word[0] < '0' || word[0] > '9') return false;
    bool const hex = word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X');
    char* end = nullptr;
    errno = 0;
    number = strtoul(word.c_str(), &end, hex ? 16 : 10);
    return errno == 0 && *end == '\0' && number <= max;
}

int IndexOf(std::string const& word, char const* const* list) {
    for (int i = 0; list[i] != nullptr; ++i)
        if (word == list[i]) return i;
    return -1;
}

} // namespace Probe
