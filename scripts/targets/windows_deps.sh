#!/usr/bin/env bash
# usage: scripts/targets/windows_deps.sh FOLDER
# Builds what the Windows build stands on, by mingw-w64, from Debian's sources: XNNPACK with pthreadpool, and libvips
# with GLib and the libraries of image formats below it. FOLDER/root then holds DLLs, archives, headers and what
# pkg-config reads; what is in FOLDER/done already is not built again. Installs the packages that it needs, takes the
# sources from apt's own mirror, and otherwise changes nothing outside FOLDER.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../lib/setup.sh"
source "$root/scripts/lib/debian_sources.sh"
(($# == 1)) || fail "usage: $0 FOLDER"
mkdir -p "$1"
folder=$(cd "$1" && pwd)
prefix=$folder/root
jobs=${QX_JOBS:-$(nproc)}
tool=x86_64-w64-mingw32
# Of libraries for the machine itself nothing is to be found.
export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig PKG_CONFIG_PATH=

# run NAME STEP COMMAND...
run() { quietly "$folder/logs/$1.$2.log" "$2 of $1" "${@:3}"; }

# by_cmake NAME SOURCE OPTION...: a static library, installed.
by_cmake() {
  local name=$1 build=$folder/build/$1
  [[ -e $folder/done/$name ]] && return
  say "Building $name"
  run "$name" configuring cmake -S "$2" -B "$build" -G Ninja --toolchain "$root/cmake/windows.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR:STRING=lib \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" \
    -DCMAKE_FIND_ROOT_PATH_MODE_{LIBRARY,INCLUDE,PACKAGE}=ONLY -DBUILD_SHARED_LIBS=OFF "${@:3}"
  run "$name" building cmake --build "$build" -j "$jobs"
  run "$name" installing cmake --install "$build"
  touch "$folder/done/$name"
}

# by_configure NAME OPTION...: the same of a project with such a script.
by_configure() {
  local name=$1 build=$folder/build/$1
  [[ -e $folder/done/$name ]] && return
  say "Building $name"
  mkdir -p "$build"
  (cd "$build" && run "$name" configuring "$folder/sources/$name/configure" --host=$tool --prefix="$prefix" \
    --enable-static --disable-shared "${@:2}")
  run "$name" building make -C "$build" -j "$jobs"
  run "$name" installing make -C "$build" install
  touch "$folder/done/$name"
}

# by_meson NAME OPTION...: DLLs, which whoever has the program may replace.
by_meson() {
  local name=$1 build=$folder/build/$1
  [[ -e $folder/done/$name ]] && return
  say "Building $name"
  rm -rf "$build" # meson does not take other options for what was left half built
  run "$name" configuring meson setup "$build" "$folder/sources/$name" --cross-file "$folder/cross.ini" \
    --prefix "$prefix" --libdir lib --buildtype release --default-library shared --wrap-mode nodownload "${@:2}"
  run "$name" building ninja -C "$build" -j "$jobs"
  run "$name" installing ninja -C "$build" install
  touch "$folder/done/$name"
}

write_cross_file() {
  cat >"$folder/cross.ini" <<EOF
[binaries]
c = '$tool-gcc-posix'
cpp = '$tool-g++-posix'
ar = '$tool-ar'
strip = '$tool-strip'
windres = '$tool-windres'
pkgconfig = 'pkg-config'
[properties]
needs_exe_wrapper = true
[built-in options]
c_args = ['-I$prefix/include', '-DFFI_STATIC_BUILD', '-DPCRE2_STATIC', '-DXML_STATIC']
cpp_args = ['-I$prefix/include', '-DXML_STATIC']
c_link_args = ['-L$prefix/lib', '-static-libgcc']
cpp_link_args = ['-L$prefix/lib']
[host_machine]
system = 'windows'
cpu_family = 'x86_64'
cpu = 'x86_64'
endian = 'little'
EOF
}

build_networks() {
  by_cmake networks "$root/scripts/targets/windows/networks" -DSOURCES="$folder/sources" -DFXDIV_INCLUDE="$folder/fxdiv"
}

# What photographs and finished files need; it ends up inside libvips' DLL.
build_formats() {
  by_cmake small "$root/scripts/targets/windows/small" -DSOURCES="$folder/sources"
  by_cmake jpeg "$folder/sources/jpeg" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF
  by_cmake png "$folder/sources/png" -DPNG_SHARED=OFF -DPNG_TESTS=OFF
  by_cmake webp "$folder/sources/webp" \
    -DWEBP_BUILD_{ANIM_UTILS,CWEBP,DWEBP,GIF2WEBP,IMG2WEBP,VWEBP,WEBPINFO,WEBPMUX,EXTRAS}=OFF
  by_cmake tiff "$folder/sources/tiff" -Dtiff-{tools,tests,contrib,docs}=OFF -D{lzma,zstd,lerc,jbig,libdeflate,webp}=OFF
  # Debian's changes compare a definition with 1 that the CMake files leave empty.
  sed -i -E 's/^(#cmakedefine XML_(DTD|GE))$/\1 1/' "$folder/sources/expat/expat/expat_config.h.cmake"
  by_cmake expat "$folder/sources/expat/expat" -DEXPAT_BUILD_{TOOLS,EXAMPLES,TESTS,DOCS}=OFF -DEXPAT_SHARED_LIBS=OFF
  by_configure lcms2 --without-jpeg --without-tiff
}

build_vips() {
  by_configure ffi --disable-docs
  by_cmake pcre2 "$folder/sources/pcre2" -DPCRE2_BUILD_{PCRE2GREP,TESTS}=OFF
  by_meson glib -Dtests=false -Dnls=disabled -Dglib_assert=false -Dxattr=false
  # The libraries alone: the programs beside them, their papers and tests would take longer than all the rest.
  sed -i -E "/^subdir\('(man|po|tools|test|fuzz)'\)/d" "$folder/sources/vips/meson.build"
  by_meson vips -Dintrospection=false -Dexamples=false -Dmodules=disabled -Ddeprecated=false -Dauto_features=disabled \
    -D{jpeg,png,webp,tiff,lcms,exif,zlib}=enabled -D{nsgif,ppm,analyze,radiance}=false
}

install_packages "${windows_packages[@]}"
mkdir -p "$folder/done" "$prefix/include" "$prefix/share/cmake" "$folder/fxdiv"
# Headers alone, away from those of the machine's own C library beside them; with their dates, so that nothing is
# compiled again for nothing.
cp -rp /usr/include/flatbuffers /usr/include/nlohmann /usr/include/CLI "$prefix/include"
cp -rp /usr/share/cmake/{nlohmann_json,CLI11} "$prefix/share/cmake"
cp -p /usr/include/fxdiv.h "$folder/fxdiv"
fetch xnnpack xnnpack trixie
fetch pthreadpool pthreadpool trixie
for name in zlib jpeg:libjpeg-turbo exif:libexif png:libpng1.6 webp:libwebp tiff expat lcms2 ffi:libffi pcre2 \
  glib:glib2.0 vips; do
  fetch_mended "${name%:*}" "${name#*:}"
done
write_cross_file
build_networks
build_formats
build_vips
