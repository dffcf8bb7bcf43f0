# Flags of everything that is compiled in this tree.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)

# zeb_flags: what changes the meaning of code. Also for foreign code that is built here.
add_library(zeb_flags INTERFACE)
target_compile_definitions(zeb_flags INTERFACE _GNU_SOURCE)
target_compile_options(zeb_flags INTERFACE -fPIC -fno-exceptions -fsigned-char)
if(ZEB_SANITIZE)
    target_compile_options(zeb_flags INTERFACE -fsanitize=${ZEB_SANITIZE} -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
    target_link_options(zeb_flags INTERFACE -fsanitize=${ZEB_SANITIZE})
endif()
if(ZEB_LIBFUZZER)
    target_compile_options(zeb_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# zeb_warnings: for our own code only.
add_library(zeb_warnings INTERFACE)
target_compile_options(zeb_warnings INTERFACE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat -Wformat-security -Wcast-align -Wundef -Wvla)
if(ZEB_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The code that the sanitizers add makes g++ see uninitialized values, in the standard library for one, where there are none.
    target_compile_options(zeb_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
