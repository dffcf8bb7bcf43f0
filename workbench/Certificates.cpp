#include "workbench/Certificates.h"

#include "workbench/Child.h"

#include <gtest/gtest.h>

namespace {

// What "openssl ca" wants: its files, and that any name is good.
std::string Configuration(std::string const& folder) {
    return "[ca]\ndefault_ca=here\n[here]\ndatabase=" + folder + "/index\nnew_certs_dir=" + folder +
           "\nrand_serial=yes\nunique_subject=no\npolicy=any\nemail_in_dn=no\n[any]\ncommonName=supplied\n";
}

} // namespace

// The system's configuration does not matter, and need not be there.
Certificates::Certificates() { folder_.Write("openssl.conf", "[req]\ndistinguished_name=name\n[name]\n"); }

char const* Certificates::WhyNot() {
    static bool const isThere = Child::Program({"openssl", "version"}).ExitCode() == 0;
    return isThere ? nullptr : "there is no program openssl here";
}

std::string Certificates::Run(std::vector<std::string> const& arguments, std::string const& input) const {
    // The shell changes the folder; the arguments pass it untouched.
    std::vector<std::string> command = {
        "sh", "-c", "cd \"$0\" && OPENSSL_CONF=openssl.conf exec openssl \"$@\"", folder_.Path()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Child const child = Child::Program(command, input);
    EXPECT_EQ(child.ExitCode(), 0) << arguments.front() << child;
    return child.Output();
}

void Certificates::Make(Request const& request) const {
    std::string const& name = request.name;
    std::vector<std::string> ask = {"req",     "-new",        "-nodes", "-subj",       "/CN=" + name,
                                    "-keyout", name + ".key", "-out",   name + ".csr", "-newkey"};
    ask.insert(ask.end(), request.key.begin(), request.key.end());
    Run(ask);
    std::string const options = folder_.Write(name + ".ext", request.extensions + "\n");
    if (request.from.empty() && request.to.empty())
        Sign(request, options);
    else
        SignInTime(request, options);
}

void Certificates::Sign(Request const& request, std::string const& options) const {
    std::string const& name = request.name;
    std::vector<std::string> sign = {
        "x509", "-req",     "-in",   name + ".csr", "-out",         name + ".pem",       "-days",
        "3650", "-extfile", options, "-set_serial", request.serial, "-" + request.digest};
    if (request.issuer.empty())
        sign.insert(sign.end(), {"-signkey", name + ".key"});
    else
        sign.insert(sign.end(), {"-CA", request.issuer + ".pem", "-CAkey", request.issuer + ".key"});
    Run(sign);
}

void Certificates::SignInTime(Request const& request, std::string const& options) const {
    std::string const& name = request.name;
    std::string const config = folder_.Write("ca.conf", Configuration(folder_.Path()));
    folder_.Write("index", "");
    std::vector<std::string> sign = {"ca",
                                     "-batch",
                                     "-notext",
                                     "-config",
                                     config,
                                     "-in",
                                     name + ".csr",
                                     "-out",
                                     name + ".pem",
                                     "-extfile",
                                     options,
                                     "-md",
                                     request.digest,
                                     "-startdate",
                                     request.from.empty() ? "20000101000000Z" : request.from,
                                     "-enddate",
                                     request.to.empty() ? "20490101000000Z" : request.to};
    if (request.issuer.empty())
        sign.insert(sign.end(), {"-selfsign", "-keyfile", name + ".key"});
    else
        sign.insert(sign.end(), {"-cert", request.issuer + ".pem", "-keyfile", request.issuer + ".key"});
    Run(sign);
}
