// Runs the real program on files.
#include "workbench/Child.h"
#include "workbench/TempDir.h"

namespace {

Child Probe(std::vector<std::string> const& words, std::string const& paths) {
    return Child::Program(Child::Built("zebprobe", words), paths);
}

struct Row {
    std::vector<std::string> words;
    std::string text;
    char const* expected; // the line behind the path
};

Row const ROWS[] = {
    // clang-format off
    {{"json", "any"}, "{\"a\":[1,-5,1.5,true,null,\"x\\u0001\\n\\\"\"]}",
     R"(00380064	{"a":[3ff:1,155:-5,400:0x1.8p+0,true,null,"x\x01\n\""]})"},
    {{"json", "any"}, "18446744073709551615", "00380064\t280:18446744073709551615"},
    {{"json", "any"}, "\"\xC3\xA4\"", R"(00380064	"\xc3\xa4")"},
    {{"json", "any", "--prefixes"}, "[1]", "00380064\t00380064:1 80380073:1 80380077:1 8038007a:1"},
    {{"json", "container"}, "12", "80380078\t"}, {{"json", "any"}, "", "80380077\t"},
    {{"json-print", "compact"}, "[1, {\"a\" : 2.5}]", R"(00380064	"[1,{\"a\":2.5}]")"},
    {{"json-print", "indent", "--split", "1"}, "[1]", R"(00380064	"[\n  1\n]")"},
    {{"xml", "0"}, "<a b='1'>x<c/></a>", R"(00370001	(0 "" "" (1 "a" "x" @"b"="1" (2 "" "x") (1 "c" ""))))"},
    {{"xml", "0x40"}, "<!--y--><a/>", R"(00370001	(0 "" "" (4 "" "y") (1 "a" "")))"}, {{"xml", "512"}, "<a></b>", "80370004\t"},
    {{"xml-print", "0", "1"}, "<a> <b>&#65;</b> </a>", R"(00370001	"<a><b>A</b></a>")"},
    {{"xml-packed"}, "<?p q?><a b='1'>x<c/></a>", "00370001\tsame, 64 bytes"},
    {{"xml-packed", "--split", "3"}, "<?p q?><a b='1'>x<c/></a>", "00370001\tsame, 64 bytes"},
    {{"date", "0", "gmt"}, "Sun,  6 Nov 1994 08:49:37 GMTx",
     "00fb0002\t29 bytes 784111777000000 us \"Sun,  6 Nov 1994 08:49:37 GMT\""},
    {{"date", "8", "gmt"}, "24:00", "80fb0007\t0 bytes"}, {{"date", "0", "local"}, "x", "80fb0001\t0 bytes"},
    {{"span"}, "-0.5", "0fff0000\t-0.500000"}, {{"span"}, "1.x", "cffd0000\t"},
    {{"int", "char", "hex"}, "ff", "0fff0000\t-1 0xff"}, {{"int", "ushort", "decimal"}, "65536", "cffd0000\t"},
    {{"int", "long", "decimal"}, "-9223372036854775808", "0fff0000\t-9223372036854775808 0x8000000000000000"},
    {{"ip4"}, "192.168.0.1", "0fff0000\t192.168.0.1"}, {{"ip4"}, "1.2.3.4\n", "cffd0000\t"},
    {{"ip6"}, "20010DB8000000000000000000000001", "0fff0000\t2001:db8::1"},
    {{"block4"}, "10.0.0.1/255.255.0.0", "0fff0000\t10.0.0.1/16"}, {{"block6"}, "FE80:0::1/64", "0fff0000\tfe80::1/64"},
    {{"prefix6"}, "fe80::1/64", "cffd0000\t"}, {{"prefix6"}, "fe80::/64", "0fff0000\tfe80::/64"},
    {{"mac"}, "AA:bb:CC:00:11:22", "0fff0000\taa:bb:cc:00:11:22"}, {{"domain"}, "a-1.example", "0fff0000\ta-1.example"},
    {{"domain"}, "a..b", "cffd0000\t"}, {{"punycode"}, "mnchen-3ya", R"(0fff0000	"m\xc3\xbcnchen")"},
    {{"uri"}, "http://h/?q #", R"(0fff0000	scheme="http" authority="h" path="/" query="q")"},
    {{"uri"}, std::string(1, '\0'), "cffd0000\t"},
    {{"authority"}, "u:p%40@[::1]:80", R"(0fff0000	user="u" password="p@" host="::1" port="80")"},
    {{"authority"}, ":80", "cffd0000\t"},
    {{"transcode", "utf-8", "utf-16be", "0"}, "a\xC3\xA4", R"(005a0064	3 bytes "\x00a\x00\xe4")"},
    {{"transcode", "iso-8859-1", "utf-8", "2"}, "a\xE4", R"(005a0064	2 bytes "a?")"},
    {{"transcode", "utf-16le", "utf-32be", "0"}, "a", "805a0064\t0 bytes \"\""},
    {{"version"}, "4.02.C.1.0-3", "0fff0000\t4.2.C.1.0-3"}, {{"version"}, "4.02", "cffd0000\t"},
    {{"maps"}, "1-2 r--p 0 0:0 0 /a b\nff-100 rw-p 0 0:0 0\n", "0fff0000\t1:\"/a b\" ff:\"\""},
    {{"maps"}, "1-2 r--p 0 0:0\n", "cffd0054\t"},
    {{"kstack", "--split", "3"}, "[<0>] f+0xa/0xb [m]\n[<1f>] 0x12\n", R"(0fff0000	0:"f"+a["m"] 1f:"0x12"+0)"},
    {{"kstack"}, "[<0>] f+a\n", "cffd0054\t"},
    {{"usb"}, "/sys/devices/x/usb1/1-1/1-1.2/1-1.2.3:1.0",
     "0fff0000\tbus 1 ports 1.2.3 configuration 1 interface 0 case \"1/3\""},
    {{"path"}, "/a/./b//../c/", "0fff0000\t\"/a/c\""}, {{"path"}, "/..", "cffd0000\t"},
    {{"devices", "skip"}, "net d\ntty c 5 0 1\npts d\nsda b 8 0\nx\nl s 0 0", "00340001\tnet/ tty(c666,5:0) sda(b600,8:0) l(s600,0:0)"},
    {{"devices", "create"}, "pts/0 c 136 0", "00340001\tpts/0(c600,136:0)"},
    {{"usb"}, "/sys/usb1", "cffd0000\t"}, {{"hash", "md4"}, "abc", "0fff0000\ta448017aaf21d8525fc10ae87aa6729d"},
    {{"hash", "md5", "--split", "2"}, "abc", "0fff0000\t900150983cd24fb0d6963f7d28e17f72"},
    {{"hash", "sha1"}, "abc", "0fff0000\ta9993e364706816aba3e25717850c26c9cd0d89d"},
    {{"hash", "sha256"}, "", "0fff0000\te3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {{"hash", "lm"}, "password", "0fff0000\te52cac67419a9a224a3b108f3fa6cb6d"}, {{"hash", "lm"}, "123456789012345", "cffd0000\t"},
    {{"hash", "crc32", "--split", "1"}, "abc", "0fff0000\t352441c2"}, {{"hash", "crc16"}, "a", "0fff0000\t9eff"},
    {{"siphash48", "0123456789abcdef"}, "abc", "0fff0000\t07b485d0a12c01aa"},
    {{"siphash24"}, "abc", "0fff0000\t61bc94041efa5d65"}, {{"murmur", "0"}, "ab", "0fff0000\t9bbfd75f"},
    {{"b64", "enc", "url"}, "\xFF\xFE", "0fff0000\t__4"}, {{"b64", "dec", "standard"}, "//4=", R"(0fff0000	"\xff\xfe")"},
    {{"b64", "dec", "standard"}, "A", "cffd0000\t"}, {{"scramble", "enc"}, "secret", "0fff0000\tNYG+QV58TUpuNUrgDgbgzZZq"},
    {{"scramble", "dec"}, "NYG+QV58TUpuNUrgDgbgzZZq", R"(0fff0000	"secret")"}, {{"scramble", "dec"}, "NYG+", "cffd0000\t"},
    // clang-format on
};

TEST(ZebprobeTest, EachVerbTellsCodeAndResult) {
    TempDir const dir;
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::PrintToString(row.words) + " " + row.text);
        std::string const path = dir.Write("file", row.text);
        Child const child = Probe(row.words, path + "\n");
        EXPECT_EQ(child.Output(), path + "\t" + row.expected + "\n");
        EXPECT_EQ(child.ExitCode(), 0) << child;
    }
}

