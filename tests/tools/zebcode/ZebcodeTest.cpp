// Runs the real program.
#include "workbench/Child.h"

namespace {

constexpr char const FAIL[] =
    "0xcffd00be\tcritical, Fail: a call of the system or of a library failed, reported at source line 190\n";

TEST(ZebcodeTest, ExplainsEachCode) {
    std::pair<std::string, std::string> const rows[] = {
        // clang-format off
        {"0xCFFD00BE", FAIL}, {"cffd00be", FAIL}, {"[0xcffd00be]", FAIL}, {"3489464510", FAIL}, {"-805502786", FAIL},
        {"0XCFFE00B1", "0xcffe00b1\tcritical, Oom: an allocation failed, reported at source line 177\n"},
        {"0x0fff0139", "0x0fff0139\tsuccess, Done: success, reported at source line 313\n"},
        {"13172836", "0x00c90064\tsuccess, facility 201 (0x0c9), Dns::Resolver, number 100 (0x64)\n"},
        {"00080001", "0x00080001\tsuccess, facility 8 (0x008), Process, number 1 (0x1)\n"},
        {"0x40080001", "0x40080001\twarning, facility 8 (0x008), Process, number 1 (0x1)\n"},
        {"88350002", "0x88350002\terror, facility 2101 (0x835), Ssl::Ec::PrivateKey, number 2 (0x2)\n"},
        {"0x80020001", "0x80020001\terror, facility 2 (0x002), owned by no class, number 1 (0x1)\n"},
        {"0", "0x00000000\tsuccess, undefined: nothing was reported yet\n"},
        {"0x20080001", "0x20080001\tno return code: bits 29 and 28 are 0 in all of them\n"}};
    // clang-format on
    std::vector<std::string> all;
    std::string output;
    for (auto const& [code, line] : rows) {
        all.push_back(code);
        output += line;
    }
    Child const child = Child::Program(Child::Built("zebcode", all));
    EXPECT_EQ(child.Output(), output);
    EXPECT_EQ(child.ExitCode(), 0) << child;
}

TEST(ZebcodeTest, TellsWhatIsNoCode) {
    std::vector<std::string> const words = {"", "0x", "x", "0x1cffd00be", "4294967296", "-2147483649", "cffd00bg", "[]"};
    std::string errors;
    for (std::string const& word : words) errors += "zebcode: '" + word + "' is no code of 32 bits\n";
    Child const bad = Child::Program(Child::Built("zebcode", words));
    EXPECT_EQ(bad.Output() + bad.Errors(), errors);
    EXPECT_EQ(bad.ExitCode(), 2);
    Child const none = Child::Program(Child::Built("zebcode", {})), help = Child::Program(Child::Built("zebcode", {"--help"}));
    EXPECT_EQ(none.ExitCode() - help.ExitCode(), 2);
    EXPECT_TRUE(none.Errors() == help.Output() && help.Output().starts_with("usage: zebcode CODE...\n"));
}

} // namespace
