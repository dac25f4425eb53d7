#!/usr/bin/env bash
# usage: scripts/check_bench.sh [OPTION...] PHOTOGRAPH...
# Builds the bench for the measures of a face, makes defects from the photographs and counts which measure reports which;
# prints one table. Options: --markdown, --each, --faces N, --write DIR; all of them with --help. Installs what is
# missing first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

prepare "${build_packages[@]}" "${bench_packages[@]}"
say "Building"
build_bench() { configure bench && build bench --target qx_check_bench; }
quietly "$root/build/logs/check_bench_build.log" "the build" build_bench
"$root/build/bench/bin/qx_check_bench" "$@"
