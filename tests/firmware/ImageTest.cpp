#include "tests/firmware/Rig.h"

#include "libzeb/zeb_crc.h"

#include <fcntl.h>

namespace {

using F = FirmwareImage;

TEST(FirmwareTags, AreNamedAndParsed) {
    std::string names, ids;
    for (unsigned tag = 0; tag < 0x20; ++tag)
        if (char const* const name = zeb_fw_tag_name(tag)) names += std::to_string(tag) + name + " ";
    EXPECT_EQ(names, "1hardware_id 3firmware_id 4customer 5device_manufacturer 8model_series 13vendor 14vendor_email "
                     "15vendor_short 16vendor_url 17version 18components ");
    EXPECT_STREQ(ZEB_FW_TAG_SET[0].name, "firmware_id");
    for (char const* const text : {"0X0123ABCD", "0123abcd", "0xffffFFFF", "0x123", "0123abcd0", "", "0", "0x", "0x0123abcg",
                                   "1x0123abcd", "0123abc", "0y0123abcd", "0x 123abcd"}) {
        unsigned id = 5;
        ids += zeb_fw_parse_firmware_id(text, strlen(text), &id) ? "good " : id == 0 ? "bad " : "kept ";
        if (id != 0) ids += std::to_string(id) + " ";
    }
    EXPECT_EQ(ids, "good 19114957 good 19114957 good 4294967295 bad bad bad bad bad bad bad bad bad bad ");
    char* const digits = zeb_fw_alloc_hex_string_("\x01\xAB\xFF", 3);
    char* const none = zeb_fw_alloc_hex_string_("", 0);
    EXPECT_EQ(std::string(digits) + none, "01:ab:ff");
    free(digits), free(none);
    EXPECT_EQ(zeb_fw_alloc_hex_string_("", 0x5555555555555556), nullptr);
}

TEST(FirmwareError, ComposesItsMessageAndItsCauses) {
    std::string const longest(1022, 'x'), longer(1023, 'x'), word(999, 'y');
    std::tuple<int, std::string, std::string> const rows[] = {
        // clang-format off
        {0, "plain", "plain"}, {ENOENT, "open", "open (no such file or directory)"}, {EIO, "read", "read (input/output error)"},
        {-1, "negative", "negative"}, {0, longest, longest}, {0, longer, longer.substr(0, 1018) + "[...]"},
        {ENOMEM, word, (word + " (cannot allocate memory").substr(0, 1018) + "[...]"},
        {99999, "odd", "odd (unknown error 99999)"}};
    // clang-format on
    for (auto const& [number, text, expected] : rows) {
        zeb_fw_error error;
        errno = number;
        EXPECT_FALSE(zeb_fw_error_sys_(&error, 7, "%s", text.c_str()));
        EXPECT_EQ(std::tuple(error.message, error.code, error.sysError, error.sslError), std::tuple(expected, 7u, number, 0u));
    }
}

TEST(FirmwareError, KeepsTheSystemsErrorOnlyIfOpensslNamesIt) {
    zeb_fw_error error;
    for (auto const& [library, reason] : {std::pair(ERR_LIB_PEM, 108), {ERR_LIB_SYS, 13}, {ERR_LIB_NONE, 0}}) {
        ERR_clear_error();
        if (library != ERR_LIB_NONE) ERR_put_error(library, 0, reason, "", 1), ERR_put_error(ERR_LIB_PEM, 0, 1, "", 1);
        unsigned long const first = ERR_peek_error();
        errno = ENOENT;
        EXPECT_FALSE(zeb_fw_error_openssl_(&error, 7, "text"));
        EXPECT_EQ(std::tuple(error.sslError, error.sysError, ERR_peek_error()),
                  std::tuple(first, library == ERR_LIB_SYS ? ENOENT : 0, 0ul));
        EXPECT_STREQ(error.message, library == ERR_LIB_SYS ? "text (no such file or directory)" : "text");
    }
    wchar_t const wrong[] = {0x7FFFFFFF, 0};
    EXPECT_FALSE(zeb_fw_error_(&error, 7, "%ls", wrong));
    EXPECT_STREQ(error.message, "(wrong format error)");
}

TEST(FirmwareFile, IsOpenedReadAndClosed) {
    TempDir const folder;
    std::string const path = folder.Write("name", "0123456789");
    int fd = -1;
    std::size_t size = 0;
    Calls calls;
    zeb_fw_error error;
    auto const said = [&](bool isDone) { return isDone ? "" : std::to_string(error.code) + " " + error.message; };
    auto const open = [&](char const* name) { return said(zeb_fw_open_(&error, name, 0, &fd, &size)); };
    auto const read = [&](unsigned long count) {
        char bytes[8];
        return read_all_(fd, bytes, 8) != count ? "count"
                                                : std::string(bytes, count) + (count == 8 ? "" : strerrorname_np(errno));
    };
    EXPECT_EQ(open(path.c_str()), "");
    EXPECT_TRUE(size == 10 && (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0);
    calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(3), Calls::Fail(EAGAIN), Calls::Short(1)});
    EXPECT_EQ(read(8), "01234567");
    EXPECT_EQ(read(2), "89EIO");
    calls.Script(SysCall::read, {Calls::Fail(EISDIR)});
    EXPECT_EQ(read(0), "EISDIR");
    int const old = fd;
    calls.Script(SysCall::close, {Calls::Fail(EINTR), Calls::Fail(EAGAIN), Calls::Real()});
    EXPECT_EQ(said(zeb_fw_close_(&error, &fd)), "");
    EXPECT_TRUE(fd == -1 && fcntl(old, F_GETFD) == -1);
    EXPECT_EQ(said(zeb_fw_close_(&error, nullptr)), "300 unexpected descriptor value");
    EXPECT_EQ(said(zeb_fw_close_(&error, &fd)), "301 unable to close a file (bad file descriptor)");
    EXPECT_EQ(open("/no/where"), "302 unable to open where (no such file or directory)");
    calls.Script(SysCall::fstat, {Calls::Fail(EIO)});
    EXPECT_EQ(open(path.c_str()), "303 unable to get a file size of name (input/output error)");
    calls.Script(SysCall::OPENSSL_init_crypto, {Calls::Return(0)});
    EXPECT_EQ(said(zeb_fw_init(&error)), "310 unable to initialize a crypto library");
    EXPECT_EQ(said(zeb_fw_init(&error)), "");
}

