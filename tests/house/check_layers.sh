#!/usr/bin/env bash
# usage: check_layers.sh SOURCE_DIR
# Who may include whom. A library that reaches up would bring what it should do without: files, terminals, libvips.
set -euo pipefail
cd "$1"
failed=0

# refuse FILE INCLUDED WHY
refuse() { echo "$1: includes $2: $3" && failed=1; }

# includes FOLDER: lines "FILE INCLUDED" of all includes in quotes.
includes() { grep -rHoE '^ *# *include "[^"]+"' --include='*.h' --include='*.cpp' "$1" | sed -E 's/:.*"([^"]+)"/ \1/'; }

declare -A floor=([base]=0 [document]=1 [face]=2 [person]=3 [foreground]=4 [place]=4 [render]=5 [sheet]=5 [drawing]=5 [check]=5)
# floor_of PATH: the floor of what lies in photo/.
floor_of() {
  local room=${1#photo/}
  [[ $room == */* ]] && echo "${floor[${room%%/*}]:-none}" || echo 6
}

count=0
while read -r file included; do
  count=$((count + 1))
  case $included in
    codec/* | cli/* | jobs/* | server/* | worker/*) refuse "$file" "$included" "photo/ stands below it" ;;
    photo/*)
      from=$(floor_of "$file") to=$(floor_of "$included")
      [[ $from != none && $to != none ]] || refuse "$file" "$included" "a room without a floor"
      [[ $from == none || $to == none ]] || ((to <= from)) || refuse "$file" "$included" "a floor above its own"
      ;;
  esac
done < <(includes photo)

while read -r file included; do
  count=$((count + 1))
  case $included in
    codec/* | photo/base/* | photo/document/*) ;;
    *) refuse "$file" "$included" "codec/ may use photo/base and photo/document only" ;;
  esac
done < <(includes codec)

while read -r file included; do
  count=$((count + 1))
  [[ $included == jobs/* ]] || refuse "$file" "$included" "jobs/ uses the standard library only"
done < <(includes jobs)

while read -r file included; do
  count=$((count + 1))
  case $included in
    server/children/* | codec/codec.h | photo/studio.h | photo/base/failure.h | photo/base/image.h | photo/base/text.h) ;;
    photo/document/presets.h) ;;
    *) refuse "$file" "$included" "server/children/ uses codec/ and photo/ by their public headers, nothing above it" ;;
  esac
done < <(includes server/children)

if grep -rnE '#include <(vips|CLI|glib)' photo jobs server/children; then echo "photo/, jobs/ and server/children/ know no image or option library" && failed=1; fi
# What the terminal's options can do about a failure is said by cli/ alone.
if grep -rnE '"[^"]*(--[a-z]|idphoto )[^"]*"' --include='*.h' --include='*.cpp' photo codec jobs server/children; then
  echo "texts that name options or commands" && failed=1
fi
((count > 100)) || { echo "only $count includes seen" && failed=1; }
exit $failed
