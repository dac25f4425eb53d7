#!/usr/bin/env bash
# usage: consumer_test.sh BUILD_DIR EXAMPLES_DIR PHOTO WORK_DIR
# Installs a build, moves the installed folder, builds the examples against it with CMake and with pkg-config, and lets
# both and the installed program crop a photograph and make a finished one: each three pictures must be the same.
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

pc_file=$(find "$work/moved" -name qx_idp.pc)
export PKG_CONFIG_PATH=${pc_file%/*}
pkg-config --exists --print-errors 'qx_face_sdk' 'qx_idp >= 0.2' 'qx_photo >= 0.2' 'qx_codec >= 0.2' 'qx_jobs >= 0.2'
# build PACKAGE OUTPUT COMPILER...
build() {
  local flags
  read -ra flags < <(pkg-config --cflags --libs "$1")
  "${@:3}" "${flags[@]}" -Wl,-rpath,"$(pkg-config --variable=libdir qx_idp)" -o "$2"
}
build qx_idp "$work/crop" "$CC" -std=c99 "$work/examples/crop.c"
build qx_codec "$work/make" "$CXX" -std=c++17 "$work/examples/make.cpp"

for program in crop make; do
  if ldd "$work/build/$program" | grep -F "$build_dir/lib/"; then echo "$program still uses the build" && exit 1; fi
done

echo "Crops:"
"$work/build/crop" "$work/photo.ppm" "$work/cmake_"
"$work/crop" "$work/photo.ppm" "$work/pkgconfig_"
cmp "$work/cmake_1.ppm" "$work/pkgconfig_1.ppm"
"$work/moved/bin/idphoto" crop "$photo" -o "$work/program" --format png
# Stripped, the file has no comment in its header.
"$VIPS" copy "$work"/program/*.png "$work/program.ppm[strip]"
cmp "$work/cmake_1.ppm" "$work/program.ppm"

echo "Finished photographs:"
preset=schengen-visa
"$work/build/make" "$photo" $preset "$work/cmake.jpg"
"$work/make" "$photo" $preset "$work/pkgconfig.jpg"
"$work/moved/bin/idphoto" make "$photo" --preset $preset -o "$work/program.jpg"
cmp "$work/cmake.jpg" "$work/pkgconfig.jpg"
cmp "$work/cmake.jpg" "$work/program.jpg"

echo "Every header alone:"
headers=$work/moved/include/qx_photo
while read -r header; do
  "$CXX" -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Werror -fsyntax-only -I"$headers" -I"$work/moved/include" \
    -include "$header" -x c++ /dev/null || { echo "$header does not stand alone" && exit 1; }
done < <(cd "$headers" && find . -name '*.h' | sed 's|^\./||')

echo "All components, and one that is missing:"
mkdir "$work/all"
cat >"$work/all/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(all LANGUAGES CXX)
find_package(qx_idp 0.2 CONFIG REQUIRED COMPONENTS jobs codec photo)
add_executable(pool pool.cpp)
target_link_libraries(pool PRIVATE qx_idp::qx_jobs)
END
cat >"$work/all/pool.cpp" <<'END'
#include "jobs/worker_pool.h"
int main() {
  qx::jobs::WorkerPool<int> pool(2, 2, [] { return std::make_unique<int>(6); });
  return pool.Submit([](int& worker, const qx::jobs::CancelToken&) { return worker * 7; }).Get() == 42 ? 0 : 1;
}
END
configure_all() { cmake -S "$work/all" -B "$work/all/build" -DCMAKE_PREFIX_PATH="$work/moved" 2>&1; }
configure_all >/dev/null
cmake --build "$work/all/build"
"$work/all/build/pool"
build qx_jobs "$work/pool" "$CXX" -std=c++17 "$work/all/pool.cpp"
"$work/pool"
rm "$work"/moved/lib*/cmake/qx_idp/qx_idp-codec-*
if said=$(configure_all); then echo "a missing component was found" && exit 1; fi
tr -s ' \n' ' ' <<<"$said" | grep -oF "The component codec of qx_idp lacks libqx_codec itself"
