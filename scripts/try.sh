#!/usr/bin/env bash
# usage: scripts/try.sh [PHOTO...]
#        scripts/try.sh --studio [PHOTO]
# Makes everything that idphoto makes of a photograph, from yours or from a sample photograph when you name none: the
# crop of every face, a finished photograph, a picture of its measures and a sheet to print. Says where they are:
# build/try. With --studio, shows the page on which all this is done by hand, in your browser, until Ctrl-C; without a
# screen, says its address. Installs and builds what is missing first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

if [[ ${1:-} == -h || ${1:-} == --help ]]; then
  sed -n '2,7s/^# //p' "${BASH_SOURCE[0]}"
  exit
fi

document=schengen-visa
folder=$root/build/try
idphoto() { "$program" "$@"; }

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

# studio PHOTO: serves the page until it is interrupted.
studio() {
  local port=8080 log=$root/build/logs/studio.log address server out status=0 options=()
  # Where that port is taken, any other will do.
  ! (: >"/dev/tcp/127.0.0.1/$port") 2>/dev/null || port=0
  # Without a screen there may still be a browser in the terminal, which cannot show it.
  [[ -z ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]] || ! command -v xdg-open >/dev/null || options=(--open)
  exec {out}< <(exec "$program" serve --listen 127.0.0.1:$port "${options[@]}" 2>"$log")
  server=$!
  # An interrupt from the terminal reaches the server as well; it ends by itself.
  trap : INT
  trap 'kill "$server"' TERM HUP
  if read -r address <&"$out"; then
    say "The studio is at $address"
    ((${#options[@]})) || printf '    open this address in a browser of this computer\n'
    [[ -z ${SSH_CONNECTION:-} ]] || printf '    or, from yours, through ssh -L 8080:%s\n' "$(cut -d/ -f3 <<<"$address")"
    printf '    a photograph to drop there: %s\n' "${1#"$PWD"/}"
    printf '    nothing leaves this computer; Ctrl-C ends it\n'
  fi
  while
    status=0
    wait "$server" || status=$?
    kill -0 "$server" 2>/dev/null
  do :; done
  ((status == 0)) || { tail -n 5 "$log" >&2 && fail "the studio ended with status $status; its log is $log"; }
  say "The studio has ended"
}

show_studio=0
if [[ ${1:-} == --studio ]]; then
  show_studio=1
  shift
  (($# < 2)) || fail "--studio takes one photograph; the page takes more"
  (($# == 0)) || [[ -f $1 ]] || fail "$1: no such file"
fi

prepare "${build_packages[@]}"
if (($# == 0)); then
  fetch_sample
  set -- "$sample_photo"
fi

say "Building"
build_program() { configure release -DQX_BUILD_TESTS=OFF && build release --target idphoto; }
quietly "$root/build/logs/try_build.log" "the build" build_program
program=$root/build/release/bin/idphoto
if ((show_studio)); then
  studio "$1"
  exit
fi

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
printf -v next '%q ' "${program#"$PWD"/}" make "$good" -o better.jpg --preset one-inch --beauty light --compare
say "Next, another document and a light retouching (idphoto presets lists the documents):"
printf '    %s\n' "${next% }"
((failed == 0))
