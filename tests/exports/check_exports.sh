#!/usr/bin/env bash
# usage: check_exports.sh SOURCE_DIR LIBQX_IDP LIBQX_FACESDK
# Holds the dynamic symbols, dependencies and load-time work of the libraries against the public headers.
set -euo pipefail
export LC_ALL=C
source_dir=$1 library=$2 engine=$3
outcome=0

# expect WHAT EXPECTED ACTUAL: two lists, one word a line.
expect() {
  local difference
  if ! difference=$(diff <(echo "$2") <(echo "$3")); then
    printf '%s (< expected, > found):\n%s\n' "$1" "$(grep '^[<>]' <<<"$difference")"
    outcome=1
  fi
}

# Another machine's libraries want its own tools.
nm=${NM:-nm} readelf=${READELF:-readelf} objdump=${OBJDUMP:-objdump}

# The functions that a header declares, and the names that a library defines for others or wants from them.
functions() { sed -nE "s/^$2 [^(]*[ *](\w+)\(.*/\1/p" "$1" | sort; }
if [[ $library == *.dll ]]; then
  defined() { "$objdump" -p "$1" | sed -nE '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\s+\[.*\s(\w+)$/\1/p' | sort; }
  # Lines of the import tables: where it goes to, a number, the name.
  wanted() { "$objdump" -p "$1" | sed -nE 's/^\s+[0-9a-f]+\s+[0-9]+\s+(\w+)$/\1/p' | sort; }
else
  defined() { "$nm" -D --without-symbol-versions --defined-only "$1" | awk '{ print $NF }' | sort; }
  wanted() { "$nm" -D --without-symbol-versions --undefined-only "$1" | awk '{ print $NF }' | sort; }
fi
dynamic() { "$readelf" -dW "$1" | sed -nE "s/.*\($2\).*\[(.*)\]/\1/p" | sort; }

api=$(functions "$source_dir/include/qx_idp.h" QX_IDP_API)
engine_api=$(functions "$source_dir/engine/include/qx_face_sdk.h" QX_FACE_SDK_API)
expect "number of functions" $'22\n16' "$(wc -l <<<"$api"; wc -l <<<"$engine_api")"

expect "exports of the library" "$(sort <<<"$api"$'\n'NvOptimusEnablementCuda)" "$(defined "$library")"
expect "exports of the engine" "$engine_api" "$(defined "$engine")"
# Another engine can stand in front only when the library leaves every one of these to the dynamic linker.
expect "engine functions that the library wants" "$engine_api" "$(comm -12 <(echo "$engine_api") <(wanted "$library"))"

# No product fused into a sum, on x86 nor on arm64, whatever processor the compiler was told to build for.
code=$("$objdump" -d --no-show-raw-insn "$library")
fused=$(grep -E '\s(vf(n)?m(add|sub)|fn?m(add|sub)\s|fml[as]\s)' <<<"$code" | awk '{ print $2 }' | sort | uniq -c || true)
expect "fused multiply-add in the library" "" "$fused"

# Nothing of the compiler's travels along.
if [[ $library == *.dll ]]; then
  needed=$("$objdump" -p "$library" | sed -nE 's/^\s+DLL Name: (.*)/\1/p' | sort -f)
  expect "libraries that it needs" $'KERNEL32.dll\nmsvcrt.dll\nQX_FaceSDK.dll' "$needed"
  exit $outcome
fi

# Of the C library's mathematics, what IEEE 754 defines to the bit; the last bits of all else are the machine's.
exact=$'ceil\nceilf\nfloor\nfloorf\nlround\nlroundf\nround\nsqrt\nsqrtf\ntrunc'
mathematics=$("$nm" -D --undefined-only "$library" | awk '{ print $NF }' | grep -E "^a?(exp|log|pow|cbrt|sin|cos|tan|hypot|fma|ceil|floor|l?round|sqrt|trunc)[a-z0-9]*@" | sed 's/@.*//' | sort || true)
expect "mathematics of the C library" "" "$(comm -13 <(echo "$exact") <(echo "$mathematics"))"

expect "soname of the library" libqx_idp.so.0 "$(dynamic "$library" SONAME)"
expect "soname of the engine" libQX_FaceSDK.so.0 "$(dynamic "$engine" SONAME)"
allowed=$'ld-linux-aarch64.so.1\nlibQX_FaceSDK.so.0\nlibc.so.6\nlibgcc_s.so.1\nlibm.so.6\nlibstdc++.so.6'
expect "libraries beyond what is allowed" "" "$(comm -13 <(echo "$allowed") <(dynamic "$library" NEEDED))"
expect "engine among the needed libraries" libQX_FaceSDK.so.0 "$(dynamic "$library" NEEDED | grep FaceSDK)"

# The toolchain itself leaves one initialiser and one finaliser; a second would be a static object of ours.
sections=$("$readelf" -SW "$library" | sed -nE 's/^ *\[ *[0-9]+\] (\.(init|fini)_array|\.ctors|\.dtors) +\S+ +\S+ +\S+ +(\S+) .*/\1 \3/p')
expect "sizes of the load-time work" $'.init_array 000008\n.fini_array 000008' "$sections"

exit $outcome
