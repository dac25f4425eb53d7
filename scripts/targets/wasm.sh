#!/usr/bin/env bash
# usage: scripts/targets/wasm.sh [--test]
# Builds the package @qx/idphoto into build/wasm/package, and into build/wasm/page the studio's page as a folder that any
# web server can hand out. With --test also runs the tests of both, in Node and in Chromium, which hold them against the
# program in build/release.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../lib/setup.sh"
(($# == 0)) || [[ $* == --test ]] || fail "usage: $0 [--test]"
folder=$root/build/wasm
jobs=${QX_JOBS:-$(nproc)}
# Where Debian has what its Emscripten needs of Node; a Node from elsewhere does not look there.
export NODE_PATH=/usr/share/nodejs

"$root/scripts/targets/wasm_deps.sh" "$folder/deps"
fetch_npm_packages models "the networks"
fetch_npm_packages web "what the package is built with"
say "Building the package"
quietly "$folder/logs/configure.log" "configuring" cmake -S "$root" -B "$folder/build" -G Ninja \
  --toolchain "$(em-config EMSCRIPTEN_ROOT)/cmake/Modules/Platform/Emscripten.cmake" -DCMAKE_BUILD_TYPE=Release -DQX_WASM_ROOT="$folder/deps/root"
quietly "$folder/logs/build.log" "building" cmake --build "$folder/build" -j "$jobs" --target qx_studio
version=$(sed -nE 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$folder/build/CMakeCache.txt")
quietly "$folder/logs/package.log" "packing" node "$root/wasm/build.mjs" "$folder/build/bin/studio.wasm" "$folder/package" "$version"
quietly "$folder/logs/page.log" "building the page" node "$root/web/build.mjs" "$folder/page" "$folder/package"
say "The package is in $folder/package, the page in $folder/page"
[[ $* != --test ]] || { node "$root/wasm/test/run.mjs" && node "$root/web/test/run.mjs" alone; }
