# Toolchain of 64-bit Windows on Linux: cmake --toolchain cmake/windows.cmake -DQX_CORE_ONLY=ON ... Debian's
# g++-mingw-w64-x86-64-posix, and wine64, which runs the tests. No libraries of the compiler's travel along.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
find_program(QX_WINE NAMES wine64 wine PATHS /usr/lib/wine)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QX_WINE})