TEST(ZebprobeTest, AFileThatCannotBeReadIsALineAndAnExitCode) {
    TempDir const dir;
    std::string const path = dir.Write("file", "1");
    Child const child = Probe({"json", "any"}, dir.Path() + "\n/nowhere\n" + path + "\n");
    EXPECT_EQ(child.Output(), dir.Path() + "\t--------\tcannot read: Is a directory\n" +
                                  "/nowhere\t--------\tcannot read: No such file or directory\n" + path + "\t00380064\t3ff:1\n");
    EXPECT_EQ(child.ExitCode(), 1);
}

TEST(ZebprobeTest, LogShowsWhatTheLibraryHasToSay) {
    TempDir const dir;
    std::string const path = dir.Write("file", "<a>");
    Child const child = Probe({"xml", "0", "--log"}, path);
    EXPECT_NE(child.Output().find("unexpected end of stream"), std::string::npos) << child;
    EXPECT_EQ(Probe({"xml", "0"}, path).Output(), path + "\t80370002\t\n");
    EXPECT_EQ(Probe({"ip4", "--text", "1.2.3.4"}, path).Output(), "--text\t0fff0000\t1.2.3.4\n"); // no files
}

TEST(ZebprobeTest, AWrongCommandIsToldWithExitCode2) {
    std::pair<std::vector<std::string>, char const*> const rows[] = {
        // clang-format off
        {{}, "a verb is missing"}, {{"frob"}, "unknown verb 'frob'"}, {{"json"}, "usage: zebprobe json any|container"},
        {{"json", "some"}, "'any' or 'container'"}, {{"json-print", "any"}, "'compact' or 'indent'"},
        {{"xml", "0x1000"}, "FLAGS is a number"}, {{"xml-print", "0", "-"}, "PRINTFLAGS is a number"},
        {{"date", "23", "gmt"}, "FORMAT is a number"}, {{"date", "1", "utc"}, "MODE is"}, {{"int", "byte", "hex"}, "TYPE is"},
        {{"int", "int", "octal"}, "FORMAT is"}, {{"transcode", "utf-8", "utf-7", "0"}, "FROM and TO are"},
        {{"transcode", "utf-8", "utf-8", "8"}, "FLAGS is"}, {{"hash", "sha512"}, "ALG is"}, {{"siphash48", "short"}, "KEY has"},
        {{"murmur", "0x100000000"}, "SEED is"}, {{"b64", "enc", "mime"}, "FORMAT is"}, {{"scramble", "both"}, "'enc' or 'dec'"},
        {{"span", "--split", "0"}, "--split takes"}, {{"span", "--what"}, "--what"},
        // clang-format on
    };
    for (auto const& [words, message] : rows) {
        Child const child = Probe(words, "");
        EXPECT_EQ(child.ExitCode(), 2) << child;
        EXPECT_NE(child.Errors().find(message), std::string::npos) << message << "\n" << child;
    }
    for (char const* const word : {"--help", "help"}) {
        Child const help = Probe({word}, "");
        EXPECT_EQ(help.ExitCode(), 0) << help;
        EXPECT_NE(help.Output().find("xml-print FLAGS PRINTFLAGS"), std::string::npos) << help;
    }
}

} // namespace
