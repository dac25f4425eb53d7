"""A queue on RabbitMQ, with servers of the test's own that are killed, frozen and cut off.

usage: amqp_test.py QUEUE_DRIVER [IDPHOTO PHOTOGRAPH] TEST...

OneServer and Photographs, with the real program, take a minute and a half; ThreeServers three minutes, in network
namespaces, for which one has to be root.
"""

import collections
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "worker"))

import queue_run
import rabbitmq

DRIVER = str(pathlib.Path(sys.argv[1]).resolve())
PASSWORD = "password=" + rabbitmq.PASSWORD


class Program:
    """A driver whose lines are read as they come."""

    def __init__(self, processes, command, within=()):
        self.process = processes.start([*within, *command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.lines, self.errors = [], []
        self.threads = [threading.Thread(target=self.read, args=arguments, daemon=True)
                        for arguments in ((self.process.stdout, self.lines), (self.process.stderr, self.errors))]
        for thread in self.threads:
            thread.start()

    @staticmethod
    def read(stream, lines):
        with stream:
            for line in stream:
                lines.append(line.rstrip("\n"))

    def wait_for(self, what, most=30, count=1, errors=False):
        """Seconds until so many lines begin with that."""
        began = time.monotonic()
        lines = self.errors if errors else self.lines
        while sum(what in line for line in list(lines)) < count:
            if time.monotonic() - began > most:
                raise AssertionError(f"no {what!r}: {self.lines[-5:]} {self.errors[-5:]}")
            time.sleep(0.005)
        return time.monotonic() - began

    def end(self, most=60):
        status = self.process.wait(most)
        for thread in self.threads:
            thread.join(10)
        return status

    def kill(self, number=signal.SIGKILL):
        rabbitmq.Processes.kill(self.process, number)


class Queue(unittest.TestCase):
    """Common to all tests: where the server is, and what to expect of a queue afterwards."""

    within = ()

    def setUp(self):
        self.processes = rabbitmq.Processes()
        self.addCleanup(self.processes.end)

    def driver(self, what, url, *arguments):
        return Program(self.processes, [DRIVER, what, url, PASSWORD, *arguments], self.within)

    def run_driver(self, what, url, *arguments, status=0):
        program = self.driver(what, url, *arguments)
        self.assertEqual(program.end(), status, (program.errors, program.lines[-3:]))
        return program

    def collect(self, url, expect, wait=20_000, arguments=()):
        """Answers and dead jobs by their ids, each with all its messages."""
        program = self.run_driver("collect", url, f"expect={expect}", f"wait={wait}", *arguments)
        answers, dead = collections.defaultdict(list), collections.defaultdict(list)
        for line in program.lines:
            message = json.loads(line)
            (answers if message["kind"] == "answer" else dead)[message["id"]].append(message)
        return answers, dead

    def work_until_drained(self, url, *arguments, most=40):
        """Workers one after the other, as whoever looks after them starts one that was killed again."""
        workers = []
        for _ in range(most):
            workers.append(self.driver("work", url, "drain=1", *arguments))
            if workers[-1].end() == 0:
                return workers
        raise AssertionError("not drained")


class Shared:
    """The server of all tests that need only one, since it takes long to start."""

    folder = server = None

    @classmethod
    def start(cls):
        if cls.server:
            return
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="queue-"))
        make_certificates(cls.folder)
        cls.server = rabbitmq.Server(cls.folder / "q", tls={
            "cacertfile": cls.folder / "ca.pem", "certfile": cls.folder / "server.pem",
            "keyfile": cls.folder / "server.key", "verify": "verify_peer", "fail_if_no_peer_cert": "true"})
        cls.server.start()

    @classmethod
    def end(cls):
        if cls.server:
            cls.server.end()
        if cls.folder:
            shutil.rmtree(cls.folder, True)


