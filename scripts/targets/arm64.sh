#!/usr/bin/env bash
# usage: scripts/targets/arm64.sh
# Builds the program for 64-bit ARM into build/arm64/build and holds what it makes of the sample photograph against the
# program in build/release, byte for byte. Its libraries are Debian's, in a folder of their own; the machine's stay as
# they are. Installs what is missing first. Logs: build/logs/arm64_*.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../lib/setup.sh"
folder=$root/build/arm64
libraries=$folder/root
logs=$root/build/logs

# Unpacked, not installed: nothing there has to run, so no processor of that kind is needed.
fetch_libraries() {
  [[ $folder/fetched -nt $root/scripts/lib/packages.sh ]] && return
  say "Fetching the libraries for 64-bit ARM"
  rm -rf "$libraries" "$folder/fetched" && mkdir -p "$folder"
  quietly "$logs/arm64_libraries.log" "fetching the libraries" mmdebstrap --variant=extract --architectures=arm64 \
    --include="$(IFS=, && echo "${arm64_libraries[*]}")" bookworm "$libraries"
  # What a link in there names from the root on is in there too.
  local link
  find "$libraries" -type l -lname '/*' -print0 | while IFS= read -r -d '' link; do
    ln -sfnr "$libraries$(readlink "$link")" "$link"
  done
  # XNNPACK asks the system how many processors there are, and a bare chroot does not say.
  mkdir -p "$libraries/sys/devices/system/cpu"
  echo 0 | tee "$libraries/sys/devices/system/cpu/possible" >"$libraries/sys/devices/system/cpu/present"
  touch "$folder/fetched"
}

build_native() { configure release && build release --target idphoto; }
build_arm64() {
  cmake -S "$root" -B "$folder/build" -G Ninja --toolchain "$root/cmake/arm64.cmake" -DQX_ARM64_ROOT="$libraries" \
    -DQX_WERROR=ON -DQX_BUILD_TESTS=OFF && cmake --build "$folder/build" --target idphoto
}

native() { "$root/build/release/bin/idphoto" "$@"; }
arm64() { qemu-aarch64-static -L "$libraries" "$folder/build/bin/idphoto" "$@"; }

# make_all PROGRAM: pictures of every kind, and what is said of one, in a folder of the program's name.
make_all() {
  local out=$folder/$1
  rm -rf "$out" && mkdir -p "$out"
  "$1" make "$sample_photo" --size 35x45mm --head 32-36mm --beauty natural -o "$out/made.png"
  "$1" make "$sample_photo" --size 2x2in --background white -o "$out/white.png"
  "$1" crop "$sample_photo" -o "$out"
  # Against the same file: its name is part of what is said. Status 1 says that the photograph is not within the limits.
  "$1" check "$folder/checked.png" --size 35x45mm --head 32-36mm --json >"$out/check.json" || (($? == 1))
}

install_packages "${build_packages[@]}" "${arm64_packages[@]}"
prepare
fetch_sample
fetch_libraries
say "Building both programs"
quietly "$logs/arm64_native.log" "building the program of this machine" build_native
quietly "$logs/arm64_build.log" "building the program for 64-bit ARM" build_arm64
say "Holding one against the other"
native make "$sample_photo" --size 35x45mm --head 32-36mm -o "$folder/checked.png"
make_all native
make_all arm64
diff -r "$folder/native" "$folder/arm64" || fail "the programs differ"
say "The same: $(ls -m "$folder/native")"
