"""Types for users' programs."""

import os
import pathlib
import subprocess
import sys

import idphoto
import pytest

EXAMPLES = sorted((pathlib.Path(__file__).parents[2] / "examples" / "python").glob("*.py"))


def test_stubs(tmp_path):
    """What mypy reads is what there is at run time, to every option, and the package is strictly typed."""
    pytest.importorskip("mypy", reason="skipped: python3-mypy is missing")
    folder = os.path.dirname(os.path.dirname(idphoto.__file__))
    (tmp_path / "allowed").write_text(r"idphoto\._.*")
    # Of what others made nothing is known, and nothing read.
    (tmp_path / "examples.ini").write_text(
        "[mypy]\n"
        "[mypy-dask.*,distributed.*,pandas.*,matplotlib.*]\n"
        "follow_imports = skip\n"
        "ignore_missing_imports = True\n"
    )
    (tmp_path / "use.py").write_text(
        "import idphoto\n"
        "made = idphoto.make('a.jpg', preset='de-passport', max_kb=120)\n"
        "width: int = made.image.shape[1]\n"
        "idphoto.make('a.jpg', colour='red')  # type: ignore[call-arg]\n"
        "idphoto.make('a.jpg', max_kb='many')  # type: ignore[arg-type]\n"
    )
    for arguments in (
        ["mypy.stubtest", "idphoto", "--ignore-missing-stub", "--ignore-unused-allowlist", "--allowlist", "allowed"],
        ["mypy", "--strict", "-p", "idphoto"],
        ["mypy", "--strict", "use.py"],
        ["mypy", "--strict", "--config-file", "examples.ini", *map(str, EXAMPLES)],
    ):
        done = subprocess.run([sys.executable, "-m", *arguments], cwd=tmp_path, env={**os.environ, "MYPYPATH": folder},
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        assert done.returncode == 0, done.stdout.decode()
