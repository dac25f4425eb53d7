#!/usr/bin/env bash
# usage: scripts/targets/wasm_deps.sh FOLDER
# Builds what the browser's build stands on, by Emscripten, from Debian's sources: XNNPACK with pthreadpool, zlib and
# libjpeg-turbo. FOLDER/root then holds archives, headers and CMake packages; what is there already is kept. Needs the
# packages of wasm_packages in scripts/lib/packages.sh and apt's own mirror, and changes nothing outside FOLDER.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../lib/setup.sh"
source "$root/scripts/lib/debian_sources.sh"
(($# == 1)) || fail "usage: $0 FOLDER"
mkdir -p "$1"
folder=$(cd "$1" && pwd)
jobs=${QX_JOBS:-$(nproc)}
# CMake runs small programs in Node to learn the sizes of types; with fetch there, Emscripten's loader takes the name of
# a file for an address and they fail, which CMake takes for a size.
export NODE_OPTIONS=--no-experimental-fetch

# XNNPACK's own CMake files know the browser's kernels but not the browser.
mend_xnnpack() {
  local lists=$folder/sources/xnnpack/CMakeLists.txt
  grep -q PROD_WASMSIMD "$lists" && return
  sed -i -e 's/CYGWIN|MSYS|QURT)\$"/CYGWIN|MSYS|QURT|Emscripten)$"/' -e 's/XNN_ENABLE_CPUINFO=1/XNN_ENABLE_CPUINFO=0/' \
    -e '/^SET(PROD_MICROKERNEL_SRCS /a LIST(APPEND PROD_MICROKERNEL_SRCS ${PROD_WASM_MICROKERNEL_SRCS} ${PROD_WASMSIMD_MICROKERNEL_SRCS})' "$lists"
  # Headers of another processor, by mistake.
  grep -rl --include='*wasmsimd*.c' '<arm_neon.h>' "$folder/sources/xnnpack/src" | xargs sed -i 's/<arm_neon.h>/<wasm_simd128.h>/'
}

# compile NAME SOURCE TARGET OPTION...: a target of a CMake project.
compile() {
  local name=$1 source=$2 target=$3
  say "Building $name"
  # Without emcmake, which hands Node an option that newer ones refuse, with the same outcome.
  quietly "$folder/logs/$name.configure.log" "configuring $name" cmake -S "$source" -B "$folder/build/$name" -G Ninja \
    --toolchain "$toolchain" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$folder/root" \
    -DEMSCRIPTEN_SYSTEM_PROCESSOR=wasm "${@:4}"
  quietly "$folder/logs/$name.build.log" "building $name" cmake --build "$folder/build/$name" -j "$jobs" --target "$target"
}

build_base() {
  [[ -e $folder/root/lib/libXNNPACK.a ]] && return
  compile networks "$root/scripts/targets/wasm" all -DSOURCES="$folder/sources" -DFXDIV_INCLUDE="$folder/fxdiv"
  quietly "$folder/logs/networks.install.log" "installing XNNPACK and zlib" cmake --install "$folder/build/networks"
}

# The library alone: its project installs with it programs that nobody runs here.
build_jpeg() {
  local build=$folder/build/jpeg source=$folder/sources/jpeg
  [[ -e $folder/root/lib/libjpeg.a ]] && return
  compile jpeg "$source" jpeg-static -DCMAKE_C_FLAGS=-msimd128 -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF
  cp "$build/jconfig.h" "$source"/{jpeglib,jmorecfg,jerror}.h "$folder/root/include"
  cp "$build/libjpeg.a" "$folder/root/lib"
}

# Headers of packages, away from those of the machine's own C library beside them.
copy_headers() {
  local include=$folder/root/include
  mkdir -p "$include" "$folder/root/share/cmake" "$folder/fxdiv"
  # With their dates, so that nothing is compiled again for nothing.
  cp -rp /usr/include/flatbuffers /usr/include/nlohmann /usr/include/CLI "$include"
  cp -rp /usr/share/cmake/{nlohmann_json,CLI11} "$folder/root/share/cmake"
  cp -p /usr/include/fxdiv.h "$folder/fxdiv"
}

install_packages "${wasm_packages[@]}"
toolchain=$(em-config EMSCRIPTEN_ROOT)/cmake/Modules/Platform/Emscripten.cmake
copy_headers
fetch xnnpack xnnpack trixie
fetch pthreadpool pthreadpool trixie
fetch zlib zlib bookworm
fetch jpeg libjpeg-turbo bookworm
mend_xnnpack
build_base
build_jpeg