// What makes an image from good to bad, and what is said of it with its block size told. Searched for, some say 704.
TEST(FirmwareImage, IsRefusedForWhatIsWrongInIt) {
    constexpr char SIZE[] = "910 unable to read a block size (0x10000) from the TLV table";
    constexpr char JUNK[] = "911 a TLV table block has trailing junk bytes";
    constexpr char NO_DIGEST[] = "917 no digest name found in a TLV table";
    F const bare = F().Without(0x10001), digest = F(bare).With(0x10002).With(0x10004);
    std::string const rest(0x10000 - F::Table(".BEZ.VLT", F().tags).size() - 1, '\xFF');
    std::pair<F, char const*> const rows[] = {
        // clang-format off
        {F(), "done 2"}, {F().With(0x10007, F::Word(0xFF)), "done 2"}, {F().With(0x10007, "\x55\x55"), "done 2"},
        {F().Without(3), "done 2"}, {F().With(0x10005, F::Word(0x20000)), SIZE}, {F().With(0x10005, F::Word(0x30000)), SIZE},
        {F().With(0x10005, F::Word(0x10000) + "x"), SIZE}, {F().Without(0x10005), SIZE}, {F().With(0x10007, F::Word(0)), JUNK},
        {F().With(0x10007, F::Word(0x55)), "944 unable to read a fill byte (0x55) from the TLV table"}, {F().Follow("x"), JUNK},
        {F().Follow(rest + "x"), JUNK}, {F().Without(0x10003), NO_DIGEST}, {F().With(0x10003), NO_DIGEST},
        {F().With(0x10003, "sha255"), "919 unable to get a \"sha255\" digest object"},
        {F().With(0x10002), "920 unexpected builder certificate found in a TLV table"}, {digest, "done 3"},
        {F().With(0x10004), "921 unexpected digest found in a TLV table"},
        {bare, "923 no builder certificate found in a TLV table"},
        {F(bare).With(0x10002), "924 no digest found in a TLV table"},
        {F(digest).Without(3), "942 no firmware ID in the TLV table found"},
        {F(digest).With(3, "0x0A51"), "943 the firmware ID in the TLV table corrupted"}};
    // clang-format on
    TempDir const folder;
    for (auto const& [firmware, expected] : rows) {
        Ask ask{.file = folder.Write("image", firmware.File()), .blockSize = 0x10000};
        EXPECT_EQ(ask(), expected);
        ask.blockSize = 0;
        bool const isSearched = strstr("910 911 944 ", std::string(expected, 4).c_str()) != nullptr;
        EXPECT_EQ(ask(), isSearched ? "704 no TLV table found in a firmware file" : expected);
    }
}

