#!/usr/bin/env bash
# usage: wheel_test.sh PYTHON BUILD_DIR WORK_DIR
# A wheel made without any network, installed into an empty folder, makes a photograph there with nothing of the build.
set -euo pipefail
python=$1 build=$2 work=$3 root=$(cd "$(dirname "$0")/../.." && pwd)
"$python" -c 'import numpy, pip, wheel' 2>/dev/null || { echo "skipped: $python lacks numpy, pip or wheel" && exit 77; }
fail() { echo "$*" && exit 1; }
rm -rf "$work" && mkdir -p "$work/elsewhere"
"$root/scripts/wheel.sh" "$python" "$build" "$work/dist"
wheel=$(echo "$work"/dist/idphoto-*.whl)
echo "${wheel##*/}: $(stat -c %s "$wheel") bytes"
unset PYTHONPATH LD_LIBRARY_PATH
"$python" -m pip install --quiet --no-index --no-deps --no-cache-dir --root-user-action=ignore \
  --target "$work/empty" "$wheel"

module=$(echo "$work"/empty/idphoto/_native*.so)
[[ $(readelf -d "$module" | sed -nE 's/.*R(UN)?PATH.*\[(.*)\]/\2/p') == '$ORIGIN' ]] || fail "the module looks elsewhere"
for library in "$work"/empty/idphoto/*.so*; do
  ! readelf -SW "$library" | grep -qE '\.symtab|\.debug' || fail "$library is not stripped"
  ! grep -aqF "$build" "$library" || fail "$library names the folder that it was built in"
done

cd "$work/elsewhere"
PYTHONPATH=$work/empty "$python" - "$QX_SAMPLE_PHOTO" "$work" <<'END'
import importlib.metadata, pathlib, sys
import idphoto

sample, work = sys.argv[1:]
assert idphoto.__file__.startswith(work + "/empty/"), idphoto.__file__
paper = importlib.metadata.metadata("idphoto")
assert paper["Version"] == idphoto.__version__ and paper["License"] == "Apache-2.0", dict(paper)
kept = {file.name for file in importlib.metadata.files("idphoto")}
assert {"LICENSE", "NOTICE", "THIRD_PARTY.md", "py.typed", "__init__.pyi"} <= kept, kept
assert "import idphoto" in paper.get_payload()
maps = pathlib.Path("/proc/self/maps").read_text()
own = {line.split()[-1] for line in maps.splitlines() if "QX_" in line or "qx_" in line or "/_native." in line}
assert len(own) == 2 and all(path.startswith(work + "/empty/") for path in own), own
idphoto.make(sample, preset="schengen-visa").save("visa.jpg")
END
header=$root/include/qx_idp.h
version=$(sed -nE 's/^#define QX_IDP_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+)$/\2/p' "$header" | paste -sd.)
[[ ${wheel##*/} == idphoto-"$version"-* ]] || fail "the version is $version"
"$IDPHOTO" make "$QX_SAMPLE_PHOTO" --preset schengen-visa -o theirs.jpg --quiet
cmp visa.jpg theirs.jpg
