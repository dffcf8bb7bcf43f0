// Keys, requests and certificates by the program `openssl`, in a folder of their own.
//
//     ZEB_NEED_OPENSSL();
//     Certificates made;
//     made.Make({.name = "root", .extensions = Certificates::CA});
//     made.Make({.name = "leaf", .issuer = "root", .extensions = "keyUsage=digitalSignature", .to =
//     "20200101000000Z"}); std::string const pem = made.Read("leaf.pem");
//
// Each name has three files: NAME.key (PKCS #8), NAME.csr, NAME.pem. A program that fails fails the test.
#pragma once

#include "workbench/TempDir.h"

#include <string>
#include <vector>

class Certificates {
public:
    static constexpr char CA[] = "basicConstraints=critical,CA:TRUE";

    struct Request {
        std::string name;         // its common name as well
        std::string issuer{};     // empty: it signs itself
        std::string extensions{}; // lines as in a configuration of the program
        std::string to{};         // end of its time, as 20300101000000Z; empty: in ten years
        std::string from{};       // begin of its time; empty: now, or ahead of any time if `to` is given
        std::string serial = "1"; // decimal, or hexadecimal behind 0x; ignored with `to` or `from`
        std::string digest = "sha256";
        std::vector<std::string> key = P256; // as behind "req -newkey"
    };

    static inline std::vector<std::string> const P256 = {"ec", "-pkeyopt", "ec_paramgen_curve:P-256"};

    Certificates();

    // Null, or why there can be none here.
    static char const* WhyNot();

    void Make(Request const& request) const;

    // Runs `openssl` with the arguments, in the folder; what it wrote to standard output.
    std::string Run(std::vector<std::string> const& arguments, std::string const& input = {}) const;

    // A path in the folder, and the content of a file there.
    std::string Path(std::string const& name) const { return folder_ / name; }
    std::string Read(std::string const& name) const { return folder_.Read(name); }
    std::string Write(std::string const& name, std::string const& text) const {
        return folder_.Write(name, text);
    }

private:
    void Sign(Request const& request, std::string const& options) const;
    void SignInTime(Request const& request, std::string const& options) const;

    TempDir folder_;
};

#define ZEB_NEED_OPENSSL()                                                                                   \
    do {                                                                                                     \
        if (char const* const why = Certificates::WhyNot()) GTEST_SKIP() << why;                             \
    } while (false)
