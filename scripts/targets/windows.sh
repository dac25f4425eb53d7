#!/usr/bin/env bash
# usage: scripts/targets/windows.sh [--test]
# Builds the program and the libraries for 64-bit Windows, by mingw-w64, into one ZIP in build/windows. With --test also
# builds the program in build/release, runs what is in the ZIP under wine, where nothing else is, and holds one against
# the other. Installs what is missing first. Logs: build/windows/logs and build/windows/deps/logs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../lib/setup.sh"
(($# == 0)) || [[ $* == --test ]] || fail "usage: $0 [--test]"
folder=$root/build/windows
deps=$folder/deps
jobs=${QX_JOBS:-$(nproc)}
tool=x86_64-w64-mingw32

build_native() { configure release && build release -j "$jobs" --target idphoto qx_idp; }
if (($#)); then
  prepare "${build_packages[@]}"
  fetch_sample
  say "Building the program of this machine"
  quietly "$folder/logs/native.log" "building the program of this machine" build_native
fi
"$root/scripts/targets/windows_deps.sh" "$deps"
fetch_npm_packages models "the networks"
export PKG_CONFIG_LIBDIR=$deps/root/lib/pkgconfig PKG_CONFIG_PATH=

# The program shares the C++ library with libvips, whose exceptions it catches: no -static for it. The two libraries
# have theirs inside.
say "Building the program"
quietly "$folder/logs/configure.log" "configuring" cmake -S "$root" -B "$folder/build" -G Ninja \
  --toolchain "$root/cmake/windows.cmake" -DCMAKE_BUILD_TYPE=Release -DCMAKE_EXE_LINKER_FLAGS= \
  -DCMAKE_PREFIX_PATH="$deps/root" -DQX_BUILD_SERVER=OFF -DQX_BUILD_WORKER=OFF -DQX_BUILD_TESTS=OFF \
  -DQX_FLATBUFFERS_INCLUDE="$deps/root/include" -DQX_XNNPACK_INCLUDE="$deps/root/include" \
  -DQX_XNNPACK_LIBRARY="$deps/root/lib/libXNNPACK.a;$deps/root/lib/libmicrokernels-prod.a" \
  -DQX_PTHREADPOOL_LIBRARY="$deps/root/lib/libpthreadpool.a"
quietly "$folder/logs/build.log" "building" cmake --build "$folder/build" -j "$jobs" --target idphoto qx_idp QX_FaceSDK
version=$(sed -nE 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$folder/build/CMakeCache.txt")
package=$folder/idphoto-$version-windows-x64

# add_libraries FILE: the DLLs that it needs and Windows does not have, and those that they need.
compiler=$(dirname "$($tool-gcc-posix -print-file-name=libstdc++.a)")
places=("$folder/build/bin" "$deps/root/bin" "$compiler" "/usr/$tool/lib")
add_libraries() {
  local name place
  for name in $($tool-objdump -p "$1" | sed -nE 's/^\s*DLL Name: //p'); do
    [[ -e $package/$name ]] && continue
    for place in "${places[@]}"; do
      [[ -e $place/$name ]] || continue
      cp "$place/$name" "$package"
      add_libraries "$package/$name"
      break
    done
  done
}

# add_licences: of all that is inside, and the licences that these texts refer to.
add_licences() {
  local name text to=$package/licences
  for name in xnnpack pthreadpool zlib jpeg png webp tiff expat lcms2 exif ffi pcre2 glib vips; do
    for text in "$deps/sources/$name"/{debian/copyright,LICENSE}; do
      [[ ! -e $text ]] || { cp "$text" "$to/$name.txt" && break; }
    done
    [[ -e $to/$name.txt ]] || fail "the source of $name has no licence"
  done
  cp /usr/share/doc/libfxdiv-dev/copyright "$to/fxdiv.txt"
  cp /usr/share/doc/gcc-mingw-w64-base/copyright "$to/gcc.txt"
  cp /usr/share/doc/mingw-w64-common/copyright "$to/mingw-w64.txt"
  for name in LGPL-2.1 GPL-3; do cp "/usr/share/common-licenses/$name" "$to/$name.txt"; done
}

rm -rf "$package" "$package.zip"
mkdir -p "$package"/{include,lib,licences}
cp "$folder"/build/bin/{idphoto.exe,qx_idp.dll,QX_FaceSDK.dll} "$package"
add_libraries "$package/idphoto.exe"
$tool-strip "$package"/*.exe "$package"/*.dll
cp "$folder"/build/lib/lib{qx_idp,QX_FaceSDK}.dll.a "$package/lib"
cp "$root/include/qx_idp.h" "$root/engine/include/qx_face_sdk.h" "$package/include"
cp "$root"/{LICENSE,NOTICE,THIRD_PARTY.md,CHANGELOG.md} "$package"
cp "$root/packaging/windows.txt" "$package/README.txt"
add_licences
(cd "$folder" && zip -qr "$package.zip" "$(basename "$package")")
say "The package is $package.zip"
(($# == 0)) || "$root/scripts/targets/windows/test.sh" "$package.zip"
