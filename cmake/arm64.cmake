# Toolchain of 64-bit ARM on another Linux machine: cmake --toolchain cmake/arm64.cmake ... Debian's
# g++-aarch64-linux-gnu and libc6-dev-arm64-cross, and qemu-user-static, which runs the tests. QX_ARM64_ROOT: a folder
# with all other libraries, as scripts/targets/arm64.sh makes one; the core needs none.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L /usr/aarch64-linux-gnu
    -E LD_LIBRARY_PATH=/usr/aarch64-linux-gnu/lib:/usr/lib/aarch64-linux-gnu)

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QX_ARM64_ROOT)
if(QX_ARM64_ROOT)
  set(CMAKE_SYSROOT ${QX_ARM64_ROOT})
  set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
  foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
  endforeach()
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L ${QX_ARM64_ROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${QX_ARM64_ROOT})
  set(ENV{PKG_CONFIG_LIBDIR} ${QX_ARM64_ROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${QX_ARM64_ROOT}/usr/share/pkgconfig)
endif()
