#include "tools/zebfw/Zebfw.h"

#include "zeb/firmware/zeb_fw.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>
#include <unistd.h>

namespace {

using namespace Zebfw;

struct Verb {
    char const* name;
    int (*run)(Options const&);
    char const* words;
};

constexpr Verb VERBS[] = {
    {"make", Make,
     "an unsigned image out of a payload: -o FILE [--block --fill --at --tag --word --text --digest --raw]"},
    {"sign", Sign, "an image, signed: -o FILE --key FILE --certificates FILE [--digest --raw]"},
    {"info", Info, "size, trailer, table and tags [--raw]"},
    {"verify", Verify, "what the library says of it [--ca --revocation --block --raw]"},
    {"explain", Explain,
     "why it is refused, at which offset, and what would mend it [--ca --revocation --block --raw]"},
    {"extract", Extract, "its payload, or the values of tags: -o FILE [--tag NAME] [--raw]"},
};

constexpr char USAGE_TEXT[] =
    "usage: zebfw VERB [options] FILE\n"
    "\n"
    "Makes, signs and examines firmware images. Verbs, and the options that they take:\n";

constexpr char OPTIONS_TEXT[] =
    "\n"
    "  -o, --output FILE      where the result goes\n"
    "  --block SIZE           0x10000 (of make, if not given), 0x20000 or 0x80000\n"
    "  --fill BYTE            0 or 0xff, of make; 0xff if not given\n"
    "  --at N                 the block of the table, from 0\n"
    "  --tag NAME[=VALUE]     firmware_id, version, vendor ... or a number; again for each tag\n"
    "  --word N, --text TEXT  what the trailer holds besides its CRC\n"
    "  --key, --certificates  PEM: the private key; its certificate and those between it and an authority\n"
    "  --digest NAME          of the signature; sha256 if not given\n"
    "  --ca FOLDER            authorities, PEM: the signature is checked\n"
    "  --revocation           firmware id and serial numbers are checked as well\n"
    "  --raw                  the image has no trailer, as in a flash partition\n"
    "  --progress             a bar, even if standard error is no terminal\n"
    "\n"
    "exit code: 0, 1 refused, 2 for a wrong command, 3 for files that cannot be read or written\n";

enum OptionT : int {
    BLOCK = 256,
    FILL,
    AT,
    TAG,
    WORD,
    TEXT,
    KEY,
    CERTIFICATES,
    DIGEST,
    CA,
    REVOCATION,
    RAW,
    PROGRESS,
    HELP
};

option const LONG[] = {{"output", required_argument, nullptr, 'o'},
                       {"block", required_argument, nullptr, BLOCK},
                       {"fill", required_argument, nullptr, FILL},
                       {"at", required_argument, nullptr, AT},
                       {"tag", required_argument, nullptr, TAG},
                       {"word", required_argument, nullptr, WORD},
                       {"text", required_argument, nullptr, TEXT},
                       {"key", required_argument, nullptr, KEY},
                       {"certificates", required_argument, nullptr, CERTIFICATES},
                       {"digest", required_argument, nullptr, DIGEST},
                       {"ca", required_argument, nullptr, CA},
                       {"revocation", no_argument, nullptr, REVOCATION},
                       {"raw", no_argument, nullptr, RAW},
                       {"progress", no_argument, nullptr, PROGRESS},
                       {"help", no_argument, nullptr, HELP},
                       {}};

void PrintUsage(FILE* out) {
    fputs(USAGE_TEXT, out);
    for (Verb const& verb : VERBS)
        fprintf(out, "  %-9s%s\n", verb.name, verb.words);
    fputs(OPTIONS_TEXT, out);
}

bool Number(char const* text, std::size_t limit, std::size_t& number) {
    char* end;
    number = strtoul(text, &end, 0);
    if (*text != '\0' && *text != '-' && *end == '\0' && number <= limit) return true;
    return Complain(0, "'%s' is no number up to %zu", text, limit) != 0;
}

bool AddTag(std::string const& text, Tags& tags) {
    std::size_t const equals = text.find('='), limit = 0xFFFFFFFF;
    std::string const name = text.substr(0, equals);
    std::size_t number = 0;
    for (zeb_fw_tag const& known : ZEB_FW_TAG_SET)
        if (name == known.name) number = known.tag;
    if (number == 0 && !Number(name.c_str(), limit, number)) return false;
    tags[static_cast<uint32_t>(number)] = equals == std::string::npos ? "" : text.substr(equals + 1);
    return true;
}

bool Take(int name, char const* value, Options& options) {
    std::size_t number = 0;
    bool isGood = true;
    switch (name) {
    case 'o':
        options.output = value;
        break;
    case BLOCK:
        isGood = Number(value, BLOCK_SIZES[2], options.block);
        isGood = isGood && std::find(std::begin(BLOCK_SIZES), std::end(BLOCK_SIZES), options.block) !=
                               std::end(BLOCK_SIZES);
        options.isBlockGiven = true;
        break;
    case FILL:
        isGood = Number(value, 0xFF, number) && (number == 0 || number == 0xFF);
        options.fill = static_cast<char>(number);
        break;
    case AT:
        isGood = Number(value, SIZE_MAX_ / BLOCK_SIZES[0], options.at);
        break;
    case TAG:
        isGood = AddTag(value, options.tags);
        break;
    case WORD:
        isGood = Number(value, 0xFFFFFFFE, number) && number != 0;
        options.trailer.word = static_cast<uint32_t>(number);
        break;
    case TEXT:
        options.trailer.text = value;
        isGood = !options.trailer.text.empty();
        break;
    case KEY:
        options.key = value;
        break;
    case CERTIFICATES:
        options.certificates = value;
        break;
    case DIGEST:
        options.digest = value;
        break;
    case CA:
        options.authorities = value;
        break;
    case REVOCATION:
        options.checkRevocation = true;
        break;
    case RAW:
        options.isRaw = true;
        break;
    case PROGRESS:
        options.showsProgress = true;
        break;
    default:
        return false; // told by getopt_long()
    }
    return isGood || Complain(0, "'%s' cannot be", value) != 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    options.showsProgress = isatty(STDERR_FILENO) != 0;
    for (int name; (name = getopt_long(argc, argv, "o:", LONG, nullptr)) != -1;) {
        if (name == HELP) {
            PrintUsage(stdout);
            return fflush(stdout) != 0 ? UNREADABLE : OK;
        }
        if (!Take(name, optarg, options)) return USAGE;
    }
    Verb const* verb = std::end(VERBS);
    if (argc - optind == 2)
        verb = std::find_if(std::begin(VERBS), std::end(VERBS),
                            [&](Verb const& v) { return strcmp(v.name, argv[optind]) == 0; });
    if (verb == std::end(VERBS)) {
        PrintUsage(stderr);
        return USAGE;
    }
    options.input = argv[optind + 1];
    zeb_fw_error error;
    if (!zeb_fw_init(&error)) return Complain(UNREADABLE, "%s", error.message);
    int const exitCode = verb->run(options);
    return fflush(stdout) != 0 ? UNREADABLE : exitCode;
}