class OneServer(Queue):
    @classmethod
    def setUpClass(cls):
        Shared.start()
        cls.folder, cls.server = Shared.folder, Shared.server

    def test_many_jobs_while_workers_and_server_are_killed(self):
        url, plain = self.server.url(), 500
        self.run_driver("submit", url, f"count={plain}")
        for kind in ("poison", "fails", "bury"):
            self.run_driver("submit", url, "count=2", f"options={kind}")
        workers = [self.driver("work", url, "ms=8", "idle=15000", "threads=2", "prefetch=3") for _ in range(2)]
        taken = list(workers)
        killed = restarted = None
        limit = time.monotonic() + 60
        while time.monotonic() < limit:
            done = sum(line.startswith("answered") for worker in taken for line in list(worker.lines))
            if killed is None and done > 100:
                killed = taken[0]
                killed.kill()
            if restarted is None and done > 250:
                self.server.kill()
                self.server.start()
                restarted = time.monotonic()
            for i, worker in enumerate(workers):
                if worker.process.poll() is not None:
                    workers[i] = self.driver("work", url, "ms=8", "idle=15000", "threads=2", "prefetch=3")
                    taken.append(workers[i])
            if done >= plain and restarted:
                break
            time.sleep(0.02)
        self.assertTrue(killed and restarted)
        for worker in workers:
            worker.kill(signal.SIGTERM)
            worker.end()
        self.work_until_drained(url)
        answers, dead = self.collect(url, plain + 6)
        repeats = sum(len(messages) - 1 for messages in answers.values())
        print(f"\n{len(answers)} answered, {repeats} of them twice, {len(dead)} dead; "
              f"{sum('again' in line for worker in taken for line in worker.errors)} connections made anew", flush=True)
        # A job that was in hand each time may have had its tries; that is said of it.
        lost = {f"plain-{i}" for i in range(plain)} - set(answers)
        self.assertLessEqual(len(lost), 3)
        expected = {"poison": "its worker ended in the middle of it", "fails": "the disk is full",
                    "bury": "nobody wants it", "plain": "its worker ended in the middle of it"}
        self.assertEqual(set(dead) - set(answers), lost | {f"{kind}-{i}" for kind in expected if kind != "plain"
                                                           for i in range(2)})
        for job, messages in dead.items():
            kind = job.split("-")[0]
            self.assertIn(messages[0]["reason"], (expected[kind], expected["poison"]))
            self.assertEqual(messages[0]["job"]["id"], job)
            self.assertLessEqual(messages[0]["tries"], 3)
        self.assertEqual(self.collect(url, 0), ({}, {}))

    def test_a_killed_worker_and_one_that_ends_give_up_their_jobs(self):
        url = self.server.url("tall")
        self.run_driver("submit", url, "count=3")
        first = self.driver("work", url, "ms=60000", "prefetch=3")
        first.wait_for("took")
        other = self.driver("work", url, "ms=60000", "prefetch=3")
        other.wait_for("ready")
        first.kill()
        print(f"\na killed worker's job in other hands after {other.wait_for('took') * 1000:.0f} ms", flush=True)
        self.assertEqual(other.lines[-1].split()[-1], "2")
        # One that ends in order gives back what it has, so that it does not count; many times.
        for _ in range(4):
            other.kill(signal.SIGTERM)
            self.assertEqual(other.end(), 0, other.errors)
            other = self.driver("work", url, "ms=60000", "prefetch=3")
            other.wait_for("took")
        other.kill(signal.SIGTERM)
        self.assertEqual(other.end(), 0)
        last = self.run_driver("work", url, "drain=1", "prefetch=1")
        self.assertEqual(sorted(line for line in last.lines if "took" in line), [f"took plain-{i} 2" for i in range(3)])
        self.assertEqual(set(self.collect(url, 3)[0]), {f"plain-{i}" for i in range(3)})

    def test_a_full_queue_refuses_and_takes_again(self):
        url = self.server.url("tight")
        said = self.run_driver("submit", url, "count=20").lines[0].split()
        kept, full = int(said[1]), int(said[3])
        self.assertEqual(kept + full, 20)
        self.assertTrue(5 <= kept <= 7, said)
        self.work_until_drained(url)
        self.run_driver("submit", url, "count=2", "from=100")
        self.work_until_drained(url)
        self.assertEqual(len(self.collect(url, kept + 2)[0]), kept + 2)

    def test_who_is_not_trusted(self):
        url = self.server.url()
        for arguments, reason in (
                ([url, "password=wrong horse"], "ACCESS_REFUSED"),
                ([self.server.url(user="bob"), PASSWORD], "ACCESS_REFUSED"),
                ([self.server.url("elsewhere"), PASSWORD], "vhost elsewhere not found"),
                ([f"amqp://ann@127.0.0.1:{self.server.epmd_port}/bureau", PASSWORD], "is not let in"),
                ([f"amqp://ann@127.0.0.1:{rabbitmq.free_ports(1)[0]}/bureau", PASSWORD], "cannot connect")):
            self.refuse(reason, arguments)

    def test_who_may_use_queues_and_not_make_them(self):
        self.refuse("NOT_FOUND", [self.server.url("empty", user=rabbitmq.CLERK), PASSWORD])
        self.run_driver("submit", self.server.url("empty"), "count=1")
        clerk = self.server.url("empty", user=rabbitmq.CLERK)
        self.work_until_drained(clerk)
        self.assertEqual(len(self.collect(clerk, 1)[0]), 1)

    def refuse(self, reason, arguments):
        program = Program(self.processes, [DRIVER, "submit", *arguments])
        self.assertEqual(program.end(), 1)
        self.assertIn(reason, "\n".join(program.errors))
        self.assertNotIn("horse", "\n".join(program.errors + program.lines))

    def test_encryption(self):
        folder = self.folder
        own = [PASSWORD, f"cert={folder}/client.pem", f"key={folder}/client.key"]
        known = f"ca={folder}/ca.pem"
        by_address, by_name = self.server.url("tall", tls=True), self.server.url("tall", tls=True, host="localhost")
        self.run_driver("submit", by_address, known, *own)
        self.run_driver("work", by_address, "drain=1", known, *own)
        self.assertEqual(len(self.collect(self.server.url("tall"), 1)[0]), 1)
        self.refuse("certificate is refused (hostname mismatch)", [by_name, known, *own])
        self.refuse("certificate is refused (", [by_address, *own])
        self.refuse("certificate is refused (", [by_address, f"ca={folder}/stranger.pem", *own])
        self.refuse("cannot read a certificate", [by_address, "ca=/dev/null", *own])
        self.refuse("cannot read a certificate", [by_address, known, PASSWORD, f"cert={folder}/client.pem",
                                                  f"key={folder}/server.key"])
        self.refuse("", [by_address, known, PASSWORD])
        # No encryption where there should be some, and the other way round.
        self.refuse("cannot connect", [f"amqps://ann@127.0.0.1:{self.server.port}/tall", known, *own])
        self.refuse("is not let in", [f"amqp://ann@127.0.0.1:{self.server.tls_port}/tall", PASSWORD])
        port = rabbitmq.free_ports(1)[0]
        self.processes.start(["openssl", "s_server", "-accept", f"127.0.0.1:{port}", "-cert", folder / "expired.pem",
                              "-key", folder / "expired.key", "-quiet"], stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL)
        time.sleep(0.5)
        self.refuse("certificate is refused (certificate has expired)",
                    [f"amqps://ann@127.0.0.1:{port}/tall", known, *own])

    def test_a_frozen_server_is_noticed_and_comes_back(self):
        url = self.server.url("tall")
        self.run_driver("submit", url, "count=3")
        worker = self.driver("work", url, "ms=1500", "heartbeat=1", "idle=4000", "prefetch=1")
        worker.wait_for("took")
        self.server.signal(signal.SIGSTOP)
        try:
            seconds = worker.wait_for("trying again", most=10, count=2, errors=True)
        finally:
            self.server.signal(signal.SIGCONT)
        print(f"\na frozen server is noticed after {seconds:.1f} s at heartbeats of 1 s", flush=True)
        worker.wait_for("again", errors=True, count=4)
        self.assertEqual(worker.end(), 0)
        self.assertEqual(set(self.collect(url, 3)[0]), {f"plain-{i}" for i in range(3)})

    def test_hostile_messages_are_buried(self):
        url = self.server.url("tall")
        self.run_driver("submit", url, "count=1")
        job = json.dumps({"version": 1, "kind": "job", "id": "right", "photograph": "/in/1.jpg", "sha256": "0" * 64,
                          "output": "/out/1.jpg", "options": {"preset": ["x"]}}).encode()
        tries = "x-idphoto-tries"
        publisher = rabbitmq.Publisher(self.server, "tall")

        def publish(body, headers=None, name=None):
            publisher.publish("idphoto.jobs", body, headers, name)

        publish(b"")
        publish(b"Dear Sir or Madam,")
        publish(b"\xff\xfe\0" * 1000, rabbitmq.table(("z", b"S", rabbitmq.long_text(b"z" * 60_000))))
        publish(b" " * 3_000_000 + job)
        publish(job.replace(b'"version": 1', b'"version": 2'), name="other-version")
        publish(b"{}", name="Not\nAn\x1bId")
        publish(b"x", rabbitmq.table(("n", b"F", rabbitmq.nested_table(18_000))))
        publish(b"y", rabbitmq.table(("x-death", b"S", rabbitmq.long_text(b"\0")),
                                     ("x-first-death-reason", b"t", b"\1"), (tries, b"S", rabbitmq.long_text(b"1"))))
        for i, (kind, value) in enumerate(((b"l", b"\xff" * 8), (b"l", b"\x7f" + b"\xff" * 7), (b"I", b"\0\0\0\1"),
                                           (b"d", b"\x3f\xf8" + b"\0" * 6), (b"V", b""))):
            publish(job.replace(b"right", b"right-%d" % i), rabbitmq.table((tries, kind, value)))
        for queue in ("idphoto.answers", "idphoto.dead"):
            publisher.publish(queue, b"nothing", message_id="in-" + queue.split(".")[1])
            publisher.publish(queue, b"[" * 100_000, rabbitmq.table(("n", b"F", rabbitmq.nested_table(10_000))))
        publisher.close()
        self.work_until_drained(url)
        answers, dead = self.collect(url, 17)
        reasons = {job: messages[0]["reason"] for job, messages in dead.items()}
        self.assertEqual(set(answers), {"plain-0", "right-0", "right-2", "right-3", "right-4"}, reasons)
        self.assertEqual(reasons["right-1"], "its worker ended in the middle of it")
        self.assertIn("version 1", reasons["other-version"])
        self.assertIn("is no answer: no JSON", reasons["in-answers"])
        self.assertIn("is no dead job: no JSON", reasons["in-dead"])
        self.assertTrue(any("longer than 4096 bytes" in reason for reason in reasons.values()), reasons)
        self.assertEqual(sum(len(messages) for messages in dead.values()), 13, reasons)

    def test_queues_of_another_form_are_refused(self):
        publisher = rabbitmq.Publisher(self.server, "other")
        publisher.declare("idphoto.jobs")
        publisher.close()
        self.refuse("cannot use the queue idphoto.jobs (the server says: PRECONDITION_FAILED",
                    [self.server.url("other"), PASSWORD])


