# Cross build for 64-bit Arm Linux with Debian's cross compiler
# (g++-aarch64-linux-gnu) and the :arm64 -dev packages (multiarch, found under
# /usr/lib/aarch64-linux-gnu). Programs run under qemu-user with the machine's
# root as the loader's prefix, so that the loader and the C library both come
# from the multiarch libc6:arm64. (The cross toolchain's own copy under
# /usr/aarch64-linux-gnu is another build of glibc; its loader together with
# the multiarch C library hangs in the first pthread_create.) ctest and test
# discovery use the emulator on their own.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /)
# pkg-config, if anything asks it, must answer for arm64.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
