#!/usr/bin/env bash
# usage: scripts/wheel.sh PYTHON BUILD_DIR OUTPUT_DIR
# Packs the Python module of a build as a wheel: no network, only Debian's python3-wheel. The module's own libraries are
# inside; libvips stays the system's.
set -euo pipefail
python=$1 build=$2 output=$3
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cmake --install "$build" --prefix "$root" --component python --strip >/dev/null
version=$(sed -n 's/^version = "\(.*\)"$/\1/p' "$root/idphoto/_version.py")
tag=$("$python" -c 'import sys, sysconfig
python = "cp%d%d" % sys.version_info[:2]
print("-".join([python, python, sysconfig.get_platform().replace("-", "_").replace(".", "_")]))')
info=$root/idphoto-$version.dist-info
mkdir "$info"
cat >"$info/METADATA" <<END
Metadata-Version: 2.1
Name: idphoto
Version: $version
Summary: Identification photographs from ordinary photographs
License: Apache-2.0
Requires-Python: >=3.9
Requires-Dist: numpy>=1.20
END
printf 'Wheel-Version: 1.0\nGenerator: idphoto\nRoot-Is-Purelib: false\nTag: %s\n' "$tag" >"$info/WHEEL"
papers=$(dirname "$0")/..
cp "$papers/LICENSE" "$papers/NOTICE" "$papers/THIRD_PARTY.md" "$info"
mkdir -p "$output"
"$python" -m wheel pack --dest-dir "$output" "$root"