class Photographs(queue_run.QueueRun):
    """The program itself: what workers make through the server is what one run of batch makes."""

    @classmethod
    def setUpClass(cls):
        cls.program, cls.photograph = (pathlib.Path(argument).resolve() for argument in sys.argv[2:4])
        Shared.start()
        cls.server, cls.password = Shared.server, Shared.folder / "password"
        cls.password.write_text(rabbitmq.PASSWORD + "\n")
        cls.password.chmod(0o600)

    @property
    def queue(self):
        return ["--queue", self.server.url("studio"), "--queue-password-file", str(self.password)]

    def worker(self, *arguments, **options):
        return super().worker("--read-from", self.folder / "in", "--write-to", self.folder / "out", *arguments,
                              **options)

    def test_same_lines_and_bytes_as_batch_while_workers_and_server_are_killed(self):
        count = 24
        self.photographs(count)
        (self.folder / "in/broken.jpg").write_bytes(b"no picture")
        self.assertIn(f"{count + 1} jobs handed in", self.submit("in", "-o", "out", *self.preset))

        def made():
            return len(list((self.folder / "out").glob("*.jpg")))

        victim, other = self.worker("--jobs", "1"), self.worker("--jobs", "1")
        queue_run.wait_for(lambda: made() > 4)
        victim.kill()
        queue_run.wait_for(lambda: made() > 8)
        self.server.kill()
        self.server.start()
        other.send_signal(signal.SIGTERM)
        self.end(other)
        self.drain("--jobs", "2")
        lines = self.collect("--expect", count + 1, status=1)
        self.assert_same_as_plain(lines)
        self.assertEqual([path.name for path in (self.folder / "out").glob(".*")], [])
        # Fetched answers are forgotten, and one that comes twice has one line.
        self.assertEqual(len(self.collect(status=1)), count + 1)

    def test_a_password_is_nowhere_to_be_seen(self):
        address = ["--queue", self.server.url("studio")]
        environment = {**os.environ, "IDPHOTO_QUEUE_PASSWORD": rabbitmq.PASSWORD}
        worker = subprocess.Popen([self.program, "work", *address, "--read-from", "in", "--write-to", "out", "--jobs",
                                   "1"], cwd=self.folder, stderr=subprocess.PIPE, text=True, env=environment)
        self.workers.append(worker)
        children = queue_run.wait_for(lambda: queue_run.children_of(worker.pid))
        for process in (worker.pid, *children):
            for name in ("cmdline", "environ"):
                self.assertNotIn(rabbitmq.PASSWORD.encode(), pathlib.Path(f"/proc/{process}/{name}").read_bytes())
        worker.send_signal(signal.SIGTERM)
        self.assertNotIn("horse", self.end(worker))
        wrong = self.server.url("studio").replace("@", ":correct%20horse@")
        for arguments, reason in ((["--queue", wrong], "has a password in it"), (["--queue", wrong[2:]], "is no queue"),
                                  (address, "wants a password"),
                                  ([*address, "--queue-password-file", "/dev/null"], "no password in its first line"),
                                  ([*self.queue, "--queue-ca", "x"], "write amqps://"),
                                  ([*self.queue, "--queue-key", "x"], "go together")):
            said = self.run_program("collect", *arguments, "--report", "out/report.jsonl", status=2)
            self.assertIn(reason, said)
            self.assertNotIn("horse", said)
        said = self.run_program("collect", *self.queue, "--report", "out/report.jsonl", "--wait", status=2)
        self.assertIn("--expect", said)
        said = self.run_program("work", *self.queue, status=2)
        self.assertIn("--read-from is required", said)


