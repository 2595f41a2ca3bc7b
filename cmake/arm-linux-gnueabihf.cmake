# Cross build for the controller: 32-bit ARM, hard-float (Debian's crossbuild-essential-armhf).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /usr/lib/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/share/pkgconfig)
# Test executables (and the test discovery at build time) run under qemu-user when it is there.
# The dynamic loader must be the one of the C library the programs find: the multiarch armhf libc
# (which the -dev packages bring) when installed, otherwise the cross toolchain's copy.
find_program(KYR_QEMU_ARM qemu-arm)
if(KYR_QEMU_ARM AND EXISTS /lib/ld-linux-armhf.so.3)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KYR_QEMU_ARM})
elseif(KYR_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KYR_QEMU_ARM} -L /usr/arm-linux-gnueabihf)
endif()
# GCC notes on every std::pair<uint64_t, …> passed by value that its ARM calling convention changed
# in GCC 7.1; everything here is built by one compiler, so the note says nothing.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
