#!/usr/bin/env python3
"""Times workers on a queue beside `idphoto batch` on the same photographs.

usage: bench/fleet.py IDPHOTO QUEUE PHOTOGRAPH...

QUEUE is "folder" for a queue that is a folder, "rabbitmq" for a server of its own on the loopback, or the address of
one as `idphoto work` takes it; nobody else may use its queues meanwhile. Prints a table: what a job costs besides its
photograph (one worker of one job at a time beside a batch of one thread), what handing in and collecting cost, and
photographs a second of 1, 2 and 4 workers, each a process with one job at a time. COUNT=N: photographs of a run (48); ROUNDS=N: runs (3), of which medians are shown. The
workers' pictures must be the batch's, byte for byte.
"""

import contextlib
import itertools
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

PROGRAM = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 3 else sys.exit(__doc__)
QUEUE = sys.argv[2]
PHOTOGRAPHS = [pathlib.Path(name).resolve() for name in sys.argv[3:]]
COUNT = int(os.environ.get("COUNT", 48))
ROUNDS = int(os.environ.get("ROUNDS", 3))
DOCUMENT = ["--size", "35x45mm", "--head", "32-36mm"]


def run(*words):
    """Seconds of a command that must succeed."""
    begun = time.perf_counter()
    subprocess.run([PROGRAM, *map(str, words)], check=True, capture_output=True)
    return time.perf_counter() - begun


def seconds_by_batch(source, made, jobs):
    return run("batch", source, "-o", made, "--jobs", jobs, *DOCUMENT)


def seconds_by_workers(place, source, made, workers):
    """Seconds of handing in, of the work until the queue is empty, and of collecting."""
    queue = f"folder:{place}/queue" if QUEUE == "folder" else QUEUE
    submit = run("submit", "--queue", queue, source, "-o", made, *DOCUMENT)
    work = ["work", "--queue", queue, "--jobs", "1", "--drain", "--read-from", source, "--write-to", made]
    begun = time.perf_counter()
    with contextlib.ExitStack() as stack:
        processes = [stack.enter_context(subprocess.Popen([PROGRAM, *map(str, work)], stderr=subprocess.DEVNULL))
                     for _ in range(workers)]
        if any(process.wait() for process in processes):
            sys.exit("a worker failed")
    worked = time.perf_counter() - begun
    collect = run("collect", "--queue", queue, "--report", place / "report.jsonl", "--expect", COUNT)
    return submit, worked, collect


def one_round(workers):
    """Seconds of batch, submit, work and collect."""
    with tempfile.TemporaryDirectory() as folder:
        place = pathlib.Path(folder)
        source, theirs, ours = place / "in", place / "batch", place / "made"
        for each in (source, ours):
            each.mkdir()
        for i, photograph in zip(range(COUNT), itertools.cycle(PHOTOGRAPHS)):
            shutil.copy(photograph, source / f"{i:04}{photograph.suffix}")
        batch = seconds_by_batch(source, theirs, workers)
        times = seconds_by_workers(place, source, ours, workers)
        for picture in theirs.glob("*.jpg"):
            if picture.read_bytes() != (ours / picture.name).read_bytes():
                sys.exit(f"{picture.name}: not the batch's bytes")
        return (batch, *times)


@contextlib.contextmanager
def server_of_its_own():
    """The address of one, while it runs."""
    sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "tests/queue"))
    import rabbitmq
    with tempfile.TemporaryDirectory() as folder:
        server = rabbitmq.Server(pathlib.Path(folder) / "q")
        try:
            server.start()
            os.environ["IDPHOTO_QUEUE_PASSWORD"] = rabbitmq.PASSWORD
            yield server.url()
        finally:
            server.end()


def main():
    print(f"Load: {' '.join(pathlib.Path('/proc/loadavg').read_text().split()[:3])}; {os.cpu_count()} processors.\n")
    print(f"| {COUNT} photographs | batch, a second | workers, a second | ratio | a job more than in a batch | "
          "handing in, a job | collecting, a job |")
    print("| :-- | --: | --: | --: | --: | --: | --: |")
    for workers in (1, 2, 4):
        rounds = [one_round(workers) for _ in range(ROUNDS)]
        batch, submit, work, collect = (statistics.median(column) for column in zip(*rounds))
        ratio = statistics.median(each[0] / each[2] for each in rounds)
        more = statistics.median(each[2] - each[0] for each in rounds) * workers / COUNT
        print(f"| {workers} at once | {COUNT / batch:.2f} | {COUNT / work:.2f} | {ratio:.2f} | {1000 * more:.0f} ms | "
              f"{1000 * submit / COUNT:.1f} ms | {1000 * collect / COUNT:.1f} ms |")


if QUEUE == "rabbitmq":
    with server_of_its_own() as QUEUE:
        main()
else:
    main()
