"""Holds `idphoto serve`, children and all, against what strangers may send to it and what may befall it.

usage: hostile_test.py IDPHOTO [PHOTOGRAPH]

How the sockets themselves stand up to clients with bad manners is held at length by clients_test.py.
"""

import concurrent.futures
import contextlib
import faulthandler
import gzip
import json
import os
import pathlib
import re
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import zlib

import wire
from wire import HOST, MIB, PATIENCE, chunked, get, post, read_answer, send

PROGRAM = pathlib.Path(sys.argv[1]).resolve()
PHOTO = pathlib.Path(sys.argv[2]).read_bytes() if sys.argv[2:] and sys.argv[2] else None
SANITIZED = wire.is_sanitized(PROGRAM)
MAKE = b"/v1/make?size=35x45mm&head=32-36mm"


def serve(*options, jobs=2, **more):
    return wire.running([PROGRAM, "serve", "--listen", "127.0.0.1:0", "--jobs", str(jobs), *options], **more)


def metric(server, name):
    text = send(server, get(b"/metrics")).body.decode()
    return int(float(re.search(rf"^{name} (\S+)$", text, re.M)[1]))


def await_metric(server, name, wanted):
    for _ in range(PATIENCE * 20):
        if (value := metric(server, name)) == wanted:
            return
        time.sleep(0.05)
    raise AssertionError(f"{name} is {value}, not {wanted}: {server.said()}")


def ready(server, jobs=2):
    await_metric(server, "idphoto_children_ready", jobs)


def later(server, data):
    """The answer, once it is there, in a list; and the thread that waits for it."""
    answers = []
    thread = threading.Thread(target=lambda: answers.append(send(server, data)), daemon=True)
    thread.start()
    return answers, thread


