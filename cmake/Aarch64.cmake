# Toolchain file: 64-bit ARM from a Debian machine, tests under user-mode emulation.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)

# The emulated programs use the libraries of Debian's arm64 packages. Tests ask the environment for ZEB_EMULATED where
# the emulation lacks a service of the kernel.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -E ZEB_EMULATED=1)
