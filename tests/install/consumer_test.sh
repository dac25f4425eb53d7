#!/usr/bin/env bash
# usage: consumer_test.sh BUILD_DIR EXAMPLES_DIR PHOTO WORK_DIR
# Installs a build, moves the installed folder, builds the example against it with CMake and with pkg-config, and
# crops a photograph with both and with the installed program: all three pictures must be the same.
set -euo pipefail
build_dir=$1 examples=$2 photo=$3 work=$4
unset LD_LIBRARY_PATH

rm -rf "$work" && mkdir -p "$work"
cmake --install "$build_dir" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
cp -r "$examples" "$work/examples"
"$VIPS" copy "$photo" "$work/photo.ppm"

cmake -S "$work/examples" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/moved" >/dev/null
cmake --build "$work/build"
"$work/build/crop" "$work/photo.ppm" "$work/cmake_"

pc_file=$(find "$work/moved" -name qx_idp.pc)
export PKG_CONFIG_PATH=${pc_file%/*}
pkg-config --exists --print-errors 'qx_face_sdk' 'qx_idp >= 0.2'
read -ra flags < <(pkg-config --cflags --libs qx_idp)
"$CC" -std=c99 "$work/examples/crop.c" "${flags[@]}" -Wl,-rpath,"$(pkg-config --variable=libdir qx_idp)" -o "$work/crop"
"$work/crop" "$work/photo.ppm" "$work/pkgconfig_"
cmp "$work/cmake_1.ppm" "$work/pkgconfig_1.ppm"

"$work/moved/bin/idphoto" crop "$photo" -o "$work/program" --format png
# Stripped, the file has no comment in its header.
"$VIPS" copy "$work"/program/*.png "$work/program.ppm[strip]"
cmp "$work/cmake_1.ppm" "$work/program.ppm"
