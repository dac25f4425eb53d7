#!/usr/bin/env bash
# usage: bench/program.sh [OTHER_IDPHOTO]
# Times the program idphoto as a whole, processes and all, beside the decoder alone, and prints a table. Another build of
# the program, when one is named, takes its turns with this one and has a column of its own, "before".
# ROUNDS=N: repetitions (7). FOLLOW=N: only follows the memory of a batch of N photographs, with two jobs.
# Needs the sample photograph and the release build, as scripts/try.sh leaves them, and libvips-tools and time.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

sample=build/sample/astronaut.png photos=build/bench-photos
ours=build/release/bin/idphoto other=${1:-}
rounds=${ROUNDS:-7}
document=(--size 35x45mm --head 32-36mm)
export VIPS_CONCURRENCY=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "error: $*" >&2
  exit 1
}

# photograph NAME SCALE GRAIN: the sample enlarged, with grain like a camera's, so that decoding it costs what decoding a
# photograph of that size costs.
photograph() {
  local large=$work/large.v grain=$work/grain.v sum=$work/sum.v
  [[ -f $photos/$1.jpg ]] && return
  mkdir -p "$photos"
  vips resize "$sample" "$large" "$2" --kernel cubic
  vips gaussnoise "$grain" "$(vipsheader -f width "$large")" "$(vipsheader -f height "$large")" \
    --mean 0 --sigma "$3"
  vips add "$large" "$grain" "$sum"
  vips cast "$sum" "$work/cast.v" uchar
  vips jpegsave "$work/cast.v" "$work/photo.jpg" --Q 90
  mv "$work/photo.jpg" "$photos/$1.jpg"
  rm "$work"/*.v
}

# links FOLDER COUNT NAME...: a folder of links to the photographs of these names, in turn.
links() {
  local folder=$1 count=$2 names=("${@:3}") i
  mkdir "$folder"
  for ((i = 0; i < count; ++i)); do
    ln -s "$PWD/$photos/${names[i % ${#names[@]}]}.jpg" "$folder/$i.jpg"
  done
}

# measure KEY COMMAND...: notes processor time and time passed, both in ms, and peak memory in kB.
measure() {
  local TIMEFORMAT='%U %S %R'
  { time /usr/bin/time -o "$work/peak" -f %M "${@:2}" >/dev/null 2>"$work/said" ||
    fail "$(cat "$work/said")"; } 2>"$work/times"
  awk -v key="$1" '{ print key, 1000 * ($1 + $2), 1000 * $3 }' "$work/times" | paste -d' ' - "$work/peak" >>"$work/notes"
}

# start KEY COMMAND...: the same of a process too short for a single measurement, as the mean of twenty.
start() {
  # shellcheck disable=SC2016 # expands in the inner shell
  measure "$work/start" bash -c 'for _ in {1..20}; do "$@" >/dev/null; done' - "${@:2}"
  awk -v key="$1" -v raw="$work/start" '$1 == raw { line = $2 / 20 " " $3 / 20 " " $4 } END { print key, line }' \
    "$work/notes" >"$work/mean"
  cat "$work/mean" >>"$work/notes"
}

# median KEY FIELD [SCALE]: of all notes, 2 processor time, 3 time passed, 4 peak memory.
median() {
  awk -v key="$1" -v field="$2" '$1 == key { print $field }' "$work/notes" | sort -g |
    awk '{ all[NR] = $1 } END { print (all[int((NR + 1) / 2)] + all[int(NR / 2) + 1]) / 2 }'
}

# say FORMAT EXPRESSION: what awk makes of it.
say() { awk "BEGIN { printf \"$1\", $2 }"; }

# row WHAT GOAL FUNCTION ARGUMENT...: a line of the table; the function gives a program's figure.
row() {
  local before=''
  [[ -n $other ]] && before="$("$3" other "${@:4}") | "
  echo "| $1 | $before$("$3" ours "${@:4}") | $2 |"
}

seconds() { say '%.2f s' "$(median "$1-$2" 2) / 1000"; }
milliseconds() { say '%.1f ms' "$(median "$1-$2" 2)"; }
peak() { say '%.0f MB' "$(median "$1-$2" 4) * 1.024 / 1000"; }
ratio() { say '%.2f' "$(median "$1-$2" 2) / $(median decode 2)"; }
further() { say '%.0f MB' "($(median "$1-batch$2" 4) - $(median "$1-batch1" 4)) * 1.024 / 1000 / ($2 - 1)"; }
rate() { say '%.2f' "1000 * $batch / $(median "$1-batch$2" 3)"; }

follow_batch() {
  local count=$1 id done_count next=0 steps=(200 600 1000 1500 2000)
  links "$work/in" "$count" 1mp 2mp 3mp
  "$ours" batch "$work/in" -o "$work/out" "${document[@]}" --jobs 2 >/dev/null 2>&1 &
  id=$!
  echo "| photographs | memory | peak |"
  echo "| --: | --: | --: |"
  while kill -0 "$id" 2>/dev/null; do
    done_count=$(wc -l 2>/dev/null <"$work/out/report.jsonl" || echo 0)
    if ((next < ${#steps[@]} && done_count >= steps[next])) || ((done_count >= count)); then
      awk -v n="$done_count" '/^VmHWM/ { peak = $2 } /^VmRSS/ { now = $2 }
        END { if (now) printf "| %d | %.1f MB | %.1f MB |\n", n, now * 1.024 / 1000, peak * 1.024 / 1000 }' \
        "/proc/$id/status" 2>/dev/null || true
      next=$((next + 1))
      ((done_count < count)) || break
    fi
    sleep 0.2
  done
  wait "$id" || fail "the batch failed"
}

run_all() {
  local size name program
  for name in ours ${other:+other}; do
    program=$ours
    [[ $name == other ]] && program=$other
    for size in 1 12 48; do
      measure "$name-make$size" "$program" make "$photos/${size}mp.jpg" -o "$work/made.jpg" "${document[@]}"
    done
    start "$name-version" "$program" --version
    start "$name-presets" "$program" presets
    (($1 <= 3)) || continue
    for size in 1 2 4; do
      rm -rf "$work/out"
      measure "$name-batch$size" "$program" batch "$work/in" -o "$work/out" "${document[@]}" --jobs "$size"
    done
  done
  measure decode vips avg "$photos/12mp.jpg"
}

[[ -f $sample && -x $ours ]] || fail "no sample photograph or no program; run scripts/try.sh first"
[[ -z $other || -x $other ]] || fail "no program $other"
photograph 1mp 2 3
photograph 2mp 2.8 3
photograph 3mp 3.4 3
photograph 12mp 6.8 9
photograph 48mp 13.6 6
if [[ -n ${FOLLOW:-} ]]; then
  follow_batch "$FOLLOW"
  exit
fi

batch=24
links "$work/in" "$batch" 1mp 12mp
for ((round = 1; round <= rounds; ++round)); do run_all "$round"; done
echo "Load: $(cut -d' ' -f1-3 /proc/loadavg). Decoding 12 megapixels: $(say '%.3f s' "$(median decode 2) / 1000")."
echo
echo "| one photograph, processor time and peak memory | ${other:+before | }now | goal |"
echo "| :-- | ${other:+--: | }--: | --: |"
row "12 megapixels" "" seconds make12
row "12 megapixels, decodings of the file" 2.50 ratio make12
row "12 megapixels, memory" "150 MB" peak make12
row "48 megapixels" "" seconds make48
row "48 megapixels, memory" "300 MB" peak make48
row "1 megapixel" "" seconds make1
row "1 megapixel, decodings of the 12 megapixels" 1.25 ratio make1
row "1 megapixel, memory" "110 MB" peak make1
row "idphoto --version" "20 ms" milliseconds version
row "idphoto presets" "20 ms" milliseconds presets
row "batch, memory with one job" "120 MB" peak batch1
row "batch, memory of each further of two" "45 MB" further 2
row "batch, memory of each further of four" "45 MB" further 4
for jobs in 1 2 4; do row "batch, photographs a second, jobs: $jobs" "" rate "$jobs"; done
