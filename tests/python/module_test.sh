#!/usr/bin/env bash
# usage: module_test.sh PYTHON FOLDER_OR_FILE [OPTION...]: these tests under pytest.
set -euo pipefail
python=$1
"$python" -c 'import numpy, pytest' 2>/dev/null || { echo "skipped: $python lacks numpy or pytest" && exit 77; }
# What a test skips for itself is said.
exec "$python" -m pytest -q -rs -p no:cacheprovider "${@:2}"
