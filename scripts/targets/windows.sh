#!/usr/bin/env bash
# usage: scripts/targets/windows.sh [--libvips] [--test]
# Builds the program and the libraries for 64-bit Windows, by mingw-w64, into one ZIP in build/windows; with --test also
# runs what is in it under wine, where nothing else is, and holds it against the program in build/release. --libvips:
# with libvips and GLib, for all formats but HEIF; without it the program knows plain JPEG and PNG files.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../lib/setup.sh"
libvips=() test=
for option; do
  case $option in
    --libvips) libvips=(--libvips) ;;
    --test) test=yes ;;
    *) fail "usage: $0 [--libvips] [--test]" ;;
  esac
done
folder=$root/build/windows
deps=$folder/deps
jobs=${QX_JOBS:-$(nproc)}
tool=x86_64-w64-mingw32

"$root/scripts/targets/windows_deps.sh" "$deps" "${libvips[@]}"
fetch_npm_packages models "the networks"
export PKG_CONFIG_LIBDIR=$deps/root/lib/pkgconfig PKG_CONFIG_PATH=

codec=(-DQX_WITH_LIBVIPS=OFF -UCMAKE_EXE_LINKER_FLAGS)
# The program shares the C++ library with libvips, whose exceptions it catches; the two libraries bring their own inside.
((${#libvips[@]} == 0)) || codec=(-DQX_WITH_LIBVIPS=ON -DCMAKE_EXE_LINKER_FLAGS=)
say "Building the program"
quietly "$folder/logs/configure.log" "configuring" cmake -S "$root" -B "$folder/build" -G Ninja \
  --toolchain "$root/cmake/windows.cmake" -DCMAKE_BUILD_TYPE=Release "${codec[@]}" \
  -DCMAKE_PREFIX_PATH="$deps/root" -DQX_BUILD_SERVER=OFF -DQX_BUILD_WORKER=OFF -DQX_BUILD_TESTS=OFF \
  -DQX_FLATBUFFERS_INCLUDE="$deps/root/include" -DQX_XNNPACK_INCLUDE="$deps/root/include" \
  -DQX_XNNPACK_LIBRARY="$deps/root/lib/libXNNPACK.a;$deps/root/lib/libmicrokernels-prod.a" \
  -DQX_PTHREADPOOL_LIBRARY="$deps/root/lib/libpthreadpool.a"
quietly "$folder/logs/build.log" "building" cmake --build "$folder/build" -j "$jobs" --target idphoto qx_idp QX_FaceSDK
version=$(sed -nE 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$folder/build/CMakeCache.txt")

# add_libraries FILE: the DLLs that it needs and Windows does not have, and those that they need.
places=("$folder/build/bin" "$deps/root/bin" "$(dirname "$($tool-gcc-posix -print-file-name=libstdc++.a)")" "/usr/$tool/lib")
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

package=$folder/idphoto-$version-windows-x64
rm -rf "$package" "$package.zip" && mkdir -p "$package"/{include,lib,licences}
cp "$folder"/build/bin/{idphoto.exe,qx_idp.dll,QX_FaceSDK.dll} "$package"
add_libraries "$package/idphoto.exe"
$tool-strip "$package"/*.exe "$package"/*.dll
cp "$folder"/build/lib/lib{qx_idp,QX_FaceSDK}.dll.a "$package/lib"
cp "$root/include/qx_idp.h" "$root/engine/include/qx_face_sdk.h" "$package/include"
cp "$root"/{LICENSE,NOTICE,THIRD_PARTY.md,CHANGELOG.md} "$package"
cp "$root/packaging/windows.txt" "$package/README.txt"
contained=(xnnpack pthreadpool zlib jpeg)
((${#libvips[@]} == 0)) || contained+=(png webp tiff expat lcms2 exif ffi pcre2 glib vips)
for name in "${contained[@]}"; do
  source=$deps/sources/$name/
  texts=("$source"{debian/copyright,LICENSE,COPYING})
  for text in "${texts[@]}"; do
    [[ ! -e $text ]] || { cp "$text" "$package/licences/$name.txt" && break; }
  done
done
cp /usr/share/doc/gcc-mingw-w64-base/copyright "$package/licences/gcc.txt"
cp /usr/share/doc/mingw-w64-common/copyright "$package/licences/mingw-w64.txt"
(cd "$folder" && zip -qr "$package.zip" "$(basename "$package")")
say "The package is $package.zip"
[[ ! $test ]] || "$root/scripts/targets/windows/test.sh" "$package.zip"
