#!/usr/bin/env bash
# usage: scripts/bench.sh [OPTION...]
# Builds and runs the benchmarks and prints one table. Takes the options of Google Benchmark, such as
# --benchmark_filter=grey. Installs what is missing first. bench/program.sh times the program idphoto as a whole,
# bench/serve.py its server.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

prepare "${build_packages[@]}" "${bench_packages[@]}"
fetch_sample
say "Building"
build_benchmarks() { configure bench -DQX_BUILD_PROGRAM=OFF && build bench --target qx_bench; }
quietly "$root/build/logs/bench_build.log" "the build" build_benchmarks
"$root/build/bench/bin/qx_bench" "$@"
