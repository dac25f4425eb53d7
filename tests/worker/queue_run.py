"""What the tests of a queue of photographs share: the program run in a folder of its own, and reports compared."""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import time
import unittest
import urllib.request

TIMEOUT = 300


def wait_for(condition, seconds=120, step=0.02):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if value := condition():
            return value
        time.sleep(step)
    raise AssertionError("it did not come about in time")


def children_of(process):
    return [int(number) for number in
            pathlib.Path(f"/proc/{process}/task/{process}/children").read_text().split()] + [
                int(number) for thread in os.listdir(f"/proc/{process}/task") if thread != str(process)
                for number in pathlib.Path(f"/proc/{process}/task/{thread}/children").read_text().split()]


class QueueRun(unittest.TestCase):
    """`program` and `photograph` are set by who runs the tests."""

    program = photograph = None
    preset = ["--preset", "de-passport"]

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        self.workers = []
        self.addCleanup(self.end_workers)
        (self.folder / "in").mkdir()
        (self.folder / "out").mkdir()

    def end_workers(self):
        for worker in self.workers:
            if worker.poll() is None:
                worker.kill()
            worker.wait()
            worker.stderr.close()

    @property
    def queue(self):
        return ["--queue", f"folder:{self.folder}/queue"]

    def photographs(self, count, first=0):
        """Copies that are told apart by what stands behind the picture."""
        content = self.photograph.read_bytes()
        names = [self.folder / "in" / f"p{i:02}.png" for i in range(first, first + count)]
        for i, name in enumerate(names):
            name.write_bytes(content + str(i).encode())
        return names

    def run_program(self, *arguments, status=0, **options):
        run = subprocess.run([self.program, *map(str, arguments)], capture_output=True, text=True, timeout=TIMEOUT,
                             cwd=self.folder, **options)
        self.assertEqual(run.returncode, status, run.stdout + run.stderr)
        return run.stdout + run.stderr

    def submit(self, *arguments, status=0, **options):
        return self.run_program("submit", *self.queue, *arguments, status=status, **options)

    def submit_lines(self, *lines):
        text = "".join(json.dumps(line) + "\n" for line in lines)
        return self.submit("--jsonl", "-", "-o", "out", *self.preset, input=text)

    def worker(self, *arguments, **options):
        worker = subprocess.Popen([self.program, "work", *self.queue, *map(str, arguments)], cwd=self.folder,
                                  stderr=subprocess.PIPE, text=True, **options)
        self.workers.append(worker)
        return worker

    def end(self, worker, status=0):
        said = worker.communicate(timeout=TIMEOUT)[1]
        self.assertEqual(worker.returncode, status, said)
        return said

    def drain(self, *arguments, **options):
        return self.end(self.worker("--drain", *arguments, **options))

    def collect(self, *arguments, status=0, report="out/report.jsonl"):
        self.run_program("collect", *self.queue, "--report", report, *arguments, status=status)
        return self.lines(report)

    def lines(self, report="out/report.jsonl"):
        return [json.loads(line) for line in (self.folder / report).read_text().splitlines()]

    def outcome(self, *work, status=1, **options):
        """Of a queue with one job: what it came to, once it is worked off."""
        self.drain("--jobs", "1", *work, **options)
        lines = self.collect(status=status)
        self.assertEqual(len(lines), 1)
        return lines[0]

    def plain(self):
        """What one run of batch makes of the same photographs, with its report."""
        subprocess.run([self.program, "batch", self.folder / "in", "-o", self.folder / "plain", *self.preset],
                       capture_output=True, timeout=TIMEOUT)
        return self.lines("plain/report.jsonl")

    def assert_same_as_plain(self, lines):
        def known(line, folder):
            line = {**line, "seconds": 0, "output": line["output"].replace(f"/{folder}/", "/")}
            return json.dumps(line)

        self.assertEqual(sorted(known(line, "out") for line in lines),
                         sorted(known(line, "plain") for line in self.plain()))
        made = {path.name for path in (self.folder / "out").iterdir()} - {"report.jsonl"}
        plain = {path.name for path in (self.folder / "plain").iterdir()} - {"report.jsonl"}
        self.assertEqual(made, plain)
        for name in plain:
            self.assertEqual((self.folder / "out" / name).read_bytes(), (self.folder / "plain" / name).read_bytes())

    def assert_queue_is_empty(self):
        left = [str(path) for folder in ("jobs", "claims", "answers", "dead", "temporary")
                for path in (self.folder / "queue" / folder).iterdir()]
        self.assertEqual(left, [])
        self.assertEqual([str(path) for path in (self.folder / "out").glob(".*")], [])

    def worker_with_metrics(self, *arguments, **options):
        """The worker and what reads its /metrics, once it has begun."""
        worker = self.worker("--metrics", "127.0.0.1:0", *arguments, **options)
        line = worker.stderr.readline()
        self.assertIn("metrics at http://127.0.0.1:", line)
        address = line.split()[-1]

        def metrics():
            with urllib.request.urlopen(address, timeout=10) as answer:
                return answer.read().decode()

        return worker, metrics

    def busy_child(self, worker, metrics, started=1):
        """The process that computes for a worker of one photograph at once; none when the worker has ended.

        `started`: how many processes the worker has begun by then, with this one, at least: just after one was killed
        the counts are still those of before."""
        def busy():
            if worker.poll() is not None:
                return "none"
            try:
                before = children_of(worker.pid)
                # The one that is busy, not one that has taken the place of one that was.
                counts = metrics()
                begun = int(re.search(r"^idphoto_children_started_total (\d+)$", counts, re.M)[1])
                is_busy = begun >= started and "\nidphoto_children_busy 1\n" in counts
                return is_busy and before == children_of(worker.pid) and before
            except OSError:
                return None

        found = wait_for(busy)
        return None if found == "none" else found[0]
