#!/usr/bin/env bash
# usage: scripts/targets/arm64.sh
# Builds the program for 64-bit ARM into build/arm64/build and holds what it makes of the sample photograph, by command,
# by HTTP and out of a queue, against the program in build/release, byte for byte. Its libraries are Debian's, in a
# folder of their own; the machine's stay as they are. Installs what is missing first. Logs: build/logs/arm64_*.
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

emulator=qemu-aarch64-static
build_native() { configure release && build release --target idphoto; }
build_arm64() {
  cmake -S "$root" -B "$folder/build" -G Ninja --toolchain "$root/cmake/arm64.cmake" -DQX_ARM64_ROOT="$libraries" \
    -DQX_WERROR=ON -DQX_BUILD_TESTS=OFF && cmake --build "$folder/build" --target idphoto &&
    aarch64-linux-gnu-gcc --sysroot="$libraries" -shared -fPIC "-DEMULATOR=\"$(command -v $emulator)\"" \
      "$root/scripts/targets/arm64/emulated.c" -o "$folder/emulated.so" -lseccomp
}

native=("$root/build/release/bin/idphoto")
# shellcheck disable=SC2034 # by its name
arm64=(env "QEMU_LD_PREFIX=$libraries" "LD_PRELOAD=$folder/emulated.so" "$emulator" "$folder/build/bin/idphoto")

# serve FOLDER PROGRAM...: its page, its health and a picture, by HTTP.
serve() {
  local out=$1 address server
  rm -f "$folder/address"
  SLOWNESS=100 "${@:2}" serve --listen 127.0.0.1:0 --jobs 1 >"$folder/address" 2>"$out.serve.log" &
  server=$!
  # shellcheck disable=SC2064 # that process
  trap "kill -KILL $server 2>/dev/null || true" EXIT
  until [[ -s $folder/address ]]; do
    kill -0 $server 2>/dev/null || fail "no server; what it says is in $out.serve.log"
    sleep 0.1
  done
  address=$(<"$folder/address")
  curl -fsS "${address}healthz" "$address" -o "$out/health.txt" -o "$out/page.html"
  curl -fsS --data-binary "@$sample_photo" -o "$out/served.png" \
    "${address}v1/make?size=2x2in&background=white&format=png"
  kill -TERM $server && wait $server
  trap - EXIT
}

# make_all NAME: pictures of every kind, and what is said of one, by the program of that name, into a folder of it. Each
# picture is made in one way only: that all ways give the same bytes is for the program's own tests.
make_all() {
  local -n program=$1
  local out=$folder/$1 queue=folder:$folder/queue
  rm -rf "$out" "$out.report.jsonl" "$folder/queue" && mkdir -p "$out"
  "${program[@]}" make "$sample_photo" --size 35x45mm --head 32-36mm --beauty natural -o "$out/made.png"
  "${program[@]}" crop "$sample_photo" -o "$out"
  # Against the same file: its name is part of what is said. Status 1 says that the photograph is not within the limits.
  "${program[@]}" check "$folder/checked.jpg" --size 35x45mm --head 32-36mm --json >"$out/check.json" || (($? == 1))
  serve "$out" "${program[@]}"
  "${program[@]}" submit --queue "$queue" "$folder/checked.jpg" -o "$out/queued" --size 3x4cm --relax
  "${program[@]}" work --queue "$queue" --jobs 1 --timeout 600 --drain 2>"$out.work.log"
  "${program[@]}" collect --queue "$queue" --report "$out.report.jsonl" --wait
}

# hold_calls LOG: nothing filters the system's calls under emulation, so the log has the filter and then the calls that a
# process made, of which the filter would have ended it for those that it does not name.
hold_calls() {
  local calls
  calls=$(comm -13 <(grep -oP 'filter for syscall "\K\w+' "$1" | sort -u) \
    <(sed '1,/confined$/d' "$1" | grep -oP '\d \K([a-z_]\w*(?=\()|Unknown syscall \d+)' | sort -u))
  [[ -z $calls ]] || fail "a process that reads photographs would be ended for ${calls//$'\n'/, }; see $1"
  # Else the log has not what is looked for.
  sed '1,/confined$/d' "$1" | grep "mmap(" >/dev/null || fail "no calls in $1"
}

install_packages "${build_packages[@]}" "${arm64_packages[@]}"
prepare
fetch_sample
fetch_libraries
say "Building both programs"
quietly "$logs/arm64_native.log" "building the program of this machine" build_native
quietly "$logs/arm64_build.log" "building the program for 64-bit ARM" build_arm64
say "Holding one against the other"
"${native[@]}" make "$sample_photo" --size 35x45mm --head 32-36mm -o "$folder/checked.jpg"
make_all native
make_all arm64
diff -r "$folder/native" "$folder/arm64" || fail "the programs differ"
hold_calls "$folder/arm64.serve.log"
hold_calls "$folder/arm64.work.log"
say "The same: $(cd "$folder/native" && find . -type f -printf '%P\n' | sort | paste -sd, | sed 's/,/, /g')"
