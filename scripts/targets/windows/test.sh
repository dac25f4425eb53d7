#!/usr/bin/env bash
# usage: scripts/targets/windows/test.sh PACKAGE.zip
# Runs what is in the package under wine, with nothing beside it, and holds it against the program that IDPHOTO names,
# else that in build/release. WINE: wine's own command.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../lib/setup.sh"
(($# == 1)) || fail "usage: $0 PACKAGE.zip"
native=${IDPHOTO:-$root/build/release/bin/idphoto}
wine=${WINE:-/usr/lib/wine/wine64}
tool=x86_64-w64-mingw32
have_sample || fail "$sample_photo is missing"
[[ -x $native ]] || fail "$native is missing: build it first"
trial=$root/build/windows/trial
rm -rf "$trial" && mkdir -p "$trial/there" "$trial/here"
export WINEPREFIX=$trial/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
(cd "$trial" && unzip -q "$1" && mv idphoto-*-windows-x64 "package")
package=$trial/package
# Without libvips there are no TIFF files, and other words for files that cannot be decoded.
print=tiff
[[ -e $package/libvips-42.dll ]] || print=png
cp "$sample_photo" "$trial/sample.png"
failed=0

# check WHAT COMMAND...: reports a command that fails, at whichever of its steps: not as a condition, where steps that
# fail would be passed over.
check() {
  set +e
  (set -e && "${@:2}") >"$trial/log" 2>&1
  local status=$?
  set -e
  if ((status == 0)); then
    echo "ok      $1"
  else
    echo "FAILED  $1" && cat "$trial/log" && failed=1
  fi
}
same() { cmp "$trial/here/$1" "$trial/there/$1"; }
# Each in a folder of its own, from which the sample is ../sample.png.
there() { (cd "$trial/there" && "$wine" "$package/idphoto.exe" "$@"); }
here() { (cd "$trial/here" && "$native" "$@"); }
# both ARGUMENT...: the same with both; the exit status is the Windows program's.
both() {
  local status=0
  here "$@" >"$trial/here/out" 2>"$trial/here/err" || true
  there "$@" >"$trial/there/out" 2>"$trial/there/err" || status=$?
  return "$status"
}
# says STATUS WORDS ARGUMENT...: both say the same and nothing else, words among it, and Windows' program ends like that.
says() {
  local status=0 expected=0
  both "${@:3}" || status=$?
  here "${@:3}" >/dev/null 2>&1 || expected=$?
  [[ $status == "$1" && $status == "$expected" ]] && same out && same err && grep -qF "$2" "$trial"/there/{out,err}
}

# refuses STATUS WORDS ARGUMENT...: so does Windows' program, words among what it says.
refuses() {
  local status=0
  there "${@:3}" >"$trial/there/out" 2>"$trial/there/err" || status=$?
  [[ $status == "$1" ]] && grep -qF "$2" "$trial/there/err"
}

exports() {
  local declared found
  declared=$(sed -nE "s/^QX_IDP_API [^(]*[ *](\w+)\(.*/\1/p" "$root/include/qx_idp.h" | sort)
  found=$($tool-objdump -p "$package/qx_idp.dll" | sed -nE '/^\[Ordinal\/Name Pointer\]/,/^$/s/^\s+\[ *[0-9]+\].*\b(\w+)$/\1/p' | sort)
  [[ $(wc -l <<<"$declared") == 22 ]] && diff <(sort <<<"$declared"$'\n'NvOptimusEnablementCuda) <(echo "$found")
}

# The libraries are all that a program needs besides itself.
consumer() {
  local folder=$trial/consumer
  mkdir -p "$folder"
  python3 "$root/scripts/targets/windows/ppm.py" "$trial/sample.png" "$folder/sample.ppm"
  $tool-gcc-posix -std=c99 -I "$package/include" "$root/examples/crop.c" -o "$folder/crop.exe" -L "$package/lib" -lqx_idp
  cp "$package"/{qx_idp,QX_FaceSDK}.dll "$folder"
  (cd "$folder" && "$wine" crop.exe sample.ppm there)
  gcc -std=c99 -I "$package/include" "$root/examples/crop.c" -o "$folder/crop" -L "$root/build/release/lib" -lqx_idp \
    -Wl,-rpath,"$root/build/release/lib" -Wl,-rpath-link,"$root/build/release/lib"
  (cd "$folder" && ./crop sample.ppm here)
  cmp "$folder/here1.ppm" "$folder/there1.ppm"
}

make_png() { both make ../sample.png -o made.png --preset de-passport && same made.png; }
make_jpeg() { both make ../sample.png -o made.jpg --preset de-passport --force --compare --beauty light && same made.jpg && same made-compare.jpg; }
crop() { both crop ../sample.png -o . --format png && same sample_face1.png; }
cut_out() { both mask ../sample.png -o mask.png --cutout person.png && same mask.png && same person.png; }
sheet() { both sheet made.png -o sheet.$print --paper a6 && same sheet.$print; }
# What is read is decoded to the same pixels.
reads() {
  for file in made.jpg sheet.$print; do
    both background "$file" -o "again-$file.png" --background blue && same "again-$file.png" || return 1
  done
}

wide_names() {
  local name="Пример ü 写真"
  cp "$trial/sample.png" "$trial/there/$name.png"
  there make "$name.png" -o "$name fertig.png" --preset de-passport >"$trial/there/out"
  cmp "$trial/here/made.png" "$trial/there/$name fertig.png"
  grep -qF "$name.png: $name fertig.png" "$trial/there/out"
}

batch() {
  mkdir -p "$trial/there/in" "$trial/here/in"
  for folder in here there; do cp "$trial/sample.png" "$trial/$folder/in/Ärger.png" && cp "$trial/sample.png" "$trial/$folder/in/b.png"; done
  both batch 'in/*.png' -o all --preset de-passport --format png --jobs 1
  same all/b.png && same all/Ärger.png
  for folder in here there; do sed -E 's/"seconds":[0-9.]+//; s/\\\\/\//g' "$trial/$folder/all/report.jsonl" >"$trial/$folder/report"; done
  same report
}

# A console shows how far it is. Ctrl-C once: what is at work becomes whole, the rest is not tried. Twice: it ends at once. Neither leaves a temporary.
interrupts() {
  $tool-gcc-posix -municode -static "$root/scripts/targets/windows/interrupt.c" -o "$trial/interrupt.exe"
  mkdir -p "$trial/there/many" && for i in {1..20}; do cp "$trial/sample.png" "$trial/there/many/$i.png"; done
  for times in 1 2; do
    local status=0
    (cd "$trial/there" && "$wine" "$trial/interrupt.exe" $times "stop$times\\1.png" "$package/idphoto.exe" batch many -o "stop$times" \
      --preset de-passport --format png --jobs 1) >"$trial/console" || status=$?
    grep -aE '\[#+\.*\] [0-9]+/20 ' "$trial/console" || { cat "$trial/console" && return 1; }
    [[ $times == 2 || $status == 1 ]] || return 1 # wine ends with 0 what its system's handler ends
    (($(find "$trial/there/stop$times" -name '*.png' | wc -l) < 20)) || return 1
    [[ ! $(find "$trial/there/stop$times" -name '.idphoto-*') ]] || return 1
    for made in "$trial/there/stop$times"/*.png; do cmp "$made" "$trial/here/made.png"; done
  done
}

check "exports of qx_idp.dll" exports
check "a program on qx_idp.dll" consumer
check "a document as PNG" make_png
check "a document as JPEG" make_jpeg
check "crops" crop
check "mask and cut-out" cut_out
check "a sheet" sheet
check "its own files read" reads
check "names in other letters" wide_names
check "many photographs" batch
check "progress and interrupts" interrupts
check "a missing file" says 1 "no such file; check the name" inspect missing.jpg
check "a folder" says 1 "is a folder" inspect .
printf 'no picture' | tee "$trial/here/text.jpg" >"$trial/there/text.jpg"
check "what is no picture" refuses 1 "is not a photograph in a" inspect text.jpg
head -c 5000 "$trial/here/made.jpg" | tee "$trial/here/half.jpg" >"$trial/there/half.jpg"
check "half a picture" refuses 1 "damaged or truncated JPEG" inspect half.jpg
check "a wrong option" says 2 "there is no preset" make ../sample.png -o x.png --preset nowhere
check "a missing folder" says 2 "no such folder" make ../sample.png -o missing/x.png --preset de-passport
printf '\0\0\0\x18ftypheic\0\0\0\0heicmif1' >"$trial/there/a.heic"
words="HEIF file, for which no reader"
[[ $print == tiff ]] || words="format that is known here"
check "HEIF" refuses 1 "$words" inspect a.heic
check "commands left out" refuses 2 'this build has no command "serve"' serve
exit $failed