TEST(FirmwareImage, IsRefusedForItsFrame) {
    TempDir const folder;
    std::string const good = F().File(), raw = good.substr(0, 0x400000), zeros(0x400000, '\0');
    auto const with = [&](std::size_t at, std::string const& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    auto const word = [&](std::size_t at, unsigned long value) { return with(at, F::LittleWord(value)); };
    std::string const header = "907 a firmware header corrupted", image = "908 a firmware image corrupted",
                      small = "305 firmware size 4194303 is less than 4194304",
                      large = "306 firmware size 134217729 is greater than 134217728";
    std::tuple<std::string, std::size_t, std::size_t, std::string> const rows[] = {
        // clang-format off
        {good, 0, 0, "done 2"}, {raw, 0x400000, 0, "done 2"}, {raw + good, 0x400000, 0x10000, "done 2"},
        {zeros, 0x400000, 0, "704 no TLV table found in a firmware file"}, {zeros, 0x400000, 0x80000, "909 no TLV table found"},
        {raw, 0, 0, "903 raw firmware size 4194244 is not aligned by a block size 0x10000"}, {raw.substr(1), 0, 0, small},
        {raw + zeros.substr(0, 0x10000), 0x410000, 0x20000,
         "903 raw firmware size 4259840 is not aligned by a block size 0x20000"}, {raw, 0x3FFFFF, 0, small},
        {raw, 0x8000001, 0, large}, {raw, 0x410000, 0, "906 unable to read a firmware block (input/output error)"},
        {with(0x400000, "wQRT"), 0, 0, header}, {with(0x400003, "t"), 0, 0, header}, {word(0x400004, 0), 0, 0, header},
        {word(0x400004, ~0U), 0, 0, header}, {word(0x400004, 1), 0, 0, "done 2"}, {with(0x400008, "N"), 0, 0, "done 2"},
        {with(0x400008, std::string(1, '\0')), 0, 0, header}, {with(0x400037, "x"), 0, 0, "done 2"},
        {word(0x400038, 0), 0, 0, image}, {with(0x3FFFFF, "x"), 0, 0, image}, {with(0, "xx"), 0, 0x10000, image}};
    // clang-format on
    for (auto const& [bytes, rawSize, blockSize, expected] : rows)
        EXPECT_EQ((Ask{.file = folder.Write("image", bytes), .blockSize = blockSize, .rawSize = rawSize}()), expected);
    std::string const sparse = folder.Write("large", ""), path = folder.Write("image", good);
    EXPECT_EQ(truncate(sparse.c_str(), 0x8000001), 0);
    EXPECT_EQ(Ask{.file = sparse}(), large);
    std::tuple<SysCall, int, unsigned, char const*> const calls[] = {
        // clang-format off
        {SysCall::lseek, ESPIPE, 1, "905 unable to seek to a firmware start (illegal seek)"},
        {SysCall::read, EISDIR, 65, "906 unable to read a firmware "}, {SysCall::close, EIO, 1, "301 unable to close a file"}};
    // clang-format on
    for (auto const& [call, error, count, expected] : calls) {
        unsigned const taken = ForEveryCall(call, Calls::Fail(error), [&, text = expected](auto const& arm) {
            arm();
            return Ask{.file = path}().starts_with(text);
        });
        EXPECT_EQ(taken, count) << expected;
    }
}

TEST(FirmwareImage, IsFoundWithItsTableAnywhere) {
    TempDir const folder;
    for (std::size_t const block : {0x10000, 0x20000, 0x80000})
        for (unsigned i = 0; i < 24; ++i) { // searched or told, raw or not, either fill byte, at three places
            bool const isSearched = i & 1, isRaw = i & 2;
            std::size_t const all = 0x400000 / block, place = std::array{0UL, 3UL, all - 1}[i / 8];
            F const image(block, place, i & 4 ? '\0' : '\xFF');
            std::size_t ahead = place; // blocks that hold no table, of this and of smaller sizes
            for (std::size_t const size : {0x10000, 0x20000}) ahead += isSearched && size < block ? place * block / size : 0;
            Dumped out;
            Ask{.file = folder.Write("image", isRaw ? image.Raw() : image.File()),
                .blockSize = isSearched ? 0 : block,
                .rawSize = isRaw ? image.size : 0}
                .Run(out);
            EXPECT_EQ(out.All(), "done 2 0x0A510100 5.02 none") << block << " " << i;
            EXPECT_EQ(out.steps, std::string(ahead, '0') + std::string(all - place + !isRaw, '1')) << block << " " << i;
        }
}

TEST(FirmwareImage, RefusesArgumentsThatMakeNoSense) {
    TempDir const folder;
    std::string const path = folder.Write("image", F().File());
    std::pair<Ask, char const*> const rows[] = {
        // clang-format off
        {{.file = ""}, "912 invalid firmware name"}, {{.file = path, .tags = {255, 0}}, "done 2"},
        {{.file = path, .blockSize = 1}, "910 invalid firmware block size 0x00000001"},
        {{.file = path, .blockSize = 0x40000}, "910 invalid firmware block size 0x00040000"},
        {{.file = path, .authorities = ""}, "914 invalid CA certificates directory name"},
        {{.file = path, .tags = {3, 256}}, "901 unable to get 0x00000100 non-user tag value"}};
    // clang-format on
    for (auto const& [ask, expected] : rows) EXPECT_EQ(ask(), expected);
    zeb_fw_error error;
    unsigned status;
    auto const dump = [&](char const* file, std::size_t tags) {
        bool const isDone = zeb_fw_dump(&error, file, 0, &status, 0, nullptr, tags, nullptr, nullptr, 0, nullptr, nullptr);
        EXPECT_EQ(isDone, error.code == 0);
        return std::to_string(error.code) + " " + error.message + std::to_string(status);
    };
    EXPECT_EQ(dump(nullptr, 0), "912 invalid firmware name3");
    EXPECT_TRUE(dump(path.c_str(), 1).ends_with(" invalid TLV set3"));
    EXPECT_EQ(dump(path.c_str(), 0), "0 2");
}

} // namespace
