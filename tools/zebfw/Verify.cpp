#include "tools/zebfw/Zebfw.h"

#include "tools/zebfw/Dump.h"

#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace Zebfw {

namespace {

char const* const STATUS[] = {"the signature is valid", "the signature is wrong", "the image is unsigned",
                              "the signature was not checked"};

std::string Printable(std::string const& value) {
    std::string text;
    for (char const c : value)
        text += isprint(static_cast<unsigned char>(c)) != 0 ? c : '.';
    return text;
}

void PrintTag(uint32_t tag, std::string const& value) {
    char const* const name = zeb_fw_tag_name(tag);
    char number[16];
    snprintf(number, sizeof number, "0x%" PRIx32, tag);
    bool const isLong = tag > ZEB_FW_USER_TAG_MAX && tag != ZEB_FW_TAG_DIGEST;
    std::string const shown = isLong ? std::to_string(value.size()) + " bytes" : Printable(value);
    printf("  %-8s%-20s%s\n", number, name != nullptr ? name : TagWords(tag), shown.c_str());
}

} // namespace

char const* TagWords(uint32_t tag) {
    switch (tag) {
    case ZEB_FW_TAG_UNSIGNED:
        return "unsigned";
    case ZEB_FW_TAG_CERTIFICATES:
        return "certificates";
    case ZEB_FW_TAG_DIGEST:
        return "digest";
    case ZEB_FW_TAG_SIGNATURE:
        return "signature";
    case ZEB_FW_TAG_BLOCK_SIZE:
        return "block size";
    case ZEB_FW_TAG_FILL_BYTE:
        return "fill byte";
    default:
        return "";
    }
}

Dump::Dump(Options const& options, std::size_t blockSize, std::size_t fileSize) {
    std::size_t const size = blockSize != 0 ? blockSize : BLOCK_SIZES[0];
    ProgressBar bar(options.showsProgress, fileSize / size * (options.authorities.empty() ? 1 : 2));
    auto const step = [](int, void* data) { static_cast<ProgressBar*>(data)->Step(); };
    done = zeb_fw_dump(&error, options.input.c_str(), options.checkRevocation ? 1 : 0, &status, blockSize,
                       nullptr, 0, options.authorities.empty() ? nullptr : options.authorities.c_str(), &info,
                       options.isRaw ? fileSize : 0, step, &bar);
}

Dump::~Dump() { zeb_fw_free_crt_info(&info); }

int Info(Options const& options) {
    std::optional<Image> image;
    if (!Load(options, image)) return UNREADABLE;
    std::size_t const offset = image->TableOffset();
    std::optional<Table> table;
    if (offset != std::string::npos) table = ParseTable(image->Blocks().substr(offset));
    printf("size            %zu bytes%s\n", image->Bytes().size(),
           image->IsRaw() ? ", without a trailer" : "");
    if (!image->IsRaw()) {
        Trailer const trailer = Trailer::Of(image->TrailerBytes());
        bool const isGood = trailer.Bytes(image->Blocks()) == image->TrailerBytes();
        printf("trailer         0x%08" PRIx32 " \"%s\", %s\n", trailer.word, Printable(trailer.text).c_str(),
               isGood ? "CRC good" : "damaged");
    }
    if (!table) return Complain(REFUSED, "there is no table in it; zebfw explain tells more");
    printf("table           at 0x%zx, %zu bytes in a block of 0x%zx, filled with 0x%zx\n", offset,
           table->length, table->Number(ZEB_FW_TAG_BLOCK_SIZE, 0), table->Number(ZEB_FW_TAG_FILL_BYTE, 0xFF));
    for (auto const& [tag, value] : table->tags)
        PrintTag(tag, value);
    return OK;
}

int Verify(Options const& options) {
    std::string bytes;
    if (!ReadFile(options.input, bytes)) return UNREADABLE;
    Dump const dump(options, options.isBlockGiven ? options.block : 0, bytes.size());
    if (!dump.done) return Complain(REFUSED, "%s (error %" PRIu32 ")", dump.error.message, dump.error.code);
    puts(STATUS[dump.status]);
    if (dump.info != nullptr)
        printf("signed by %s\nissued by %s\nserial %s, %s, SHA-256 %s\n", dump.info->subject,
               dump.info->issuer, dump.info->serial, dump.info->keyAlgorithm, dump.info->fingerprint);
    bool const isAsked = !options.authorities.empty();
    return dump.status == ZEB_FW_SIGNATURE_VALID || (!isAsked && dump.status != ZEB_FW_SIGNATURE_WRONG)
               ? OK
               : REFUSED;
}

int Extract(Options const& options) {
    std::optional<Image> image;
    if (!Load(options, image)) return UNREADABLE;
    std::size_t const offset = image->TableOffset();
    std::optional<Table> table;
    if (offset != std::string::npos) table = ParseTable(image->Blocks().substr(offset));
    std::size_t const block = table ? table->Number(ZEB_FW_TAG_BLOCK_SIZE, 0) : 0;
    if (block == 0) return Complain(REFUSED, "there is no table in it; zebfw explain tells more");
    if (options.tags.empty()) // the payload: all blocks but that of the table
        return WriteFile(options.output, std::string(image->Blocks()).erase(offset, block)) ? OK : UNREADABLE;
    std::string values;
    for (auto const& [tag, ignored] : options.tags) {
        if (table->tags.count(tag) == 0) return Complain(REFUSED, "there is no tag 0x%" PRIx32, tag);
        values += table->tags[tag];
    }
    return WriteFile(options.output, values) ? OK : UNREADABLE;
}

} // namespace Zebfw
