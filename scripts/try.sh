#!/usr/bin/env bash
# usage: scripts/try.sh [PHOTO...]
# Makes everything that idphoto makes of a photograph, from yours or from a sample photograph when you name none: the
# crop of every face, a finished photograph, a picture of its measures and a sheet to print. Says where they are:
# build/try. Installs and builds what is missing first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

if [[ ${1:-} == -h || ${1:-} == --help ]]; then
  sed -n '2,5s/^# //p' "${BASH_SOURCE[0]}"
  exit
fi

document=schengen-visa
folder=$root/build/try
idphoto() { "$root/build/release/bin/idphoto" "$@"; }

# made WHAT FILE [REMARK]: one line of what there is now.
made() { printf '    %-22s %s%s\n' "$1" "${2#"$PWD"/}" "${3:+  ($3)}"; }

# reason COMMAND...: runs it and shows why it failed; the photograph, its last word, has been named already.
reason() {
  local said
  said=$("$@" 2>&1 >/dev/null) && return
  said=${said#idphoto: }
  printf '    not possible: %s\n' "${said#"${!#}: "}"
  return 1
}

# try_photo PHOTO FOLDER: everything of one photograph; fails when its finished photograph cannot be made.
try_photo() {
  local photo=$1 out=$2 remark='' face
  rm -rf "$out" && mkdir -p "$out"
  reason idphoto crop -o "$out" -- "$photo" || return
  for face in "$out"/*_face*.png; do made "crop" "$face"; done
  # Ordinary photographs are often too close or too far for a document's bounds: the nearest cut will do here.
  reason idphoto make -o "$out/photo.jpg" --preset $document --relax -- "$photo" || return
  made "finished photograph" "$out/photo.jpg" "$document"
  idphoto check --preset $document --draw "$out/check.png" -- "$out/photo.jpg" >"$out/check.txt" 2>&1 ||
    remark="does not pass: $(sed -En '/FAIL$/s/^ +(([^ ]+ )*[^ ]+)  .*/\1/p' "$out/check.txt" | paste -sd ,)"
  [[ ! -e $out/check.png ]] || made "its measures" "$out/check.png" "$remark"
  reason idphoto sheet -o "$out/sheet.png" --paper 4x6 -- "$out/photo.jpg" || return
  made "sheet, 4x6 inches" "$out/sheet.png" "print at 100 %"
}

prepare "${build_packages[@]}"
if (($# == 0)); then
  fetch_sample
  set -- "$sample_photo"
fi

say "Building"
build_program() { configure release -DQX_BUILD_TESTS=OFF && build release --target idphoto; }
quietly "$root/build/logs/try_build.log" "the build" build_program

failed=0 good=''
declare -A taken=()
for photo in "$@"; do
  name=${photo##*/} && name=${name%.*}
  # Photographs of the same name from different folders.
  taken[$name]=$((${taken[$name]:-0} + 1))
  ((taken[$name] == 1)) || name+=-${taken[$name]}
  say "$photo"
  if try_photo "$photo" "$folder/$name"; then good=$photo; else failed=$((failed + 1)); fi
done

printf '\n'
say "The pictures are in $folder"
((failed == 0)) || say "$failed of $# photographs could not be made"
[[ -n $good ]] || exit 1
program=$root/build/release/bin/idphoto
printf -v next '%q ' "${program#"$PWD"/}" make "$good" -o better.jpg --preset one-inch --beauty light --compare
say "Next, another document and a light retouching (idphoto presets lists the documents):"
printf '    %s\n' "${next% }"
((failed == 0))
