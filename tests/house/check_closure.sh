#!/usr/bin/env bash
# usage: check_closure.sh PROGRAM
# A program with all of the photograph library in it needs neither the image library nor that of the options.
set -euo pipefail
libraries=$(ldd "$1")
symbols=$(nm -C "$1")
grep -q 'qx::photo::' <<<"$symbols" || { echo "$1 has nothing of the photograph library" && exit 1; }
if grep -iE 'libvips|libglib|libgobject' <<<"$libraries"; then echo "$1 needs these libraries" && exit 1; fi
if grep -E '(^| )(vips_|g_object_)|vips::|CLI::|qx::(codec|cli|jobs)::' <<<"$symbols"; then
  echo "$1 has these symbols" && exit 1
fi
