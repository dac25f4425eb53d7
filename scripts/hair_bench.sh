#!/usr/bin/env bash
# usage: scripts/hair_bench.sh [OPTION...]
# Builds the bench for hair and holds the person's mask and colours against drawn scenes whose truth is known; prints
# one table. Options: --half tuning|untuned, --each, --write DIR; all of them with --help. Installs what is missing
# first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

prepare "${build_packages[@]}" "${bench_packages[@]}"
say "Building"
build_bench() { configure bench && build bench --target qx_hair_bench; }
quietly "$root/build/logs/hair_bench_build.log" "the build" build_bench
"$root/build/bench/bin/qx_hair_bench" --threads "$(nproc)" "$@"
