// Runs the real program.
#include "workbench/Certificates.h"
#include "workbench/Child.h"

#include <filesystem>

namespace {

constexpr char LEAF[] = "keyUsage=digitalSignature\nextendedKeyUsage=codeSigning\nbasicConstraints=CA:FALSE";

struct Bench : Certificates {
    TempDir folder;
    std::string const payload = folder.Write("payload", std::string(3000000, static_cast<char>(112)).append("end"));

    Bench() {
        Make({.name = "root", .extensions = CA});
        Make({.name = "leaf", .issuer = "root", .extensions = LEAF});
        Make({.name = "wrong", .issuer = "root", .extensions = "basicConstraints=CA:FALSE"});
        Folder("ca");
        folder.Write("ca/root", Read("root.pem"));
    }
    std::string Folder(std::string const& name) const {
        std::filesystem::create_directory(folder / name);
        return folder / name;
    }
    Child Run(std::vector<std::string> arguments) const { return Child::Program(Child::Built("zebfw", arguments)); }
    // The exit code, and what it printed.
    std::string operator()(std::vector<std::string> const& arguments) const {
        Child const child = Run(arguments);
        return std::to_string(child.ExitCode()) + " " + child.Output() + child.Errors();
    }
    std::string Image(std::vector<std::string> more = {}) const {
        more.insert(more.begin(),
                    {"make", "-o", folder / "image", "--tag", "firmware_id=0x0a510100", "--tag", "version=5.02", payload});
        EXPECT_EQ((*this)(more), "0 ");
        return folder / "image";
    }
    std::string Signed(std::string const& image, std::string const& name = "leaf", std::string const& digest = "sha256") const {
        EXPECT_EQ((*this)({"sign", "-o", folder / "signed", "--key", Path(name + ".key"), "--certificates", Path(name + ".pem"),
                           "--digest", digest, image}),
                  "0 ");
        return folder / "signed";
    }
};

TEST(Zebfw, MakesImagesThatTheLibraryTakes) {
    ZEB_NEED_OPENSSL();
    Bench const bench;
    for (std::size_t const block : {0x10000, 0x20000, 0x80000})
        for (char const* const fill : {"0", "0xff"}) {
            std::size_t const at = fill[1] == 'x' ? 0 : block == 0x20000 ? 2 : 0x400000 / block - 1;
            std::string const image = bench.Image({"--block", std::to_string(block), "--fill", fill, "--at", std::to_string(at)});
            EXPECT_EQ(bench({"verify", image}), "0 the image is unsigned\n");
            std::string const made = bench.Signed(image, "leaf", block == 0x20000 ? "sha512" : "sha256");
            EXPECT_TRUE(bench({"verify", "--ca", bench.folder / "ca", "--revocation", made})
                            .starts_with("0 the signature is valid\nsigned by /CN=leaf\n"));
            EXPECT_EQ(bench({"extract", "-o", bench.folder / "out", made}), "0 ");
            EXPECT_TRUE(bench.folder.Read("out").starts_with(bench.folder.Read("payload")));
        }
    std::string const raw = bench.Signed(bench.Image());
    EXPECT_EQ(bench({"extract", "-o", bench.folder / "out", "--tag", "version", "--tag", "0x10003", raw}), "0 ");
    EXPECT_EQ(bench.folder.Read("out"), "5.02sha256");
    std::string const info = bench({"info", raw});
    for (char const* const part :
         {"0 size            4194364 bytes\n", "trailer         0x00000001 \"firmware\", CRC good\n", "table           at 0x0, ",
          "  0x3     firmware_id         0x0a510100\n", "  0x10002 certificates        "})
        EXPECT_NE(info.find(part), std::string::npos) << info;
    EXPECT_EQ(bench({"verify", "--raw", bench.folder.Write("raw", bench.folder.Read("signed").substr(0, 0x400000))}),
              "0 the signature was not checked\n");
    EXPECT_NE(bench({"verify", "--progress", raw}).find("] 100 %"), std::string::npos);
    EXPECT_EQ(bench({"make", "-o", "/no/where", bench.payload}), "3 zebfw: cannot write /no/where: No such file or directory\n");
    EXPECT_TRUE(bench({"make", "-o", "x", "--at", "0x800", bench.payload}).starts_with("1 zebfw: the image would have"));
    EXPECT_TRUE(bench({"sign", "-o", "x", "--key", bench.Path("leaf.key"), "--certificates", bench.Path("root.pem"), raw})
                    .starts_with("1 zebfw: none of the"));
    for (std::vector<std::string> const& wrong : {std::vector<std::string>{},
                                                  {"make"},
                                                  {"look", "x"},
                                                  {"make", "--fill", "7", "x"},
                                                  {"make", "--block", "5", "x"},
                                                  {"make", "--tag", "colour=red", "x"},
                                                  {"make", "--word", "0", "x"},
                                                  {"make", "--odd", "x"}})
        EXPECT_EQ(bench.Run(wrong).ExitCode(), 2);
}

TEST(Zebfw, ExplainsWhyAnImageIsRefused) {
    ZEB_NEED_OPENSSL();
    Bench const bench;
    std::string const path = bench.Signed(bench.Image({"--at", "1"})), good = bench.folder.Read("signed");
    std::size_t const used = (static_cast<unsigned char>(good[0x1000A]) << 8) + static_cast<unsigned char>(good[0x1000B]);
    std::tuple<std::size_t, std::string, std::string> const rows[] = {
        // what is written where; what is said
        // clang-format off
        {0x400038, "xx", "error: 908, a firmware image corrupted\n  where: offset 4194360 (0x400038)"},
        {0x400001, "x", "error: 907, a firmware header corrupted\n  where: offset 4194304 (0x400000)"},
        {0x400008, std::string(1, '\0'), "error: 907, a firmware header corrupted\n  where: offset 4194312 (0x400008)"},
        {0x10020, "x", "there is the magic of a table, but no table\n  where: offset 65548 (0x1000c)\n  why:   its CRC"},
        {0x10008, "x", "there is the magic of a table, but no table\n  where: offset 65544 (0x10008)\n  why:   its length"},
        {0x10000 + used + 7, "x",
         "error: 911, a TLV table block has trailing junk bytes\n  where: offset " + std::to_string(0x10000 + used + 7)},
        {0, "", "the image is good, and its signature valid"}};
    // clang-format on
    for (auto const& [at, bytes, expected] : rows) {
        bench.folder.Write("bad", std::string(good).replace(at, bytes.size(), bytes));
        std::string const said = bench({"explain", "--ca", bench.folder / "ca", bench.folder / "bad"});
        EXPECT_NE(said.find(expected), std::string::npos) << said;
        EXPECT_EQ(said[0], bytes.empty() ? '0' : '1');
    }
    auto const says = [&](std::vector<std::string> const& arguments, char const* expected) {
        std::string const said = bench(arguments);
        EXPECT_NE(said.find(expected), std::string::npos) << said;
    };
    std::string const cut = bench.folder.Write("cut", good.substr(0, 0x400000)), ca = bench.folder / "ca";
    says({"explain", cut}, "1 the image is refused\n  error: 903, raw firmware size 4194244 is not aligned by a block size "
                           "0x10000\n  where: offset 4194304");
    says({"explain", "--raw", cut}, "0 the image is good as far as can be told without authorities");
    says({"explain", bench.Image()}, "0 the image is good, and not signed");
    says({"explain", "--ca", ca, bench.Signed(bench.folder / "image", "wrong")},
         "error: 619, unable to get a key usage extension from a builder certificate\n  where: offset ");
    says({"explain", "--ca", bench.Folder("none"), path}, "109, no CA certificates found in a directory\n  why:   the folder");
    says({"verify", "--ca", ca, bench.folder / "image"}, "1 the image is unsigned");
    says({"explain", "/no/where"}, "3 zebfw: cannot open /no/where");
}

} // namespace
