#include "tests/firmware/Rig.h"

#include "libzeb/zeb_crc.h"

#include <fcntl.h>

namespace {

// One operation below zeb_fw_dump(): what it says, or "".
std::string Said(std::function<bool(zeb_fw_error*)> const& operation) {
    zeb_fw_error error = {};
    return operation(&error) ? "" : std::to_string(error.code) + " " + error.message;
}

TEST(FirmwareTags, AreNamedAndParsed) {
    std::string names;
    for (unsigned tag = 0; tag < 0x20; ++tag)
        if (char const* const name = zeb_fw_tag_name(tag)) names += std::to_string(tag) + name + " ";
    EXPECT_EQ(names,
              "1hardware_id 3firmware_id 4customer 5device_manufacturer 8model_series 13vendor 14vendor_email 15vendor_short "
              "16vendor_url 17version 18components ");
    EXPECT_STREQ(ZEB_FW_TAG_SET[0].name, "firmware_id");
    std::pair<char const*, unsigned> const rows[] = {{"0X0123ABCD", 0x123ABCD},
                                                     {"0123abcd", 0x123ABCD},
                                                     {"0xffffFFFF", ~0U},
                                                     {"0x123", 0},
                                                     {"0123abcd0", 0},
                                                     {"", 0},
                                                     {"0", 0},
                                                     {"0x", 0},
                                                     {"0x0123abcg", 0},
                                                     {"1x0123abcd", 0},
                                                     {"0123abc", 0},
                                                     {"0y0123abcd", 0},
                                                     {"0x 123abcd", 0}};
    for (auto const& [text, expected] : rows) {
        unsigned id = 5;
        EXPECT_EQ(zeb_fw_parse_firmware_id(text, strlen(text), &id), expected != 0) << text;
        EXPECT_EQ(id, expected) << text;
    }
    char* const digits = zeb_fw_alloc_hex_string_("\x01\xAB\xFF", 3);
    char* const none = zeb_fw_alloc_hex_string_("", 0);
    EXPECT_EQ(std::string(digits) + none, "01:ab:ff");
    free(digits), free(none);
    EXPECT_EQ(zeb_fw_alloc_hex_string_("", 0x5555555555555556), nullptr);
}

TEST(FirmwareError, ComposesItsMessageAndItsCauses) {
    std::string const longest(1022, 'x'), longer(1023, 'x');
    std::tuple<int, std::string, std::string> const rows[] = {
        // clang-format off
        {0, "plain", "plain"}, {ENOENT, "open", "open (no such file or directory)"}, {EIO, "read", "read (input/output error)"},
        {-1, "negative", "negative"}, {0, longest, longest}, {0, longer, longer.substr(0, 1018) + "[...]"},
        {ENOMEM, std::string(999, 'y'), std::string(999, 'y') + " (cannot allocate memory"}, {99999, "odd",
         "odd (unknown error 99999)"}};
    // clang-format on
    for (auto const& [number, text, expected] : rows) {
        zeb_fw_error error;
        errno = number;
        EXPECT_FALSE(zeb_fw_error_sys_(&error, 7, "%s", text.c_str()));
        bool const isCut = expected.size() > 1022;
        EXPECT_EQ(error.message, isCut ? expected.substr(0, 1018) + "[...]" : expected);
        EXPECT_TRUE(error.code == 7 && error.sysError == number && error.sslError == 0);
    }
}

TEST(FirmwareError, KeepsTheSystemsErrorOnlyIfOpensslNamesIt) {
    std::tuple<int, int, int> const rows[] = {{ERR_LIB_PEM, 108, 0}, {ERR_LIB_SYS, 13, ENOENT}, {ERR_LIB_NONE, 0, 0}};
    for (auto const& [library, reason, expected] : rows) {
        ERR_clear_error();
        if (library != ERR_LIB_NONE) ERR_put_error(library, 0, reason, "", 1), ERR_put_error(ERR_LIB_PEM, 0, 1, "", 1);
        unsigned long const first = ERR_peek_error();
        zeb_fw_error error;
        errno = ENOENT;
        EXPECT_FALSE(zeb_fw_error_openssl_(&error, 7, "text"));
        EXPECT_TRUE(error.sysError == expected && error.sslError == first && ERR_peek_error() == 0) << library;
        EXPECT_STREQ(error.message, expected == 0 ? "text" : "text (no such file or directory)");
    }
    zeb_fw_error error;
    wchar_t const wrong[] = {0x7FFFFFFF, 0};
    EXPECT_FALSE(zeb_fw_error_(&error, 7, "%ls", wrong));
    EXPECT_STREQ(error.message, "(wrong format error)");
}

TEST(FirmwareFile, IsOpenedReadAndClosed) {
    TempDir const folder;
    std::string const path = folder.Write("name", "0123456789");
    int fd = -1;
    std::size_t size = 0;
    EXPECT_EQ(Said([&](auto* error) { return zeb_fw_open_(error, path.c_str(), 0, &fd, &size); }), "");
    EXPECT_TRUE(size == 10 && (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0);
    Calls calls;
    char bytes[20];
    calls.Script(SysCall::read, {Calls::Fail(EINTR), Calls::Short(3), Calls::Fail(EAGAIN), Calls::Short(1)});
    EXPECT_TRUE(read_all_(fd, bytes, 8) == 8 && memcmp(bytes, "01234567", 8) == 0);
    EXPECT_TRUE(read_all_(fd, bytes, 8) == 2 && errno == EIO);
    calls.Script(SysCall::read, {Calls::Fail(EISDIR)});
    EXPECT_TRUE(read_all_(fd, bytes, 8) == 0 && errno == EISDIR);
    int const old = fd;
    calls.Script(SysCall::close, {Calls::Fail(EINTR), Calls::Fail(EAGAIN), Calls::Real()});
    EXPECT_EQ(Said([&](auto* error) { return zeb_fw_close_(error, &fd); }), "");
    EXPECT_TRUE(fd == -1 && fcntl(old, F_GETFD) == -1);
    EXPECT_EQ(Said([&](auto* error) { return zeb_fw_close_(error, nullptr); }), "300 unexpected descriptor value");
    EXPECT_EQ(Said([&](auto* error) { return zeb_fw_close_(error, &fd); }), "301 unable to close a file (bad file descriptor)");
    EXPECT_EQ(Said([&](auto* error) { return zeb_fw_open_(error, "/no/where", 1, &fd, &size); }),
              "302 unable to open where (no such file or directory)");
    calls.Script(SysCall::fstat, {Calls::Fail(EIO)});
    EXPECT_EQ(Said([&](auto* error) { return zeb_fw_open_(error, path.c_str(), 0, &fd, &size); }),
              "303 unable to get a file size of name (input/output error)");
    calls.Script(SysCall::OPENSSL_init_crypto, {Calls::Return(0)});
    EXPECT_EQ(Said([](auto* error) { return zeb_fw_init(error); }), "310 unable to initialize a crypto library");
    EXPECT_EQ(Said([](auto* error) { return zeb_fw_init(error); }), "");
}

// What makes an image from good to bad, and what is said of it with its block size told. Searched for, some say 704.
TEST(FirmwareImage, IsRefusedForWhatIsWrongInIt) {
    using F = Firmware;
    auto const tag = [](unsigned which, std::string const& value) { return [=](F& f) { f.tags[which] = value; }; };
    auto const gone = [](unsigned which) { return [=](F& f) { f.tags.erase(which); }; };
    std::pair<std::function<void(F&)>, char const*> const rows[] = {
        // clang-format off
        {[](F&) {}, "done 2"}, {tag(0x10007, Word(0xFF)), "done 2"}, {tag(0x10007, "\x55\x55"), "done 2"}, {gone(3), "done 2"},
        {tag(0x10005, Word(0x20000)), "910 unable to read a block size (0x10000) from the TLV table"},
        {tag(0x10005, Word(0x30000)), "910 unable to read a block size (0x10000) from the TLV table"},
        {tag(0x10005, Word(0x10000) + "x"), "910 unable to read a block size (0x10000) from the TLV table"},
        {gone(0x10005), "910 unable to read a block size (0x10000) from the TLV table"},
        {tag(0x10007, Word(0x55)), "944 unable to read a fill byte (0x55) from the TLV table"},
        {tag(0x10007, Word(0)), "911 a TLV table block has trailing junk bytes"},
        {[](F& f) { f.behind = "x"; }, "911 a TLV table block has trailing junk bytes"},
        {[](F& f) { f.behind.assign(0x10000 - f.Table().size() - 1, f.fill) += 'x'; },
         "911 a TLV table block has trailing junk bytes"},
        {gone(0x10003), "917 no digest name found in a TLV table"}, {tag(0x10003, ""), "917 no digest name found in a TLV table"},
        {tag(0x10003, "sha255"), "919 unable to get a \"sha255\" digest object"},
        {tag(0x10002, ""), "920 unexpected builder certificate found in a TLV table"},
        {tag(0x10004, ""), "921 unexpected digest found in a TLV table"},
        {gone(0x10001), "923 no builder certificate found in a TLV table"},
        {[](F& f) { f.tags.erase(0x10001), f.tags[0x10002]; }, "924 no digest found in a TLV table"},
        {[](F& f) { f.tags.erase(0x10001), f.tags.erase(3), f.tags[0x10002], f.tags[0x10004]; },
         "942 no firmware ID in the TLV table found"},
        {[](F& f) { f.tags.erase(0x10001), f.tags[3] = "0x0A51", f.tags[0x10002], f.tags[0x10004]; },
         "943 the firmware ID in the TLV table corrupted"},
        {[](F& f) { f.tags.erase(0x10001), f.tags[0x10002], f.tags[0x10004]; }, "done 3"}};
    // clang-format on
    TempDir const folder;
    for (auto const& [damage, expected] : rows) {
        F firmware;
        damage(firmware);
        Ask ask{.file = folder.Write("image", firmware.File()), .blockSize = 0x10000};
        EXPECT_EQ(ask(), expected);
        ask.blockSize = 0;
        bool const isSearched =
            *expected == '9' && strchr("14", expected[1]) != nullptr && strstr("910 911 944 ", std::string(expected, 4).c_str());
        EXPECT_EQ(ask(), isSearched ? "704 no TLV table found in a firmware file" : expected);
    }
}

TEST(FirmwareImage, IsRefusedForItsFrame) {
    TempDir const folder;
    std::string const good = Firmware().File(), raw = good.substr(0, 0x400000);
    auto const with = [&](std::size_t at, std::string const& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    std::string const corrupted = "907 a firmware header corrupted", zeros(0x400000, '\0');
    std::tuple<std::string, std::size_t, std::size_t, std::string> const rows[] = {
        // clang-format off
        {good, 0, 0, "done 2"}, {raw, 0x400000, 0, "done 2"}, {raw + good, 0x400000, 0x10000, "done 2"},
        {zeros, 0x400000, 0, "704 no TLV table found in a firmware file"}, {zeros, 0x400000, 0x80000, "909 no TLV table found"},
        {raw, 0, 0, "903 raw firmware size 4194244 is not aligned by a block size 0x10000"},
        {raw + zeros.substr(0, 0x10000), 0x410000, 0x20000,
         "903 raw firmware size 4259840 is not aligned by a block size 0x20000"},
        {raw.substr(1), 0, 0, "305 firmware size 4194303 is less than 4194304"}, {raw, 0x3FFFFF, 0,
         "305 firmware size 4194303 is less than 4194304"},
        {raw, 0x8000001, 0, "306 firmware size 134217729 is greater than 134217728"},
        {raw, 0x410000, 0, "906 unable to read a firmware block (input/output error)"},
        {with(0x400000, "wQRT"), 0, 0, corrupted}, {with(0x400003, "t"), 0, 0, corrupted}, {with(0x400004, LittleWord(0)), 0, 0,
         corrupted},
        {with(0x400004, LittleWord(~0U)), 0, 0, corrupted}, {with(0x400004, LittleWord(1)), 0, 0, "done 2"},
        {with(0x400008, std::string(1, '\0')), 0, 0, corrupted}, {with(0x400008, "N"), 0, 0, "done 2"}, {with(0x400037, "x"), 0,
         0, "done 2"},
        {with(0x400038, LittleWord(0)), 0, 0, "908 a firmware image corrupted"}, {with(0x3FFFFF, "x"), 0, 0,
         "908 a firmware image corrupted"},
        {with(0, "xx"), 0, 0x10000, "908 a firmware image corrupted"}};
    // clang-format on
    for (auto const& [bytes, rawSize, blockSize, expected] : rows)
        EXPECT_EQ((Ask{.file = folder.Write("image", bytes), .blockSize = blockSize, .rawSize = rawSize}()), expected);
    std::string const large = folder.Write("large", "");
    EXPECT_EQ(truncate(large.c_str(), 0x8000001), 0);
    EXPECT_EQ(Ask{.file = large}(), "306 firmware size 134217729 is greater than 134217728");
    std::string const path = folder.Write("image", good);
    std::tuple<SysCall, Calls::Step, unsigned, std::string> const calls[] = {
        {SysCall::lseek, Calls::Fail(ESPIPE), 1, "905 unable to seek to a firmware start (illegal seek)"},
        {SysCall::read, Calls::Fail(EISDIR), 65, "906 unable to read a firmware "},
        {SysCall::close, Calls::Fail(EIO), 1, "301 unable to close a file"}};
    for (auto const& [call, step, count, expected] : calls) {
        std::string said;
        unsigned const taken = ForEveryCall(call, step, [&, &text = expected](auto const& arm) {
            arm();
            said = Ask{.file = path}();
            return said.starts_with(text);
        });
        EXPECT_EQ(taken, count) << said;
    }
}

TEST(FirmwareImage, IsFoundWithItsTableAnywhere) {
    TempDir const folder;
    for (std::size_t const block : {0x10000, 0x20000, 0x80000})
        for (char const fill : {'\xFF', '\0'})
            for (std::size_t const place : {0UL, 3UL, 0x400000 / block - 1}) {
                SCOPED_TRACE(std::to_string(block) + " " + std::to_string(place));
                Firmware const firmware(block, place, fill);
                folder.Write("image", firmware.File()), folder.Write("raw", firmware.Raw());
                std::size_t const all = 0x400000 / block;
                std::size_t ahead = place; // blocks that hold no table, of this and of smaller sizes
                for (bool const isSearched : {false, true})
                    for (bool const isRaw : {false, true}) {
                        Ask const ask{.file = folder / (isRaw ? "raw" : "image"),
                                      .blockSize = isSearched ? 0 : block,
                                      .rawSize = isRaw ? 0x400000UL : 0};
                        Dumped out;
                        ask.Run(out);
                        ahead = place;
                        for (std::size_t size : {0x10000, 0x20000})
                            ahead += isSearched && size < block ? place * block / size : 0;
                        EXPECT_EQ(out.Said() + std::to_string(out.status), "0 2");
                        EXPECT_EQ(out.steps, (ahead != 0 ? "0x" + std::to_string(ahead) + " " : "") + "1x" +
                                                 std::to_string(all - place + !isRaw) + " ");
                        EXPECT_EQ(out.Tag(0) + " " + out.Tag(1) + " " + out.Tag(2), "0x0A510100 5.02 none");
                    }
            }
}

TEST(FirmwareImage, RefusesArgumentsThatMakeNoSense) {
    TempDir const folder;
    std::string const path = folder.Write("image", Firmware().File());
    std::pair<Ask, char const*> const rows[] = {
        // clang-format off
        {{.file = ""}, "912 invalid firmware name"}, {{.file = path, .blockSize = 1},
         "910 invalid firmware block size 0x00000001"},
        {{.file = path, .blockSize = 0x40000}, "910 invalid firmware block size 0x00040000"}, {{.file = path, .authorities = ""},
         "914 invalid CA certificates directory name"},
        {{.file = path, .tags = {3, 256}}, "901 unable to get 0x00000100 non-user tag value"}, {{.file = path, .tags = {255, 0}},
         "done 2"}};
    // clang-format on
    for (auto const& [ask, expected] : rows) EXPECT_EQ(ask(), expected);
    zeb_fw_error error;
    unsigned status;
    EXPECT_FALSE(zeb_fw_dump(&error, nullptr, 0, &status, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(error.code, 912u);
    EXPECT_FALSE(zeb_fw_dump(&error, path.c_str(), 0, &status, 0, nullptr, 1, nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_STREQ(error.message, "invalid TLV set");
    EXPECT_TRUE(zeb_fw_dump(&error, path.c_str(), 0, &status, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_TRUE(status == 2 && error.code == 0);
}

} // namespace
