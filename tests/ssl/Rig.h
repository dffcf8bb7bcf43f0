// What the tests of this folder share: a run of an operation that leaves no error of OpenSSL behind.
#pragma once

#include "tests/core/Rig.h"
#include "workbench/Calls.h"
#include "workbench/Certificates.h"
#include "workbench/LogCapture.h"
#include "workbench/OpenSsl.h"
#include "zeb/core/ReturnT.h"

#include <openssl/err.h>

// "Fail", "Oom", "Done", or the code in digits.
inline std::string Kind(ReturnT const& code) {
    if (code.IsOom()) return "Oom";
    if (code.Facility() == ReturnT::FACILITY_FAIL) return "Fail";
    if (code.Facility() == ReturnT::FACILITY_DONE) return "Done";
    char text[16];
    return snprintf(text, sizeof text, "%08X", code.Code()), text;
}

// The same of an operation; a stale error of OpenSSL ahead of it is not its own, and none is left behind.
inline std::string Kind(std::function<ReturnT()> const& operation) {
    ERR_put_error(ERR_LIB_USER, 0, 1, "stale", 1);
    ReturnT const code = operation();
    EXPECT_EQ(ERR_peek_error(), 0u);
    return Kind(code);
}

// Of operations in their order.
inline std::string Kinds(std::initializer_list<ReturnT> codes) {
    std::string text;
    for (ReturnT const& code : codes) text += Kind(code);
    return text;
}
