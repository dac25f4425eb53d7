"""Threads, long runs, interrupts."""

import os
import signal
import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor

import idphoto
import numpy
import pytest


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
    array = numpy.ascontiguousarray(idphoto.read(sample)[:60, :80])
    small = idphoto.encode(array, "png", order="rgb")

    def calls(times):
        for _ in range(times):
            picture = idphoto.read(small)
            idphoto.encode(picture, "jpg", order="bgr")
            with pytest.raises(idphoto.NotAPicture):
                idphoto.read(b"none")
            with pytest.raises(ValueError):
                idphoto.encode(array[::2], "png", order="rgb")
            idphoto.presets("de-passport")
        for _ in range(times // 500):
            made = idphoto.make(sample, size="300x300px")
            assert made.image.any() and made.report

    calls(500)
    before, references = resident(), sys.getrefcount(array)
    calls(2000)  # 10,000 in all
    # One array that was kept each time would be 28 MB.
    assert resident() - before < 8 << 20 and sys.getrefcount(array) == references


def first_line_before_ctrl_c(program, sample):
    """What a program says first; it must end by the interrupt that it gets then."""
    running = subprocess.Popen([sys.executable, "-c", program, sample], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    try:
        line = running.stdout.readline()
        running.send_signal(signal.SIGINT)
        _, errors = running.communicate(timeout=120)
    finally:
        running.kill()
    assert b"KeyboardInterrupt" in errors and running.returncode in (-signal.SIGINT, 130)
    return line


def test_ctrl_c_ends_a_batch(sample):
    program = (
        "import idphoto, itertools, sys\n"
        "for _, made in idphoto.batch(itertools.repeat(sys.argv[1]), jobs=2, preset='schengen-visa'):\n"
        "    print(len(made.data), flush=True)\n"
    )
    assert int(first_line_before_ctrl_c(program, sample)) > 0


def test_ctrl_c_during_a_call_comes_back(sample):
    program = (
        "import idphoto, sys\n"
        "large = idphoto.read(sys.argv[1]).repeat(8, 0).repeat(8, 1)\n"
        "print('begun', flush=True)\n"
        "while True:\n"
        "    idphoto.make(large, order='rgb', size='35x45mm', head='32-36mm', beauty='strong')\n"
    )
    assert first_line_before_ctrl_c(program, sample) == b"begun\n"


def worked_in_a_fork(sample):
    import multiprocessing

    def work(pipe):
        try:
            pipe.send(len(idphoto.make(sample, preset="schengen-visa").data))
        except RuntimeError as error:
            pipe.send(str(error))

    here, there = multiprocessing.Pipe()
    process = multiprocessing.get_context("fork").Process(target=work, args=(there,))
    process.start()
    try:
        return here.recv() if here.poll(60) else None
    finally:
        process.kill()
        process.join()


def test_forks(sample):
    # A fork lacks the threads of its parent: it is told so, and does not wait for them.
    idphoto.make(sample, preset="schengen-visa")
    assert "spawn" in worked_in_a_fork(sample)
    program = (
        "import sys; sys.path.insert(0, sys.argv[2])\n"
        "import test_running\n"
        "print(test_running.worked_in_a_fork(sys.argv[1]))\n"
    )
    # Where nothing was made before it, it works.
    fresh = [sys.executable, "-c", program, sample, os.path.dirname(__file__)]
    assert int(subprocess.run(fresh, stdout=subprocess.PIPE, check=True).stdout) > 10000


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
