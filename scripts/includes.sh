#!/usr/bin/env bash
# usage: scripts/includes.sh
# Draws who includes whom: for each room of the house its sources and, per room below it, how many includes lead there.
# Rooms are listed from the top floor down; an include that runs back up is marked with "UP" and fails the script, and so
# do a room with more than fifteen sources ("FULL") and a folder that is no room.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

rooms=(python wasm wasm/codec cli/commands cli/queue cli/batch cli cli/platform web server/adapter server server/description worker server/children server/http queue/amqp queue orders orders/options codec codec/platform jobs
  photo photo/drawing photo/check photo/sheet photo/render photo/place photo/foreground photo/person photo/face photo/document photo/base
  src/api src/quality src/beauty src/beauty/skin src/beauty/spots src/beauty/shape src/beauty/detail
  src/mask src/crop src/face src/kernels include engine nn src/base)

# room_of PATH: the innermost room that holds a file, as its includes name it.
room_of() {
  local path=$1
  case $path in
    qx_idp.h) echo include && return ;;
    qx_face_sdk.h | engine/*) echo engine && return ;;
    python/* | wasm/* | cli/* | web/* | server/* | worker/* | queue/* | orders/* | codec/* | jobs/* | photo/* | nn/* | src/*) ;;
    */*) path=src/$path ;;
    *) return 1 ;;
  esac
  local folder=${path%/*}
  [[ " ${rooms[*]} " == *" $folder "* ]] && echo "$folder"
}

status=0
declare -A sources arrows floor
for i in "${!rooms[@]}"; do floor[${rooms[i]}]=$i; done
while IFS= read -r file; do
  from=$(room_of "$file") || { echo "$file: its folder is no room" && status=1 && continue; }
  [[ $file == *.cpp ]] && sources[$from]=$((${sources[$from]:-0} + 1))
  while IFS= read -r included; do
    to=$(room_of "$included") || continue
    [[ $from == "$to" ]] || arrows["$from $to"]=$((${arrows["$from $to"]:-0} + 1))
  done < <(sed -nE 's/^ *# *include "([^"]+)".*/\1/p' "$file")
done < <(find python wasm cli web server worker queue orders codec jobs photo src engine nn -name node_modules -prune -o \( -name '*.h' -o -name '*.cpp' \) -print)

for from in "${rooms[@]}"; do
  line=$(printf '%-17s %2d sources' "$from" "${sources[$from]:-0}")
  ((${sources[$from]:-0} <= 15)) || line+=" FULL" status=1
  for to in "${rooms[@]}"; do
    count=${arrows["$from $to"]:-0}
    ((count == 0)) && continue
    mark=""
    # The program's commands and what serves them are one floor.
    if ((floor[$to] < floor[$from])) && [[ $from$to != clicli/commands && $from$to != clicli/queue ]]; then mark=" UP" status=1; fi
    line+="  -> $to $count$mark"
  done
  echo "$line"
done
exit $status
