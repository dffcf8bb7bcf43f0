// Why an image is refused, at which offset, and what would mend it. The library's answer names the fault;
// what stands in the file gives the place.
#include "tools/zebfw/Dump.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace Zebfw {

namespace {

constexpr std::size_t NOWHERE = std::string::npos;

// The image, and what can be found in it.
struct Seen {
    Image const& image;
    std::size_t tableOffset;
    std::optional<Table> table;
    std::size_t block;

    explicit Seen(Image const& seen)
        : image(seen)
        , tableOffset(seen.TableOffset())
        , block(0) {
        if (tableOffset != NOWHERE) table = ParseTable(seen.Blocks().substr(tableOffset));
        if (table) block = table->Number(ZEB_FW_TAG_BLOCK_SIZE, 0);
    }

    // Of the value, in the file.
    std::size_t Tag(uint32_t tag) const {
        std::size_t at = tableOffset + TABLE_MAGIC.size() + 12;
        for (auto const& [known, value] : table ? table->tags : Tags()) {
            if (known == tag) return at + 8;
            at += 8 + (value.size() + 3) / 4 * 4;
        }
        return tableOffset;
    }
    std::size_t Junk() const {
        if (!table) return tableOffset;
        char const fill = static_cast<char>(table->Number(ZEB_FW_TAG_FILL_BYTE, 0xFF));
        std::size_t const begin = tableOffset + table->length;
        std::size_t const found = image.Blocks().find_first_not_of(fill, begin);
        return found < tableOffset + block ? found : begin;
    }
    std::size_t Trailer() const {
        std::string_view const bytes = image.TrailerBytes();
        std::size_t const size = image.Size();
        if (!bytes.starts_with(TRAILER_MAGIC)) return size;
        std::size_t const word = ReadWord(bytes.substr(4));
        return word == 0 || word == 0xFFFFFFFF ? size + 4 : size + 8;
    }
};

using PlaceT = std::size_t (*)(Seen const&);

std::size_t None(Seen const&) { return NOWHERE; }
std::size_t End(Seen const& seen) { return seen.image.Bytes().size(); }
std::size_t Frame(Seen const& seen) { return seen.Trailer(); }
std::size_t Check(Seen const& seen) { return seen.image.Size() + TRAILER_SIZE - 4; }
std::size_t Head(Seen const& seen) { return seen.tableOffset; }
std::size_t Junk(Seen const& seen) { return seen.Junk(); }
template<uint32_t TAG>
std::size_t Value(Seen const& seen) {
    return seen.Tag(TAG);
}

struct Row {
    uint32_t code;
    PlaceT place;
    char const* words;
    char const* mend;
};

constexpr char AUTHORITIES[] =
    "give a folder of PEM files with the authority that signed the image's certificates";
constexpr char SIGN_AGAIN[] = "sign it again with a certificate that has what is missing";
constexpr char MAKE_AGAIN[] = "make it again, with zebfw make, out of its payload: zebfw extract";

// clang-format off
Row const ROWS[] = {
    {302, None, "the file cannot be opened", "see that it is there, and may be read"},
    {305, End, "the file ends too early: it has to have 4 MiB at least", "was it cut on its way? else make it again; zebfw make fills it up"},
    {306, End, "the file is larger than 128 MiB", "leave something out"},
    {903, End, "the blocks do not end where the file does, less the 60 bytes of its trailer",
     "was it cut on its way? is it without a trailer: --raw? else try another --block"},
    {906, End, "the file ends within a block or its trailer, or cannot be read", "was it cut on its way? get it again"},
    {907, Frame, "the trailer is no trailer: \"WQRT\", a number that is neither 0 nor 0xffffffff, a text",
     "was it cut on its way? is it without a trailer: --raw? zebfw sign writes a new one"},
    {908, Check, "the CRC is not that of the blocks: some byte differs from what was written", "get it again; zebfw sign writes a new one"},
    {909, None, "no block begins with a table (\".BEZ.VLT\") that can be read", MAKE_AGAIN},
    {910, Value<ZEB_FW_TAG_BLOCK_SIZE>, "the table names no block size, or another one than its place and the size of the file need", MAKE_AGAIN},
    {911, Junk, "behind the table stands something else than the fill byte", "set the tag 0x10007 to that byte, or make it again"},
    {944, Value<ZEB_FW_TAG_FILL_BYTE>, "the fill byte is neither 0 nor 0xff", MAKE_AGAIN},
    {917, Head, "the table names no digest (tag 0x10003)", "zebfw sign writes it: --digest"},
    {919, Value<ZEB_FW_TAG_DIGEST>, "OpenSSL knows no digest of that name", "sign it again with another --digest, as sha256"},
    {920, Value<ZEB_FW_TAG_CERTIFICATES>, "the image is marked as unsigned (tag 0x10001), and has certificates", "sign it again: zebfw sign removes the mark"},
    {921, Value<ZEB_FW_TAG_SIGNATURE>, "the image is marked as unsigned (tag 0x10001), and has a signature", "sign it again: zebfw sign removes the mark"},
    {923, Head, "the image has no certificates (tag 0x10002), and no mark of an unsigned one", "sign it: zebfw sign"},
    {924, Head, "the image has no signature (tag 0x10004)", "sign it: zebfw sign"},
    {942, Head, "a signed image has a firmware id, and this one has none", "make it again with --tag firmware_id=0x0a510100"},
    {943, Value<ZEB_FW_TAG_FIRMWARE_ID>, "the firmware id has not eight hexadecimal digits", "make it again with --tag firmware_id=0x0a510100"},
    {636, Value<ZEB_FW_TAG_FIRMWARE_ID>, "the firmware id is none of the known ones, so that nothing says which certificates were taken back",
     "make it again with the id of a product, or leave --revocation out"},
    {615, Value<ZEB_FW_TAG_CERTIFICATES>, "a certificate has a serial number that is not positive or longer than 20 bytes", SIGN_AGAIN},
    {105, None, "the folder of authorities cannot be opened", AUTHORITIES}, {101, None, "a file of the folder of authorities holds a certificate that is damaged", AUTHORITIES},
    {109, None, "the folder of authorities holds no certificate", AUTHORITIES},
    {604, Value<ZEB_FW_TAG_CERTIFICATES>, "no chain leads from the certificate that signed to one of the authorities",
     "sign it with all certificates between the two in --certificates, or give the right authority"},
    {619, Value<ZEB_FW_TAG_CERTIFICATES>, "the certificate does not say what its key may be used for", SIGN_AGAIN},
    {620, Value<ZEB_FW_TAG_CERTIFICATES>, "the certificate's key is not for signatures (keyUsage=digitalSignature)", SIGN_AGAIN},
    {621, Value<ZEB_FW_TAG_CERTIFICATES>, "the certificate does not say what its key may be used for in particular", SIGN_AGAIN},
    {622, Value<ZEB_FW_TAG_CERTIFICATES>, "the certificate's key is not for code (extendedKeyUsage=codeSigning)", SIGN_AGAIN},
    {627, Value<ZEB_FW_TAG_CERTIFICATES>, "all certificates are authorities, none signs code", "sign it with the certificate of the key in --certificates"},
    {632, Value<ZEB_FW_TAG_CERTIFICATES>, "a certificate is damaged", "sign it again"},
    {634, Value<ZEB_FW_TAG_CERTIFICATES>, "a certificate is neither an authority by its constraints nor none", SIGN_AGAIN},
    {635, Value<ZEB_FW_TAG_CERTIFICATES>, "two certificates are no authorities, and only one can have signed", "sign it with one of them"},
    {932, Value<ZEB_FW_TAG_DIGEST>, "the certificate's kind of key does not go with the digest", "sign it with a key of RSA or of a curve of NIST"},
    {934, Value<ZEB_FW_TAG_SIGNATURE>, "the signature is longer than its field", "sign it again"},
    {941, Value<ZEB_FW_TAG_SIGNATURE>, "the signature has not the form of one", "sign it again"},
};
// clang-format on

void PrintPlace(std::size_t place) {
    if (place != NOWHERE) printf("  where: offset %zu (0x%zx)\n", place, place);
}

void Print(zeb_fw_error const& error, Seen const& seen) {
    auto const* const row =
        std::find_if(std::begin(ROWS), std::end(ROWS), [&](Row const& r) { return r.code == error.code; });
    printf("  error: %" PRIu32 ", %s\n", error.code, error.message);
    if (row == std::end(ROWS)) return;
    PrintPlace(row->place(seen));
    printf("  why:   %s\n  mend:  %s\n", row->words, row->mend);
}

// The table that cannot be read, if there is one: the library takes it for a block like others.
void PrintBrokenTable(Seen const& seen) {
    if (seen.tableOffset == NOWHERE || seen.table) return;
    std::string_view const bytes = seen.image.Blocks().substr(seen.tableOffset);
    std::size_t const length = ReadWord(bytes.substr(8)), crcOffset = 12;
    printf("there is the magic of a table, but no table\n");
    if (length > bytes.size() || length < 20 || length % 4 != 0) {
        PrintPlace(seen.tableOffset + 8);
        printf("  why:   its length, %zu, is none\n  mend:  %s\n", length, MAKE_AGAIN);
        return;
    }
    std::string whole(bytes.substr(0, length));
    whole.replace(crcOffset, 4, 4, '\0');
    bool const isSealed = Crc(whole) == ReadWord(bytes.substr(crcOffset));
    PrintPlace(seen.tableOffset + (isSealed ? 20 : crcOffset));
    printf("  why:   %s\n  mend:  %s\n",
           isSealed ? "its entries overlap, are not in order, or do not end where it does"
                    : "its CRC is not that of its bytes",
           MAKE_AGAIN);
}

void PrintVerdict(unsigned status, Seen const& seen) {
    if (status == ZEB_FW_SIGNATURE_VALID) puts("the image is good, and its signature valid");
    if (status == ZEB_FW_UNSIGNED)
        puts("the image is good, and not signed\n  mend:  zebfw sign, if it has to be");
    if (status == ZEB_FW_NOT_CHECKED)
        puts("the image is good as far as can be told without authorities: --ca FOLDER");
    if (status != ZEB_FW_SIGNATURE_WRONG) return;
    puts("the image is refused: its signature is wrong");
    PrintPlace(seen.Tag(ZEB_FW_TAG_SIGNATURE));
    puts("  why:   a block or a tag was changed behind the signing, or another key has signed\n  mend:  sign "
         "it again");
}

} // namespace

int Explain(Options const& options) {
    std::optional<Image> image;
    if (!Load(options, image)) return UNREADABLE;
    Seen const seen(*image);
    std::size_t const size = image->Bytes().size();
    bool const isKnown = std::count(std::begin(BLOCK_SIZES), std::end(BLOCK_SIZES), seen.block) != 0;
    std::size_t const named = options.isBlockGiven ? options.block : isKnown ? seen.block : 0;
    Dump const dump(options, named, size);
    if (dump.done) {
        PrintVerdict(dump.status, seen);
        return dump.status == ZEB_FW_SIGNATURE_WRONG ? REFUSED : OK;
    }
    puts("the image is refused");
    constexpr uint32_t NO_TABLE = 704;
    if (dump.error.code != NO_TABLE) Print(dump.error, seen);
    for (std::size_t const block : BLOCK_SIZES) { // the search tells only that none of them is right
        if (dump.error.code != NO_TABLE) break;
        Dump const one(options, block, size);
        printf("in blocks of 0x%zx:\n", block);
        Print(one.error, seen);
    }
    PrintBrokenTable(seen);
    return REFUSED;
}

} // namespace Zebfw
