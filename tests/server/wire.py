"""What the tests of the server share: a server in a process of its own, and HTTP as bytes on a socket."""

import contextlib
import ctypes
import json
import os
import pathlib
import resource
import signal
import socket
import subprocess
import tempfile

MIB = 1 << 20
HOST = b"Host: localhost\r\n"
PATIENCE = 60  # seconds after which the server counts as hanging; nothing takes so long
_PDEATHSIG = 1


def is_sanitized(program):
    return b"__sanitizer" in pathlib.Path(program).read_bytes()


class Server:
    """A server, killed at the latest with this process. `files` bounds its descriptors."""

    def __init__(self, command, files=None, environment=None, stderr=None):
        system = ctypes.CDLL(None)

        def prepare():
            system.prctl(_PDEATHSIG, signal.SIGKILL)
            if files:
                resource.setrlimit(resource.RLIMIT_NOFILE, (files, files))

        self.log = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(
            command, stdout=subprocess.PIPE, stderr=stderr or self.log, text=True, preexec_fn=prepare,
            env={**os.environ, **(environment or {})})
        self.address = self.process.stdout.readline().strip()
        if not self.address:
            raise AssertionError(f"no server: {self.process.wait(PATIENCE)} {self.said()}")
        self.port = int(self.address.rstrip("/").rsplit(":", 1)[1])

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), timeout=PATIENCE)

    def proc(self, name):
        return pathlib.Path(f"/proc/{self.process.pid}/{name}").read_text()

    def peak(self):
        """Most memory that was resident, in bytes."""
        return int(self.proc("status").split("VmHWM:")[1].split()[0]) * 1024

    def resident(self):
        return int(self.proc("statm").split()[1]) * resource.getpagesize()

    def children(self):
        threads = pathlib.Path(f"/proc/{self.process.pid}/task").iterdir()
        return [int(child) for thread in threads for child in (thread / "children").read_text().split()]

    def end(self, signals=(signal.SIGTERM,)):
        for number in signals:
            self.process.send_signal(number)
        return self.process.wait(PATIENCE), self.said()

    def said(self):
        self.log.seek(0)
        return self.log.read()

    def close(self):
        self.process.kill()
        self.process.communicate()
        self.log_text = self.said()
        self.log.close()


@contextlib.contextmanager
def running(command, **options):
    """A server that has to end well when it is told to."""
    server = Server(command, **options)
    try:
        yield server
        status, said = server.end()
        assert status == 0, (status, said)
    finally:
        server.close()


class Answer:
    def __init__(self, status, headers, body):
        self.status, self.headers, self.body = status, headers, body

    def problem(self):
        document = json.loads(self.body)
        assert document["status"] == self.status and self.headers["content-type"] == "application/problem+json"
        return document["code"]


def read_answer(file, head_only=False):
    """One answer from a socket's file; None when there is no more."""
    line = file.readline()
    if not line:
        return None
    status, headers = int(line.split()[1]), {}
    while (line := file.readline().strip()):
        name, value = line.decode().split(": ", 1)
        assert name.lower() not in headers, name
        headers[name.lower()] = value
    if status == 100:
        return read_answer(file, head_only)
    size = 0 if head_only else int(headers.get("content-length", 0))
    return Answer(status, headers, file.read(size))


def send(server, data, head_only=False):
    """What is answered to the bytes."""
    with server.connect() as client, client.makefile("rb") as file:
        with contextlib.suppress(ConnectionError):
            client.sendall(data)
        return read_answer(file, head_only)


def post(body, target=b"/v1/make", headers=b""):
    return (b"POST " + target + b" HTTP/1.1\r\n" + HOST + headers + b"Content-Length: %d\r\n\r\n" % len(body)) + body


def get(target, headers=b"", method=b"GET"):
    return method + b" " + target + b" HTTP/1.1\r\n" + HOST + headers + b"\r\n"


def chunked(*chunks, end=b"0\r\n\r\n"):
    head = b"POST /v1/make HTTP/1.1\r\n" + HOST + b"Transfer-Encoding: chunked\r\n\r\n"
    return head + b"".join(b"%x\r\n%s\r\n" % (len(chunk), chunk) for chunk in chunks) + end
