#!/usr/bin/env bash
# usage: scripts/targets/windows/test.sh PACKAGE.zip
# Runs what is in the package under wine, with nothing beside it, and holds it against the program in build/release, or
# the one that IDPHOTO names. WINE: wine's own command.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../lib/setup.sh"
(($# == 1)) || fail "usage: $0 PACKAGE.zip"
native=${IDPHOTO:-$root/build/release/bin/idphoto}
wine=${WINE:-/usr/lib/wine/wine64}
tool=x86_64-w64-mingw32
[[ -e $1 ]] || fail "$1 is missing"
[[ -x $native ]] || fail "$native is missing: build it first"
fetch_sample
trial=$root/build/windows/trial
package="$trial/package ü" # a user's own folders have such names
rm -rf "$trial"
mkdir -p "$trial"/{there,here,unpacked,photos}
unzip -q "$1" -d "$trial/unpacked"
mv "$trial"/unpacked/idphoto-*-windows-x64 "$package"
cp "$sample_photo" "$trial/sample.png"
export WINEPREFIX=$trial/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
failed=0

# check WHAT COMMAND...: reports a command that fails, at whichever of its steps: not as a condition, where steps that
# fail would be passed over.
check() {
  set +e
  (set -e && "${@:2}") >"$trial/log" 2>&1
  local status=$?
  set -e
  ((status)) || { echo "ok      $1" && return; }
  failed=1
  echo "FAILED  $1"
  cat "$trial/log"
}
same() { cmp "$trial/here/$1" "$trial/there/$1"; }
# Each in a folder of its own, from which the sample is ../sample.png.
there() { (cd "$trial/there" && "$wine" "$package/idphoto.exe" "$@"); }
here() { (cd "$trial/here" && "$native" "$@"); }
# both ARGUMENT...: the same with both, which have to end alike; so does this.
both() {
  local status=0 expected=0
  here "$@" >"$trial/here/out" 2>"$trial/here/err" || expected=$?
  there "$@" >"$trial/there/out" 2>"$trial/there/err" || status=$?
  ((status == expected)) || { cat "$trial"/*here/err && echo "ends with $status, not $expected" && exit 99; }
  return "$status"
}
# says STATUS WORDS ARGUMENT...: both say the same, words among it, and Windows' program ends like that.
says() {
  local status=0
  both "${@:3}" || status=$?
  [[ $status == "$1" ]] && same out && same err && grep -F "$2" "$trial/there/err"
}

# refuses STATUS WORDS ARGUMENT...: so does Windows' program alone.
refuses() {
  local status=0
  there "${@:3}" >"$trial/there/out" 2>"$trial/there/err" || status=$?
  [[ $status == "$1" ]] && grep -qF "$2" "$trial/there/err"
}

exports() {
  local declared found
  declared=$(sed -nE "s/^QX_IDP_API [^(]*[ *](\w+)\(.*/\1/p" "$root/include/qx_idp.h")
  found=$($tool-objdump -p "$package/qx_idp.dll" |
    sed -nE '/^\[Ordinal\/Name Pointer\]/,/^$/s/^\s+\[ *[0-9]+\].*\b(\w+)$/\1/p')
  [[ $(wc -l <<<"$declared") == 22 ]]
  diff <(sort <<<"$declared"$'\n'NvOptimusEnablementCuda) <(sort <<<"$found")
}

# The libraries are all that a program needs besides itself.
consumer() {
  local folder=$trial/consumer
  mkdir -p "$folder"
  python3 "$root/scripts/targets/windows/ppm.py" "$trial/sample.png" "$folder/sample.ppm"
  $tool-gcc-posix -std=c99 -I "$package/include" "$root/examples/crop.c" -o "$folder/crop.exe" \
    -L "$package/lib" -lqx_idp
  cp "$package"/{qx_idp,QX_FaceSDK}.dll "$folder"
  (cd "$folder" && "$wine" crop.exe sample.ppm there)
  gcc -std=c99 -I "$package/include" "$root/examples/crop.c" -o "$folder/crop" -L "$root/build/release/lib" -lqx_idp \
    -Wl,-rpath,"$root/build/release/lib" -Wl,-rpath-link,"$root/build/release/lib"
  (cd "$folder" && ./crop sample.ppm here)
  cmp "$folder/here1.ppm" "$folder/there1.ppm"
}

make_png() { both make ../sample.png -o made.png --preset de-passport && same made.png; }
make_jpeg() {
  both make ../sample.png -o made.jpg --preset de-passport --force --compare --beauty light
  same made.jpg
  same made-compare.jpg
}
crop() { both crop ../sample.png -o . --format png && same sample_face1.png; }
cut_out() { both mask ../sample.png -o mask.png --cutout person.png && same mask.png && same person.png; }
sheet() { both sheet made.png -o sheet.tiff --paper a6 && same sheet.tiff; }
own_files() {
  for file in made.jpg sheet.tiff; do
    both background "$file" -o "again-$file.png" --background blue
    same "again-$file.png"
  done
}

# What cameras, telephones and other programs write.
write_photos() (
  cd "$trial/photos"
  # On its side, as EXIF tells: orientation 6, in a segment behind the file's first two bytes.
  local exif='Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0'
  vips rot ../sample.png ../side.v d270
  vips jpegsave ../side.v ../side.jpg --Q 95 --strip
  { head -c 2 ../side.jpg && printf '\xff\xe1\0\x22%b' "$exif" && tail -c +3 ../side.jpg; } >turned.jpg
  vips jpegsave ../sample.png progressive.jpg --interlace
  vips resize ../sample.png large.jpg 6 # of which fewer pixels are decoded
  vips icc_transform ../sample.png display_p3.jpg p3
  vips icc_transform ../sample.png cmyk.jpg cmyk
  vips colourspace ../sample.png grey.jpg b-w
  vips pngsave ../sample.png palette_interlaced.png --palette --interlace
  vips colourspace ../sample.png sixteen_bits.png rgb16
  vips webpsave ../sample.png photo.webp --Q 90
  vips tiffsave ../sample.png photo.tif --compression jpeg
)
# reads PHOTO: it is decoded to the same pixels.
reads() {
  both make "../photos/$1" -o "$1.png" --preset de-passport --force
  same "$1.png"
}

# A name that begins with a slash is no option.
rooted_name() { both inspect "$trial/sample.png" && same out; }

wide_names() {
  local name="Пример ü 写真"
  cp "$trial/sample.png" "$trial/there/$name.png"
  there make "$name.png" -o "$name fertig.png" --preset de-passport >"$trial/there/out"
  cmp "$trial/here/made.png" "$trial/there/$name fertig.png"
  grep -qF "$name.png: $name fertig.png" "$trial/there/out"
}

batch() {
  mkdir -p "$trial/there/in" "$trial/here/in"
  for name in Ärger b; do tee "$trial/here/in/$name.png" <"$trial/sample.png" >"$trial/there/in/$name.png"; done
  both batch 'in/*.png' -o all --preset de-passport --format png --jobs 2
  same all/b.png
  same all/Ärger.png
  for folder in here there; do
    sed -E 's/"seconds":[0-9.]+//; s/\\\\/\//g' "$trial/$folder/all/report.jsonl" | sort >"$trial/$folder/report"
  done
  same report
}

# A console shows how far it is. Ctrl-C once: what is at work becomes whole, the rest is not tried. Twice: it ends at
# once. Neither leaves a temporary.
interrupts() {
  local times status stopped
  $tool-gcc-posix -municode -static "$root/scripts/targets/windows/interrupt.c" -o "$trial/interrupt.exe"
  mkdir -p "$trial/there/many"
  for i in {1..20}; do cp "$trial/sample.png" "$trial/there/many/$i.png"; done
  for times in 1 2; do
    status=0 stopped=$trial/there/stop$times
    (cd "$trial/there" && "$wine" "$trial/interrupt.exe" $times "stop$times\\1.png" "$package/idphoto.exe" batch many \
      -o "stop$times" --preset de-passport --format png --jobs 1) >"$trial/console" || status=$?
    cat "$trial/console"
    grep -qaE '\[#*\.*\] [0-9]+/20 ' "$trial/console"
    ((times == 2 || status == 1)) # wine ends with 0 what its system's handler ends
    (($(find "$stopped" -name '*.png' | wc -l) < 20))
    [[ ! $(find "$stopped" -name '.idphoto-*') ]]
    for made in "$stopped"/*.png; do cmp "$made" "$trial/here/made.png"; done
  done
}

check "exports of qx_idp.dll" exports
check "a program on qx_idp.dll" consumer
check "a document as PNG" make_png
check "a document as JPEG" make_jpeg
check "crops" crop
check "mask and cut-out" cut_out
check "a sheet" sheet
check "its own files read" own_files
write_photos
for photo in "$trial"/photos/*; do check "${photo##*/} read" reads "${photo##*/}"; done
check "a name from the root" rooted_name
check "names in other letters" wide_names
check "many photographs" batch
check "progress and interrupts" interrupts
check "a missing file" says 1 "no such file; check the name" inspect missing.jpg
check "a folder" says 1 "is a folder" inspect .
printf 'no picture' | tee "$trial/here/text.jpg" >"$trial/there/text.jpg"
check "what is no picture" says 1 "is not a photograph in a" inspect text.jpg
for photo in turned.jpg photo.webp photo.tif sixteen_bits.png; do
  head -c 5000 "$trial/photos/$photo" | tee "$trial/here/half_$photo" >"$trial/there/half_$photo"
  check "half of $photo" says 1 "damaged or truncated" inspect "half_$photo"
done
check "a wrong option" says 2 "there is no preset" make ../sample.png -o x.png --preset nowhere
check "a missing folder" says 2 "no such folder" make ../sample.png -o missing/x.png --preset de-passport
printf '\0\0\0\x18ftypheic\0\0\0\0heicmif1' >"$trial/there/a.heic"
check "HEIF" refuses 1 "HEIF file, for which no reader is installed; save it as JPEG" inspect a.heic
check "commands left out" refuses 2 'this build has no command "serve"' serve
exit $failed
