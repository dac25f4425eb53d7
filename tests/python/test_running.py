"""Threads, long runs, interrupts, and the papers of the package."""

import ast
import doctest
import os
import pathlib
import signal
import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor

import idphoto
import numpy
import pytest
from idphoto import _batch, _pictures, _studio


def test_threads_share_a_studio(sample):
    studio = idphoto.Studio()
    wanted = idphoto.make(sample, preset="schengen-visa").data
    start = threading.Barrier(3)

    def work(number):
        start.wait()
        with pytest.raises(idphoto.NoFace):
            studio.make(numpy.zeros((50, 50, 3), numpy.uint8), order="rgb", preset="schengen-visa")
        return [studio.make(sample, preset="schengen-visa").data for _ in range(2)]

    with ThreadPoolExecutor(3) as pool:
        assert all(data == wanted for made in pool.map(work, range(3)) for data in made)
    assert 1 <= studio.engines <= 3


def test_python_goes_on_during_a_call(sample):
    begin, seen = threading.Event(), threading.Event()

    def other():
        begin.wait()
        seen.set()

    idphoto.inspect(sample)
    thread = threading.Thread(target=other)
    thread.start()
    # No thread is interrupted any more: the other one runs only when the call gives up the interpreter's lock.
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    try:
        begin.set()
        idphoto.make(sample, preset="schengen-visa")
        assert seen.is_set()
    finally:
        sys.setswitchinterval(interval)
        thread.join()


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def test_memory_stays_flat(sample):
    small = idphoto.make(sample, size="300x300px").data
    array = numpy.zeros((300, 300, 3), numpy.uint8)

    def calls(times):
        for _ in range(times):
            picture = idphoto.read(small)
            idphoto.encode(picture, "jpg", order="bgr")
            for failing in (lambda: idphoto.read(b"none"), lambda: idphoto.crop(array, order="rgb")):
                with pytest.raises(idphoto.Failure):
                    failing()
            idphoto.presets("de-passport")

    calls(20)
    before = resident()
    calls(150)
    # One array or file that was kept each time would be 40 MB and more.
    assert resident() - before < 16 << 20


def test_ctrl_c_ends_a_batch(sample):
    program = (
        "import idphoto, itertools, sys\n"
        "for _, made in idphoto.batch(itertools.repeat(sys.argv[1]), jobs=2, preset='schengen-visa'):\n"
        "    print(len(made.data), flush=True)\n"
    )
    running = subprocess.Popen([sys.executable, "-c", program, sample], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    try:
        assert int(running.stdout.readline()) > 0
        running.send_signal(signal.SIGINT)
        _, errors = running.communicate(timeout=120)
    finally:
        running.kill()
    assert b"KeyboardInterrupt" in errors and running.returncode in (-signal.SIGINT, 130)


def test_batch_keeps_the_order(sample):
    wanted = idphoto.make(sample, preset="schengen-visa").data
    given = [sample, b"none", sample, "nowhere.jpg"]
    results = list(idphoto.batch(given, jobs=2, preset="schengen-visa"))
    assert [photograph for photograph, _ in results] == given
    assert [getattr(made, "data", type(made)) for _, made in results] == [
        wanted, idphoto.NotAPicture, wanted, idphoto.NoFile
    ]
    with pytest.raises(TypeError):
        list(idphoto.batch(given, colour="red"))


def test_examples(sample):
    for module in (idphoto, _batch, _pictures, _studio):
        outcome = doctest.testmod(
            module, extraglobs={"sample": sample}, optionflags=doctest.ELLIPSIS | doctest.IGNORE_EXCEPTION_DETAIL
        )
        assert outcome.attempted > 0 and outcome.failed == 0


def test_stubs_name_every_option():
    folder = pathlib.Path(idphoto.__file__).parent
    assert (folder / "py.typed").exists()
    tree = ast.parse((folder / "__init__.pyi").read_text())
    functions = {node.name: node for node in tree.body if isinstance(node, ast.FunctionDef)}
    names = {node.name for node in tree.body if isinstance(node, (ast.FunctionDef, ast.ClassDef))} | {"__version__"}
    assert names >= set(idphoto.__all__)
    own = {"order", "mask", "copies"}
    for call in ("make", "crop", "retouch", "inspect", "check", "sheet"):
        stub = {argument.arg for argument in functions[call].args.kwonlyargs} - own
        assert stub - {"pair"} == _studio.option_names(call), call
