#!/usr/bin/env python3
"""usage: bench/queue.py QUEUE_DRIVER [--three]

What a queue on RabbitMQ costs a job, without the work on it: to hand it in, and to take and answer it, with 1, 2 and 4
workers; and how long a server that was killed is missed. With servers of its own, on the disk of the temporary folder:
one, or with --three (as root) a cluster of three in network namespaces of this one computer.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "tests/queue"))
import rabbitmq

JOBS = 1000


class Bench:
    def __init__(self, driver, url, within, processes):
        self.driver, self.url, self.within, self.processes = driver, url, within, processes

    def start(self, what, *arguments):
        return self.processes.start([*self.within, self.driver, what, self.url, "password=" + rabbitmq.PASSWORD,
                                     *arguments], stdout=subprocess.PIPE, text=True)

    def submit(self, start):
        process = self.start("submit", f"count={JOBS}", f"from={start}")
        process.communicate(timeout=300)

    def work(self, count):
        """Seconds for all jobs, from when the workers are connected."""
        workers = [self.start("work", "drain=1", "prefetch=3") for _ in range(count)]
        for worker in workers:
            worker.stdout.readline()
        began = time.monotonic()
        for worker in workers:
            worker.communicate(timeout=300)
        return time.monotonic() - began

    def collect(self, expect):
        return self.start("collect", f"expect={expect}", "wait=60000").communicate(timeout=120)[0].count("\n")

    def run(self):
        for i, count in enumerate((1, 2, 4)):
            began = time.monotonic()
            self.submit(JOBS * i)
            submitted = time.monotonic() - began
            worked = self.work(count)
            began = time.monotonic()
            self.collect(JOBS)
            collected = time.monotonic() - began
            print(f"{count} worker{'s' * (count > 1)}: handed in {1000 * submitted / JOBS:.2f} ms a job, taken and "
                  f"answered {1000 * worked / JOBS:.2f} ms a job ({JOBS / worked:.0f} jobs/s), collected "
                  f"{1000 * collected / JOBS:.2f} ms a job", flush=True)

    def restart(self, server):
        """Seconds without answers, from the kill of the server, which is started at once."""
        self.submit(0)
        worker = self.start("work", "ms=1", "idle=60000", "heartbeat=2")
        while "answered" not in worker.stdout.readline():
            pass
        began = time.monotonic()
        server.kill()
        server.start()
        up = time.monotonic() - began
        answered = worker.stdout.readline()
        while "answered" not in answered or time.monotonic() - began < up:
            answered = worker.stdout.readline()
        print(f"killed and started: it listens after {up:.1f} s, the next answer comes after "
              f"{time.monotonic() - began:.1f} s", flush=True)
        self.processes.kill(worker)


def main():
    reason = rabbitmq.why_not() or ("--three" in sys.argv and rabbitmq.Network.why_not())
    if reason or len(sys.argv) < 2:
        sys.exit(reason or __doc__)
    folder, processes = pathlib.Path(tempfile.mkdtemp(prefix="queue-")), rabbitmq.Processes()
    servers, network = [], None
    try:
        if "--three" in sys.argv:
            network = rabbitmq.Network(3)
            servers = rabbitmq.cluster(folder, network)
        else:
            servers = [rabbitmq.Server(folder / "q")]
            servers[0].start()
        url = f"amqp://{rabbitmq.USER}@{','.join(f'{each.address}:{each.port}' for each in servers)}/bureau"
        bench = Bench(str(pathlib.Path(sys.argv[1]).resolve()), url, network.within(0) if network else [], processes)
        bench.run()
        if not network:
            bench.restart(servers[0])
    finally:
        processes.end()
        for server in servers:
            server.end()
        if network:
            network.end()
        shutil.rmtree(folder, True)


if __name__ == "__main__":
    main()