class ThreeServers(Queue):
    """A cluster in which each node has a network namespace, joined by a bridge in another: one can be lost, and one cut
    off. Addresses are in these namespaces alone."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="queue-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, True)
        cls.network = rabbitmq.Network(3)
        cls.addClassCleanup(cls.network.end)
        cls.within = cls.network.within(0)
        cls.servers = rabbitmq.cluster(cls.folder, cls.network)
        for server in cls.servers:
            cls.addClassCleanup(server.end)
        cls.url = f"amqp://{rabbitmq.USER}@{','.join(server.address for server in cls.servers)}/bureau"

    def submit(self, count, start=0):
        return self.run_driver("submit", self.url, f"count={count}", f"from={start}", "retry=1", "confirm=3000",
                               "heartbeat=2")

    def worker(self, milliseconds=40):
        return self.driver("work", self.url, f"ms={milliseconds}", "idle=600000", "prefetch=3", "heartbeat=2",
                           "confirm=3000", "look=2000")

    def answered(self, workers):
        return {line.split()[1] for worker in workers for line in list(worker.lines) if line.startswith("answered")}

    def wait_for(self, workers, count, most=90):
        began = time.monotonic()
        while len(self.answered(workers)) < count:
            self.assertLess(time.monotonic() - began, most, [worker.errors[-3:] for worker in workers])
            time.sleep(0.02)
        return time.monotonic() - began

    def say(self, what, began, workers):
        anew = sum("connected to" in line for worker in workers for line in list(worker.errors))
        print(f"{what}: {time.monotonic() - began:.1f} s, {anew} connections made anew by now", flush=True)

    def test_one_is_lost_one_is_cut_off_and_both_come_back(self):
        # Queues are led by the node on which they are made, which is the one to be lost.
        self.run_driver("collect", f"amqp://{rabbitmq.USER}@{self.servers[0].address}/bureau")
        began = time.monotonic()
        self.submit(200)
        print(f"\n{(time.monotonic() - began) * 5:.1f} ms to submit a job to three nodes", flush=True)
        workers = [self.worker() for _ in range(3)]
        self.wait_for(workers, 40)

        began = time.monotonic()
        self.servers[0].kill()
        self.submit(100, 1000)
        self.wait_for(workers, 300)
        self.say("one lost, 260 jobs", began, workers)
        self.servers[0].start(wait=120)
        time.sleep(5)

        began = time.monotonic()
        self.network.cut(2)
        self.submit(100, 2000)
        self.wait_for(workers, 400)
        self.say("one cut off, 100 jobs", began, workers)
        time.sleep(10)  # long enough for the nodes to notice
        self.network.mend(2)
        time.sleep(10)

        # Both at once are too many: nothing moves, and nothing is lost.
        self.submit(100, 3000)
        self.servers[2].kill()
        self.network.cut(1)
        time.sleep(12)
        stopped = len(self.answered(workers))
        time.sleep(5)
        self.assertEqual(len(self.answered(workers)), stopped)
        began = time.monotonic()
        self.network.mend(1)
        self.servers[2].start(wait=0)
        self.wait_for(workers, 500)
        self.say(f"both back, {500 - stopped} jobs", began, workers)
        for worker in workers:
            worker.kill(signal.SIGTERM)
            self.assertEqual(worker.end(), 0, worker.errors)
        self.work_until_drained(self.url)
        answers, dead = self.collect(self.url, 500, wait=30_000)
        print(f"{len(answers)} answered, {sum(len(each) - 1 for each in answers.values())} repeats, {len(dead)} dead",
              flush=True)
        self.assertEqual(set(answers), {f"plain-{1000 * part + i}" for part, count in enumerate((200, 100, 100, 100))
                                        for i in range(count)})
        self.assertLessEqual(set(dead), set(answers))


def make_certificates(folder):
    """Of the server by its address alone, of a client, of one whose time is over, and of a stranger."""
    def run(*words):
        subprocess.run(["openssl", *words], check=True, cwd=folder, capture_output=True)

    for name in ("ca", "stranger"):
        run("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2", "-subj",
            f"/CN={name}", "-keyout", f"{name}.key", "-out", f"{name}.pem")
    for name, days in (("server", "2"), ("client", "2"), ("expired", "-1")):
        run("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={name}", "-keyout",
            f"{name}.key", "-out", f"{name}.csr")
        (folder / "names").write_text("subjectAltName=IP:127.0.0.1\n")
        run("x509", "-req", "-in", f"{name}.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-days", days, "-extfile",
            "names", "-out", f"{name}.pem")


def main():
    names = [name for name in sys.argv[2:] if name in globals() or name.split(".")[0] in globals()]
    assert names, __doc__
    reason = rabbitmq.why_not() or (rabbitmq.Network.why_not() if any("Three" in name for name in names) else "")
    if reason:
        print(f"skipped: {reason}")
        return 77
    suite = unittest.defaultTestLoader.loadTestsFromNames(names, sys.modules[__name__])
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    try:
        return not unittest.TextTestRunner(verbosity=2).run(suite).wasSuccessful()
    finally:
        Shared.end()


if __name__ == "__main__":
    sys.exit(main())
