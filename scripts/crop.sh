#!/usr/bin/env bash
# usage: scripts/crop.sh [PHOTO...]
# Cuts the rough crop of every face in the photographs, or in a sample photograph when none is named, and says where
# the pictures are. Installs and builds what is missing first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

if [[ ${1:-} == -h || ${1:-} == --help ]]; then
  sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"
  exit
fi
for photo in "$@"; do
  [[ -e $photo ]] || fail "no such photograph: $photo"
done

prepare "${build_packages[@]}"
if (($# == 0)); then
  fetch_sample
  set -- "$sample_photo"
fi

say "Building"
build_program() { configure release -DQX_BUILD_TESTS=OFF && build release --target idphoto; }
quietly "$root/build/logs/crop_build.log" "the build" build_program

folder=$root/build/crops
say "Cropping"
"$root/build/release/bin/idphoto" crop -o "$folder" -- "$@"
say "The pictures are in $folder"
