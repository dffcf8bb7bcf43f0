// Prints a line that was made by the installed library.

#include "zeb/core/String.h"

#include <cstdio>

int main() {
    String text;
    CString const words("the installed library works");
    if (!text.Assign(words.Cstr(), words.Size())) return 1;
    text.ToUpper();
    std::printf("%s\n", text.Cstr());
}
