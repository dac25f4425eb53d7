#!/usr/bin/env bash
# usage: scripts/wheel.sh PYTHON BUILD_DIR OUTPUT_DIR
# Packs the Python module of a build as a wheel: no network, only Debian's python3-wheel. The product's libraries are
# inside, stripped; libvips stays the system's.
set -euo pipefail
python=$1 build=$2 output=$3
papers=$(cd "$(dirname "$0")/.." && pwd)
"$python" -c 'import wheel' 2>/dev/null || { echo "$python has no module wheel; install python3-wheel" >&2 && exit 1; }
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cmake --install "$build" --prefix "$root" --component python --strip >/dev/null
strip --strip-unneeded "$root"/idphoto/*.so* # what is installed as a file keeps its symbols
version=$(sed -n 's/^version = "\(.*\)"$/\1/p' "$root/idphoto/_version.py")
tag=$("$python" -c 'import sys, sysconfig
python = "cp%d%d" % sys.version_info[:2]
print("-".join([python, python, sysconfig.get_platform().replace("-", "_").replace(".", "_")]))')
module=("$root"/idphoto/_native.*.so)
[[ ${module[0]} == *"$("$python" -c 'import sysconfig; print(sysconfig.get_config_var("EXT_SUFFIX"))')" ]] ||
  { echo "the module was built for another Python: ${module[0]##*/}" >&2 && exit 1; }

info=$root/idphoto-$version.dist-info
mkdir "$info"
cat >"$info/METADATA" <<END
Metadata-Version: 2.1
Name: idphoto
Version: $version
Summary: Identification photographs from ordinary photographs
License: Apache-2.0
License-File: LICENSE
License-File: NOTICE
License-File: THIRD_PARTY.md
Classifier: Operating System :: POSIX :: Linux
Classifier: Programming Language :: C++
Classifier: Programming Language :: Python :: 3
Classifier: Typing :: Typed
Requires-Python: >=3.9
Requires-Dist: numpy>=1.21
Description-Content-Type: text/markdown

$(cat "$papers/docs/python.md")
END
printf 'Wheel-Version: 1.0\nGenerator: idphoto\nRoot-Is-Purelib: false\nTag: %s\n' "$tag" >"$info/WHEEL"
cp "$papers/LICENSE" "$papers/NOTICE" "$papers/THIRD_PARTY.md" "$info"
mkdir -p "$output"
"$python" -m wheel pack --dest-dir "$output" "$root"