def state_of(process):
    return pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[0]


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(width, height, bits=1):
    """All black, as few bytes as there can be."""
    packer = zlib.compressobj(1)
    row, rows = bytes(1 + (width * bits + 7) // 8), []
    for _ in range(0, height, 100):
        rows.append(packer.compress(row * 100))
    head = struct.pack(">IIBBBBB", width, height, bits, 0, 0, 0, 0)
    data = b"".join(rows) + packer.flush()
    return b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", head) + png_chunk(b"IDAT", data) + png_chunk(b"IEND", b"")


def padded(photo, size):
    """The PNG with chunks that readers pass over, until it has that many bytes."""
    junk = png_chunk(b"juNk", bytes(MIB))
    return photo[:-12] + junk * ((size - len(photo)) // len(junk)) + photo[-12:]


def tiff_bomb(side):
    """One strip of zeros, packed, that says it is as wide and high as this."""
    packed = zlib.compress(bytes(MIB))
    tags = [(256, 4, side), (257, 4, side), (258, 3, 8), (259, 3, 8), (262, 3, 1), (273, 4, 8), (277, 3, 1),
            (278, 4, side), (279, 4, len(packed))]
    entries = b"".join(struct.pack("<HHII", tag, kind, 1, value) for tag, kind, value in tags)
    return (b"II*\0" + struct.pack("<I", 8 + len(packed)) + packed + struct.pack("<H", len(tags)) + entries + bytes(4))


def box(kind, *parts):
    data = b"".join(parts)
    return struct.pack(">I", 8 + len(data)) + kind + data


def heif_bomb(side):
    """A grid of 255 x 255 tiles, all of them the same empty one."""
    count = 255 * 255
    grid = struct.pack(">BBBBII", 0, 1, 254, 254, side, side)
    full = bytes(4)
    infos = box(b"iinf", full, struct.pack(">H", 2), *[
        box(b"infe", b"\2\0\0\0", struct.pack(">HH", item, 0), kind, b"\0")
        for item, kind in [(1, b"grid"), (2, b"hvc1")]])
    references = box(b"iref", full, box(b"dimg", struct.pack(">HH", 1, count), struct.pack(">H", 2) * count))
    properties = box(b"iprp", box(b"ipco", box(b"ispe", full, struct.pack(">II", side, side))),
                     box(b"ipma", full, struct.pack(">I", 2), struct.pack(">HBB", 1, 1, 1), struct.pack(">HBB", 2, 1, 1)))
    places = box(b"iloc", b"\1\0\0\0", b"\x44\0", struct.pack(">H", 2),
                 struct.pack(">HHHHII", 1, 1, 0, 1, 0, len(grid)), struct.pack(">HHHHII", 2, 1, 0, 1, 0, 0))
    handler = box(b"hdlr", full, bytes(4), b"pict", bytes(13))
    meta = box(b"meta", full, handler, box(b"pitm", full, struct.pack(">H", 1)), infos, references, properties, places,
               box(b"idat", grid))
    return box(b"ftyp", b"heic", bytes(4), b"mif1heic") + meta


def hostile_pictures():
    jpeg_head = bytes.fromhex("ffd8ffe000104a46494600010100000100010000ffc0001108ffffffff03012200021101031101")
    return {
        "400 megapixels in a megabyte": (png(20_000, 20_000, 8), {413}),
        "the most that PNG can say": (png(100, 100).replace(struct.pack(">II", 100, 100), b"\x7f\xff\xff\xff" * 2),
                                      {413, 422}),
        "JPEG that ends in its head": (jpeg_head, {422, 413}),
        "SVG": (b'<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><image href="/etc/passwd"/></svg>', {415}),
        "PGM": (b"P5 9 9 255\n" + bytes(81), {415}),
        "PDF": (b"%PDF-1.4\n", {415}),
        "TIFF bomb": (tiff_bomb(60_000), {413, 422}),
        "TIFF that lies": (tiff_bomb(7_000), {422}),
        "HEIF bomb": (heif_bomb(60_000), {413, 422}),
        "HEIF grid of nothing": (heif_bomb(4_000), {413, 422}),
        "GIF": (b"GIF89a\1\0\1\0\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", {415}),
        "WebP of nothing": (b"RIFF\x1a\0\0\0WEBPVP8L\x0d\0\0\0\x2f\xff\xff\xff\x0f" + bytes(9), {422, 413}),
        "zeros": (bytes(MIB), {415}),
        "no person": (png(600, 600), {422}),
    }


class Strangers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = cls.enterClassContext(serve())
        ready(cls.server)

    def test_requests_of_ill_will_are_refused(self):
        head = b"POST /v1/make HTTP/1.1\r\n" + HOST
        guess = b"0123456789abcdef" * 2
        cases = [
            (head + b"Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400),
            (head + b"Content-Length: 3\r\nContent-Length: 4\r\n\r\nabcd", 400),
            (head + b"Content-Length: 1000000000000\r\n\r\n", 413),
            (chunked(*[bytes(MIB)] * 40), 413),
            (chunked(end=b"-1\r\nabc\r\n0\r\n\r\n"), 400),
            (get(b"/", b"X-A: b\r\n" * 50_000), 431),
            (get(b"/../etc/passwd"), 400),
            (get(b"/%2e%2e/%2e%2e/etc/passwd"), 400),
            (get(b"/v1%2fmake"), 400),
            (get(b"/%00"), 400),
            (get(b"/" + b"a" * 5000), 404),
            (b"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", 421),
            (b"GET http://evil.example/ HTTP/1.1\r\n" + HOST + b"\r\n", 421),
            (post(b"abc", headers=b"Origin: http://evil.example\r\n"), 403),
            (post(b"abc", headers=b"Origin: null\r\n"), 403),
            (post(gzip.compress(bytes(30 * MIB)), headers=b"Content-Encoding: gzip\r\n"), 415),
            (get(b"/v1/photos/" + guess + b"/result"), 404),
            (get(b"/v1/photos/" + guess, method=b"DELETE"), 404),
            (post(b"abc", b"/v1/make?no-such-option=1"), 400),
            (post(b"abc", b"/v1/make?size=35x45mm&size=1x1mm"), 400),
            (post(b"abc", b"/v1/make?" + b"&".join(b"a%d=1" % i for i in range(100))), 400),
        ]
        for data, status in cases:
            with self.subTest(data=data[:80]):
                answer = send(self.server, data)
                self.assertEqual((answer.status, answer.headers["content-type"]), (status, "application/problem+json"))

    def test_hostile_pictures_are_refused_in_words(self):
        pictures = hostile_pictures()
        if PHOTO:
            pictures["cut in the middle"] = (PHOTO[:len(PHOTO) // 2], {422})
        for name, (picture, statuses) in pictures.items():
            with self.subTest(name):
                answer = send(self.server, post(picture, MAKE))
                self.assertIn(answer.status, statuses, answer.body)
                problem = json.loads(answer.body)
                self.assertGreater(len(problem["detail"]), 10)
        if not SANITIZED:
            self.assertEqual(metric(self.server, "idphoto_children_died_total"), 0, self.server.said())
        # Nothing of what was sent is in the log.
        self.assertNotRegex(self.server.said(), "etc|evil|passwd|no-such-option")

    def test_the_page_is_kept_by_its_tag_and_comes_whole(self):
        page = send(self.server, get(b"/"))
        if page.status == 404:
            self.skipTest("built without the page")
        etag = page.headers["etag"].encode()
        again = send(self.server, get(b"/", b'If-None-Match: "x", ' + etag + b"\r\n"))
        self.assertEqual((again.status, again.body), (304, b""))
        head = send(self.server, get(b"/", method=b"HEAD"), head_only=True)
        self.assertEqual(head.headers["content-length"], page.headers["content-length"])
        part = send(self.server, get(b"/", b"Range: bytes=0-3\r\n"))
        self.assertEqual((part.status, part.body, part.headers["accept-ranges"]), (200, page.body, "none"))


class Crowds(unittest.TestCase):
    def test_a_thousand_connections_come_and_go(self):
        with serve() as server:
            ready(server)
            before = len(os.listdir(f"/proc/{server.process.pid}/fd"))

            def connect(number):
                with server.connect() as client:
                    if number % 3 == 0:
                        client.sendall(get(b"/healthz")[:number % 40])
                    elif number % 3 == 1:
                        client.sendall(get(b"/healthz"))
                        return read_answer(client.makefile("rb")).status
                return 200

            with concurrent.futures.ThreadPoolExecutor(16) as pool:
                self.assertEqual(set(pool.map(connect, range(1000))), {200})
            await_metric(server, "idphoto_connections", 1)
            self.assertLessEqual(len(os.listdir(f"/proc/{server.process.pid}/fd")), before + 1)

    @unittest.skipUnless(PHOTO, "no photograph")
    def test_many_uploads_at_once_take_turns(self):
        size = 10 * MIB
        data = post(padded(PHOTO, size), MAKE)
        many = 8 if SANITIZED else 64
        with serve() as server:
            ready(server)
            with concurrent.futures.ThreadPoolExecutor(many) as pool:
                answers = list(pool.map(lambda _: send(server, data), range(many)))
            self.assertLessEqual({answer.status for answer in answers}, {200, 503})
            made = [answer.body for answer in answers if answer.status == 200]
            self.assertTrue(made)
            self.assertEqual(len(set(made)), 1)
            self.assertTrue(all("retry-after" in answer.headers for answer in answers if answer.status == 503))
            if not SANITIZED:
                # Four are let in, and may be copied once on their way to a child.
                self.assertLess(server.peak(), 2 * 4 * size + 60 * MIB)
                resident = int(re.search(r"^Rss:\s+(\d+) kB", server.proc("smaps_rollup"), re.M)[1]) * 1024
                self.assertLess(resident, 60 * MIB)
            self.assertEqual(metric(server, "idphoto_children_died_total"), 0)

    def test_slow_ones_are_cut_and_others_served(self):
        # All at once, since each takes its time.
        with serve(jobs=3) as server, contextlib.ExitStack() as clients:
            ready(server, 3)
            begun = time.monotonic()

            def begin(data):
                client = clients.enter_context(server.connect())
                client.sendall(data)
                return client

            heads = [begin(b"GET /healthz HTTP/1.1\r\nX: ") for _ in range(40)]
            bodies = [begin(b"POST /v1/make HTTP/1.1\r\n" + HOST + b"Content-Length: 1000000\r\n\r\nabc") for _ in range(2)]
            # A child that hangs in its photograph: each may be the one.
            for child in server.children():
                os.kill(child, signal.SIGSTOP)
            hanging, thread = later(server, post(png(600, 600), MAKE))
            stopped = self.the_busy_one(server)
            for child in server.children():
                if child != stopped:
                    os.kill(child, signal.SIGCONT)
            # One that asks on and on and reads nothing.
            deaf = clients.enter_context(server.connect())
            deaf.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            deaf.settimeout(0.5)
            with contextlib.suppress(TimeoutError):
                while True:
                    deaf.sendall(get(b"/v1/presets") * 50)
            self.assertEqual(send(server, post(png(600, 600), MAKE)).status, 422)
            self.assertFalse(select.select(bodies, [], [], 0)[0], "somebody had to wait for the slow ones")
            for client in heads:
                self.assertEqual(read_answer(client.makefile("rb")).status, 408)
            for client in bodies:
                self.assertEqual(read_answer(client.makefile("rb")).status, 408)
            thread.join(PATIENCE)
            self.assertEqual((hanging[0].status, hanging[0].problem()), (422, "not_possible"))
            self.assertGreater(time.monotonic() - begun, 19)
            ready(server, 3)
            self.assertNotIn(stopped, server.children())
            await_metric(server, "idphoto_connections", 1)
            if not SANITIZED:
                self.assertLess(server.resident(), 60 * MIB)

    def the_busy_one(self, server):
        """Of children that are stopped, the one with a request in its socket."""
        await_metric(server, "idphoto_children_busy", 1)
        # It was given a limit of computing time with the request.
        busy = [child for child in server.children()
                if "unlimited" not in re.search(r"^Max cpu time\s+(\S+)", pathlib.Path(f"/proc/{child}/limits").read_text(), re.M)[1]]
        self.assertEqual(len(busy), 1)
        return busy[0]

    @unittest.skipIf(SANITIZED, "sanitizers need descriptors of their own")
    def test_descriptors_may_run_out(self):
        with serve(files=48) as server, contextlib.ExitStack() as clients:
            ready(server)
            for _ in range(60):
                clients.enter_context(server.connect())
            victim = server.children()[0]
            os.kill(victim, signal.SIGKILL)
            time.sleep(0.3)
            clients.close()
            ready(server)
            self.assertNotIn(victim, server.children())
            self.assertEqual(send(server, post(png(600, 600), MAKE)).status, 422)


@unittest.skipUnless(PHOTO, "no photograph")
class Deaths(unittest.TestCase):
    def fail_in_the_middle(self, number):
        """What two clients are told when the child of one of them is sent this signal."""
        with serve() as server:
            ready(server)
            children = server.children()
            for child in children:
                os.kill(child, signal.SIGSTOP)
            tasks = [later(server, post(PHOTO, MAKE)) for _ in range(2)]
            await_metric(server, "idphoto_children_busy", 2)
            os.kill(children[0], number)
            for child in children:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(child, signal.SIGCONT)
            for _, thread in tasks:
                thread.join(PATIENCE)
            ready(server)
            self.assertEqual(metric(server, "idphoto_children_died_total"), 1)
            self.assertNotIn(children[0], server.children())
            self.assertEqual(send(server, post(PHOTO, MAKE)).status, 200)
            return sorted((answers[0] for answers, _ in tasks), key=lambda answer: answer.status)

    def test_a_child_killed_from_outside_is_no_fault_of_the_photograph(self):
        well, failed = self.fail_in_the_middle(signal.SIGKILL)
        self.assertEqual((well.status, failed.status, failed.problem()), (200, 503, "busy"))
        self.assertIn("retry-after", failed.headers)

    def test_a_child_that_crashes_may_be(self):
        well, failed = self.fail_in_the_middle(signal.SIGSEGV)
        self.assertEqual((well.status, failed.status, failed.problem()), (200, 422, "not_possible"))

    def test_kept_photographs_end_with_their_child_their_number_and_their_owner(self):
        with serve(jobs=1) as server:
            ready(server, 1)

            def keep():
                answer = send(server, post(PHOTO, b"/v1/photos"))
                self.assertEqual(answer.status, 201)
                return answer.headers["location"].encode()

            def status(place, method=b"GET"):
                return send(server, get(place + (b"/result?size=35x45mm" if method == b"GET" else b""), method=method)).status

            first, second = keep(), keep()
            self.assertNotEqual(first, second)
            self.assertEqual((status(first), status(second)), (200, 200))
            self.assertEqual((status(second, b"DELETE"), status(second), status(second, b"DELETE")), (204, 404, 404))
            others = [keep() for _ in range(8)]
            self.assertEqual((status(first), status(others[-1])), (404, 200))
            os.kill(server.children()[0], signal.SIGKILL)
            self.assertEqual(status(others[-1]), 404)
            ready(server, 1)
            self.assertEqual((status(others[-1]), status(keep())), (404, 200))

    def test_it_ends_in_time_whatever_is_under_way(self):
        with serve(jobs=2) as server, server.connect() as half, server.connect() as idle:
            ready(server)
            data = post(PHOTO, MAKE)
            half.sendall(data[:1000])
            children = server.children()
            for child in children:
                os.kill(child, signal.SIGSTOP)
            tasks = [later(server, data) for _ in range(4)]  # two at work, one that waits for a child, one for a slot
            await_metric(server, "idphoto_children_busy", 2)
            await_metric(server, "idphoto_waiting", 1)
            os.kill(children[0], signal.SIGCONT)
            begun = time.monotonic()
            server.process.send_signal(signal.SIGTERM)
            self.assertEqual(idle.recv(1), b"")
            with self.assertRaises(ConnectionRefusedError):
                server.connect()
            half.sendall(data[1000:])
            for _, thread in tasks:
                thread.join(PATIENCE)
            # Three are made by the child that goes on, if there is time; what hangs is given up.
            statuses = sorted([read_answer(half.makefile("rb")).status, *(answers[0].status for answers, _ in tasks)])
            self.assertEqual(statuses[0], 200)
            self.assertEqual(statuses[-2:], [503, 503])
            self.assertEqual(server.process.wait(PATIENCE), 0)
            self.assertLess(time.monotonic() - begun, 10)
            for child in children:
                self.assertFalse(pathlib.Path(f"/proc/{child}").exists() and state_of(child) != "Z")


class Start(unittest.TestCase):
    def test_it_can_be_ended_as_soon_as_its_address_is_known(self):
        for _ in range(5):
            with serve(jobs=1) as server:
                server.process.send_signal(signal.SIGTERM)
                self.assertEqual(server.process.wait(PATIENCE), 0)

    def test_a_log_that_nobody_reads_holds_nothing_up(self):
        read, write = os.pipe()
        with serve(jobs=1, stderr=write) as server:
            os.close(write)
            with server.connect() as client, client.makefile("rb") as file:
                for _ in range(150):  # some 700 kB of lines
                    client.sendall(get(b"/healthz") * 100)
                    self.assertEqual({read_answer(file).status for _ in range(100)}, {200})
            os.set_blocking(read, False)
            said = b""
            with contextlib.suppress(BlockingIOError):
                while (part := os.read(read, MIB)):
                    said += part
            self.assertRegex(said, rb"GET /healthz 200 0 [0-9]+ [0-9.]+ ms\n")
            send(server, get(b"/healthz"))
            os.close(read)  # and one that goes away ends nothing
            for _ in range(20):
                self.assertEqual(send(server, get(b"/healthz")).status, 200)

    def test_the_browser_gets_the_address_and_nothing_else(self):
        with tempfile.TemporaryDirectory() as folder:
            note = pathlib.Path(folder, "note")
            program = pathlib.Path(folder, "xdg-open")
            program.write_text(f'#!/bin/sh\n{{ echo "$1"; ls -l /proc/$$/fd; }} > {note}.part\nmv {note}.part {note}\n')
            program.chmod(0o755)
            with serve("--open", jobs=1, environment={"PATH": f"{folder}:{os.environ['PATH']}"}) as server:
                for _ in range(PATIENCE * 20):
                    if note.exists():
                        break
                    time.sleep(0.05)
                text = note.read_text()
                self.assertEqual(text.splitlines()[0], server.address)
                self.assertNotIn("socket", text)
                self.assertEqual(text.count("/dev/null"), 3, text)
                ready(server, 1)
                for _ in range(100):
                    if len(server.children()) == 1:
                        break
                    time.sleep(0.05)
                self.assertEqual(len(server.children()), 1)  # and no dead one
        with serve("--open", jobs=1, environment={"PATH": "/nonexistent"}) as server:
            self.assertEqual(send(server, get(b"/healthz")).status, 200)

    def test_tokens_and_origins(self):
        with tempfile.TemporaryDirectory() as folder:
            token = pathlib.Path(folder, "token")
            token.write_text("0123456789abcdef\n")
            for mode, warns in [(0o644, True), (0o600, False)]:
                token.chmod(mode)
                with serve("--token-file", str(token), "--cors", "https://Studio.example", "--cors",
                           "http://localhost:3000", jobs=1) as server:
                    origin = b"Origin: https://studio.example\r\n"
                    asked = send(server, get(b"/v1/make", origin + b"Access-Control-Request-Method: POST\r\n", b"OPTIONS"))
                    self.assertEqual((asked.status, asked.headers["access-control-allow-origin"], asked.headers["vary"]),
                                     (204, "https://studio.example", "Origin"))
                    refused = send(server, post(b"abc", headers=origin))
                    self.assertEqual((refused.status, refused.headers["access-control-allow-origin"]),
                                     (401, "https://studio.example"))
                    bearer = b"Authorization: Bearer 0123456789abcdef\r\n"
                    self.assertEqual(send(server, post(b"abc", MAKE, bearer + origin)).status, 415)
                    self.assertEqual(send(server, post(b"abc", headers=bearer + b"Origin: http://evil.example\r\n")).status, 403)
                self.assertEqual("chmod 600" in server.log_text, warns)
        for options, word in [(["--cors", "*"], "is no origin"), (["--cors", "https://a/b"], "is no origin"),
                              (["--listen", "0.0.0.0:0"], "give a token"), (["--listen", "x:1"], "is no address"),
                              (["--token-file", "/nonexistent"], "token")]:
            place = [] if "--listen" in options else ["--listen", "127.0.0.1:0"]
            started = subprocess.run([PROGRAM, "serve", *place, *options], capture_output=True, text=True,
                                     timeout=PATIENCE)
            self.assertEqual((started.returncode, started.stdout), (2, ""), options)
            self.assertIn(word, started.stderr)


if __name__ == "__main__":
    faulthandler.dump_traceback_later(280, exit=True)  # servers die with this process
    unittest.main(argv=sys.argv[:1], verbosity=2)
