import os
import subprocess

import pytest


@pytest.fixture(scope="session")
def sample():
    return os.environ["QX_SAMPLE_PHOTO"]


@pytest.fixture
def command(tmp_path):
    """Runs the program; the bytes of the file that it writes and what it prints."""

    def run(*arguments, output=None):
        extra = ["-o", str(tmp_path / output)] if output else []
        done = subprocess.run([os.environ["IDPHOTO"], *map(str, arguments), *extra], capture_output=True)
        assert done.returncode in (0, 1), done.stderr
        written = tmp_path / (output or "")
        return written.read_bytes() if written.is_file() else None, done.stdout

    return run
