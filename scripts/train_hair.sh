#!/usr/bin/env bash
# usage: scripts/train_hair.sh
# Makes photo/person/hair_weights.inc anew: draws the scenes, describes a sample of their pixels and trains the small
# network that weighs what colours say about hair. About half an hour on two processors; the same lessons give the same
# weights. Needed only when the evidence (photo/person/hair_evidence.cpp) or what it is made from changes. Installs what
# is missing first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

first_seed=1000 last_seed=2399 # none of those that the bench measures

prepare "${build_packages[@]}" "${bench_packages[@]}" "${training_packages[@]}"
say "Building"
build_bench() { configure bench && build bench --target qx_hair_bench; }
quietly "$root/build/logs/train_hair_build.log" "the build" build_bench

lessons=$root/build/hair_lessons
rm -rf "$lessons"
mkdir -p "$lessons"
say "Drawing the lessons"
"$root/build/bench/bin/qx_hair_bench" --seeds "$first_seed-$last_seed" --lessons "$lessons" --threads "$(nproc)"
say "Training"
/usr/bin/python3 "$root/scripts/train_hair_network.py" "$lessons" >"$lessons.inc"
mv "$lessons.inc" "$root/photo/person/hair_weights.inc"
say "The weights are in photo/person/hair_weights.inc; hold them against scripts/hair_bench.sh"
