#!/usr/bin/env bash
# usage: scripts/targets.sh [--quick]
# Builds for every other target and holds what comes out against the stored results. --quick: the library alone, which
# takes some minutes; otherwise the whole programs too, which needs root rights and takes an hour. Installs what is
# missing first. Logs of the steps: build/logs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"
source "$root/scripts/lib/steps.sh"
(($# == 0)) || [[ $* == --quick ]] || fail "usage: $0 [--quick]"
[[ $(uname -m) == x86_64 ]] || fail "the compilers for the other targets are those of an x86-64 machine"

targets=$root/build/targets

# core NAME OPTION... [-- TARGET...]: builds the library and what holds it against the stored results.
core() {
  local options=() name=$1
  shift
  while (($#)) && [[ $1 != -- ]]; do options+=("$1") && shift; done
  cmake -S "$root" -B "$targets/$name" -G Ninja -DQX_CORE_ONLY=ON -DQX_WERROR=ON "${options[@]}" &&
    cmake --build "$targets/$name" --target "${@:2}"
}

# check NAME LABELS: runs what has one of the labels.
check() { ctest --test-dir "$targets/$1" -L "$2" --output-on-failure --no-tests=error -j "$(nproc)" "${@:3}"; }
# Elsewhere without what only glibc on x86-64 understands.
check_abroad() { check "$@" -E without_fma; }

# Every instruction of a processor of 2015, and none that fuses.
native_build() { core x86-64-v3 -DCMAKE_CXX_FLAGS=-march=x86-64-v3 -- qx_idp library_golden && check x86-64-v3 exports; }
native() {
  /lib64/ld-linux-x86-64.so.2 --help | grep -q 'x86-64-v3 (supported' ||
    { echo "skipped: this processor lacks x86-64-v3" && return 77; }
  check x86-64-v3 golden
}

arm64_build() {
  local gtest=$targets/arm64-gtest toolchain=$root/cmake/arm64.cmake
  cmake -S /usr/src/googletest -B "$gtest/build" -G Ninja --toolchain "$toolchain" -DBUILD_GMOCK=OFF \
    -DCMAKE_INSTALL_PREFIX="$gtest" && cmake --build "$gtest/build" --target install &&
    core arm64 --toolchain "$toolchain" -DGTest_ROOT="$gtest" -- qx_idp library_golden kernels_test &&
    check arm64 exports
}
arm64() { check_abroad arm64 'golden|kernels'; }

windows_build() {
  core windows --toolchain "$root/cmake/windows.cmake" -- qx_idp library_golden && check windows exports
}
windows() {
  [[ -e /proc/self/maps ]] || { echo "skipped: wine needs /proc" && return 77; }
  local status=0
  export WINEPREFIX=$targets/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
  /usr/lib/wine/wine64 wineboot --init && check_abroad windows golden || status=$?
  /usr/lib/wine/wineserver64 --kill || true # else it stays for a while
  return "$status"
}

# As the package for browsers is compiled, but for Node's files.
webassembly() {
  # With fetch there, Emscripten's loader takes the name of a file for an address.
  export NODE_OPTIONS=--no-experimental-fetch
  # Where Debian has what its Emscripten needs of Node; a Node from elsewhere does not look there.
  export NODE_PATH=/usr/share/nodejs
  core wasm --toolchain "$(em-config EMSCRIPTEN_ROOT)/cmake/Modules/Platform/Emscripten.cmake" \
    -DCMAKE_CXX_FLAGS=-msimd128 "-DCMAKE_EXE_LINKER_FLAGS=-sNODERAWFS=1 -sALLOW_MEMORY_GROWTH=1" -- library_golden &&
    check_abroad wasm golden
}

# The programs are held against this machine's.
release_build() { configure release && build release --target idphoto; }
arm64_program() { "$root/scripts/targets/arm64.sh"; }
windows_program() { "$root/scripts/targets/windows.sh" --test; }
webassembly_package() { "$root/scripts/targets/wasm.sh" --test; }

install_packages "${target_packages[@]}"
say "Testing the library on other targets"
step "x86-64-v3 build" native_build targets_native_build
step "x86-64-v3" native targets_native
step "arm64 build" arm64_build targets_arm64_build
step "arm64 under qemu" arm64 targets_arm64
step "Windows build" windows_build targets_windows_build
step "Windows under wine" windows targets_windows
step "WebAssembly in Node" webassembly targets_wasm
if [[ $* != --quick ]]; then
  say "Testing the programs on other targets"
  prepare "${build_packages[@]}" "${browser_packages[@]}"
  fetch_sample
  step "native program" release_build targets_release_build
  step "arm64 program" arm64_program targets_arm64_program
  step "Windows program" windows_program targets_windows_program
  step "WebAssembly package" webassembly_package targets_wasm_package
fi
verdict
