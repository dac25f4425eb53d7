#!/usr/bin/env bash
# usage: check_math.sh SOURCE_DIR
# Where a byte of a result may hang on it no elementary function of the C library is called: their last bits differ
# between processors and libraries. src/base/exact_math.h has ours. What IEEE 754 defines to the bit is free: sqrt, fabs,
# floor, ceil, trunc, round, lround, rint, fmod, remainder, copysign, ldexp, frexp and the like. hypot is none of these.
set -euo pipefail
cd "$1"
names='exp|exp2|expm1|log|log2|log10|log1p|pow|cbrt|hypot|sin|cos|tan|asin|acos|atan|atan2|sinh|cosh|tanh|asinh|acosh|atanh|erf|erfc|tgamma|lgamma|fma'
# found FOLDER...: lines that call one of them, comments left out.
found() {
  grep -rnE "(^|[^A-Za-z0-9_:.>])(std::|::)?($names)[fl]?\(" --include='*.h' --include='*.cpp' --include='*.inc' "$@" |
    sed -E 's://.*::' | grep -E "[^A-Za-z0-9_:.>](std::|::)?($names)[fl]?\(" || true
}
calls=$(found src engine nn photo codec orders)
if [[ -n $calls ]]; then
  echo "the C library's functions, for which qx::exact has others:" && echo "$calls" && exit 1
fi
# The tests call the library's on purpose: were none found there, the pattern would find nothing anywhere.
[[ -n $(found tests/src/base) ]] || { echo "the pattern finds no calls at all" && exit 1; }
