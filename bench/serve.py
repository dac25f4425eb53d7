#!/usr/bin/env python3
"""Times `idphoto serve` beside `idphoto batch` on the same photographs, and how long its clients wait.

usage: bench/serve.py IDPHOTO PHOTOGRAPH...

Prints two tables. Batch and server take turns; each client keeps its connection and sends its next photograph when the
last one is made. JOBS=N: photographs at once of both (the processors); COUNT=N: photographs of a run (48); ROUNDS=N: runs
(5), of which medians are shown. The server's pictures must be the batch's, byte for byte.
"""

import concurrent.futures
import contextlib
import http.client
import itertools
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

PROGRAM = sys.argv[1]
PHOTOGRAPHS = [pathlib.Path(name).resolve() for name in sys.argv[2:]]
JOBS = int(os.environ.get("JOBS", os.cpu_count()))
COUNT = int(os.environ.get("COUNT", 48))
ROUNDS = int(os.environ.get("ROUNDS", 5))
DOCUMENT = {"size": "35x45mm", "head": "32-36mm"}


class Client:
    def __init__(self, address):
        self.connection = http.client.HTTPConnection(address, timeout=300)

    def ask(self, method, target, body=None):
        """Status, bytes and seconds."""
        begun = time.perf_counter()
        self.connection.request(method, target, body)
        answer = self.connection.getresponse()
        data = answer.read()
        return answer.status, data, time.perf_counter() - begun


@contextlib.contextmanager
def serving():
    """The address and process of a server whose children are all ready."""
    command = [PROGRAM, "serve", "--listen", "127.0.0.1:0", "--jobs", str(JOBS)]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as server:
        try:
            address = server.stdout.readline().split("/")[2]
            client = Client(address)
            while f"idphoto_children_ready {JOBS}\n".encode() not in client.ask("GET", "/metrics")[1]:
                time.sleep(0.05)
            yield address, server.pid
        finally:
            server.terminate()


def processor_seconds(server):
    """Of a server and its children so far."""
    tasks = pathlib.Path(f"/proc/{server}/task").iterdir()
    children = [child for task in tasks for child in (task / "children").read_text().split()]
    fields = [pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
              for process in [server, *children]]
    return sum(int(each[11]) + int(each[12]) for each in fields) / os.sysconf("SC_CLK_TCK")


def by_batch(folder):
    """Seconds of a batch, its processor's seconds, and what it made of each photograph."""
    with tempfile.TemporaryDirectory(dir=folder) as place:
        source, made = pathlib.Path(place, "in"), pathlib.Path(place, "out")
        source.mkdir()
        for i, photograph in zip(range(COUNT), itertools.cycle(PHOTOGRAPHS)):
            (source / f"{i:04}{photograph.suffix}").symlink_to(photograph)
        options = [word for name, value in DOCUMENT.items() for word in (f"--{name}", value)]
        begun, before = time.perf_counter(), os.times()
        subprocess.run([PROGRAM, "batch", source, "-o", made, "--jobs", str(JOBS), *options], check=True,
                       capture_output=True)
        seconds, after = time.perf_counter() - begun, os.times()
        used = after.children_user - before.children_user + after.children_system - before.children_system
        return seconds, used, [(made / f"{i:04}.jpg").read_bytes() for i in range(min(COUNT, len(PHOTOGRAPHS)))]


def by_server(address, clients, count):
    """Seconds of a run, and (number, status, bytes, seconds) of each photograph."""
    photographs = [photograph.read_bytes() for photograph in PHOTOGRAPHS]
    target = "/v1/make?" + "&".join(f"{name}={value}" for name, value in DOCUMENT.items())
    numbers = iter(range(count))  # whoever is free takes the next

    def work(client):
        return [(number, *client.ask("POST", target, photographs[number % len(photographs)])) for number in numbers]

    with concurrent.futures.ThreadPoolExecutor(clients) as pool:
        begun = time.perf_counter()
        done = list(itertools.chain(*pool.map(work, [Client(address) for _ in range(clients)])))
        return time.perf_counter() - begun, done


def compare(folder, address, server):
    batch, serve = [], []  # seconds and processor's seconds of each run
    for _ in range(ROUNDS):
        seconds, used, pictures = by_batch(folder)
        batch.append((seconds, used))
        before = processor_seconds(server)
        seconds, done = by_server(address, JOBS, COUNT)
        serve.append((seconds, processor_seconds(server) - before))
        for number, status, data, _ in done:
            if status != 200 or data != pictures[number % len(pictures)]:
                sys.exit(f"photograph {number}: status {status}, not the batch's bytes")

    def ratio(at):
        return statistics.median(mine[at] / theirs[at] for mine, theirs in zip(batch, serve))

    def median(runs, at):
        return statistics.median(run[at] for run in runs)

    print(f"| {COUNT} photographs, {JOBS} at once | batch | serve | ratio | goal |")
    print("| :-- | --: | --: | --: | --: |")
    print(f"| a second | {COUNT / median(batch, 0):.2f} | {COUNT / median(serve, 0):.2f} | {ratio(0):.2f} | 0.90 |")
    print(f"| in a second of processor time | {COUNT / median(batch, 1):.2f} | {COUNT / median(serve, 1):.2f} | "
          f"{ratio(1):.2f} | 0.90 |")


def show_waits(address):
    print("| clients | median | 99 % | median, of one client's | photographs a second | refused |")
    print("| --: | --: | --: | --: | --: | --: |")
    alone = None
    for clients in (1, 8, 64):
        seconds, done = by_server(address, clients, max(COUNT, 3 * clients))
        waits = sorted(wait for _, status, _, wait in done if status == 200)
        median = statistics.median(waits)
        alone = alone or median
        most = waits[min(len(waits) - 1, int(len(waits) * 0.99))]
        print(f"| {clients} | {median:.2f} s | {most:.2f} s | {median / alone:.1f} | {len(waits) / seconds:.2f} | "
              f"{len(done) - len(waits)} |")


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as folder, serving() as (address, server):
        print(f"Load: {' '.join(pathlib.Path('/proc/loadavg').read_text().split()[:3])}.\n")
        compare(folder, address, server)
        print()
        show_waits(address)


main()
