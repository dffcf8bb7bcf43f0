// Prints a line that was made by the installed library.

#include "zeb/core/ErrorString.h"
#include "zeb/core/String.h"

#include <cerrno>
#include <cstdio>

int main() {
    String text;
    CString const reason(ErrorString(ENOENT));
    if (!text.Assign(reason.Cstr(), reason.Size())) return 1;
    text.ToUpper();
    std::printf("%s\n", text.Cstr());
}
