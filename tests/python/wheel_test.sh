#!/usr/bin/env bash
# usage: wheel_test.sh PYTHON BUILD_DIR WORK_DIR
# A wheel made without any network, installed into an empty folder, makes a photograph there with nothing of the build.
set -euo pipefail
python=$1 build=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
"$(dirname "$0")/../../scripts/wheel.sh" "$python" "$build" "$work/dist"
"$python" -m pip install --quiet --no-index --no-deps --no-cache-dir --root-user-action=ignore --target "$work/empty" \
  "$work"/dist/idphoto-*.whl
cd "$work"
readelf -d empty/idphoto/_native*.so | grep -qE 'R(UN)?PATH.*\[\$ORIGIN\]' || { echo "the module looks elsewhere" && exit 1; }
PYTHONPATH=$work/empty "$python" - "$QX_SAMPLE_PHOTO" "$work" <<'END'
import importlib.metadata, pathlib, sys
import idphoto

sample, work = sys.argv[1:]
assert idphoto.__file__.startswith(work + "/empty/"), idphoto.__file__
assert importlib.metadata.version("idphoto") == idphoto.__version__
assert (pathlib.Path(idphoto.__file__).parent / "py.typed").exists()
maps = pathlib.Path("/proc/self/maps").read_text()
engine = {line.split()[-1] for line in maps.splitlines() if "libQX_FaceSDK" in line}
assert engine and all(path.startswith(work + "/empty/") for path in engine), engine
idphoto.make(sample, preset="schengen-visa").save("visa.jpg")
END
"$IDPHOTO" make "$QX_SAMPLE_PHOTO" --preset schengen-visa -o theirs.jpg --quiet
cmp visa.jpg theirs.jpg
