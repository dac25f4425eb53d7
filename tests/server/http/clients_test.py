"""Holds the server against clients with bad manners: slow, lying, greedy, gone.

usage: clients_test.py PLAY_SERVER
"""

import concurrent.futures
import contextlib
import gzip
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import wire
from wire import HOST, MIB, PATIENCE, chunked, get, post, read_answer, send

PROGRAM = pathlib.Path(sys.argv[1]).resolve()


def server(*settings, **options):
    return wire.running([PROGRAM, *settings], **options)


class Requests(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = cls.enterClassContext(server(f"body_bytes={16 * MIB}"))

    def status(self, data):
        answer = send(self.server, data)
        return answer and answer.status

    def test_work_is_answered(self):
        answer = send(self.server, post(b"abc", b"/v1/crop?a=1&b=c+d"))
        self.assertEqual((answer.status, answer.body), (200, b"POST /v1/crop crop 3 96354 0 picture a=1 b=c d"))
        self.assertEqual(send(self.server, post(b"abc", b"/v1/check", b"Accept: application/json\r\n")).body.split()[-1],
                         b"json")
        self.assertEqual(send(self.server, chunked(b"a", b"bc")).body, b"POST /v1/make make 3 96354 0 picture")
        self.assertEqual(send(self.server, get(b"/v1/photos/ID/result?dpi=300")).body,
                         b"GET /v1/photos/ID/result ID 0 0 0 picture dpi=300")
        self.assertEqual(send(self.server, get(b"/v1/photos/ID", method=b"DELETE")).body.split()[0], b"DELETE")
        form = (b"--x\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"a\"\r\n\r\nabc\r\n"
                b"--x\r\nContent-Disposition: form-data; name=\"dpi\"\r\n\r\n300\r\n"
                b"--x\r\nContent-Disposition: form-data; name=\"mask\"; filename=\"m\"\r\n\r\nmm\r\n--x--\r\n")
        kind = b"Content-Type: multipart/form-data; boundary=x\r\n"
        self.assertEqual(send(self.server, post(form, headers=kind)).body, b"POST /v1/make make 3 96354 2 picture dpi=300")
        self.assertEqual(send(self.server, post(form[:-10], headers=kind)).problem(), "bad_form")

    def test_every_answer_is_guarded(self):
        for data in [post(b"abc"), get(b"/nothing"), get(b"/"), get(b"/healthz"), b"nonsense\r\n\r\n"]:
            headers = send(self.server, data).headers
            self.assertIn("default-src 'none'; script-src 'self';", headers["content-security-policy"])
            self.assertEqual(headers["x-content-type-options"], "nosniff")
            self.assertEqual(headers["referrer-policy"], "no-referrer")
            self.assertEqual(headers["cache-control"], "no-cache" if data == get(b"/") else "no-store")
            self.assertNotIn("x-smuggled", headers)
            self.assertNotIn("access-control-allow-origin", headers)

    def test_errors_have_their_status(self):
        cases = [
            (get(b"/nothing"), 404, "not_found"),
            (get(b"/v1/make"), 405, "method_not_allowed"),
            (b"BREW /healthz HTTP/1.1\r\n" + HOST + b"\r\n", 405, "method_not_allowed"),
            (b"GET /healthz HTTP/1.1\r\nHost: evil.example\r\n\r\n", 421, "wrong_host"),
            (b"GET /healthz HTTP/1.1\r\n\r\n", 400, "bad_request"),
            (post(b"abc", headers=b"Origin: http://evil.example\r\n"), 403, "wrong_origin"),
            (post(b"abc", headers=b"Content-Encoding: gzip\r\n"), 415, "unsupported_encoding"),
            (post(b"abc", headers=b"Expect: miracles\r\n"), 417, "unsupported_expectation"),
            (post(b"abc", b"/v1/make?throw"), 422, "no_face"),
            (post(b"abc", b"/v1/make?memory"), 503, "out_of_memory"),
            (post(b"abc", b"/v1/make?silent"), 500, "internal"),
            (post(b"", b"/v1/make"), 400, "no_photo"),
            (chunked(), 400, "no_photo"),
            (get(b"/%2e%2e/etc/passwd"), 400, "bad_target"),
            (get(b"/../etc/passwd"), 400, "bad_target"),
            (get(b"/a%00"), 400, "bad_target"),
            (get(b"//healthz"), 400, "bad_target"),
            (get(b"/a\x00b"), 400, "bad_request"),
            (get(b"/a b"), 400, "bad_request"),
            (b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 TLS to a plain port\r\n\r\n", 400, "bad_request"),
        ]
        for data, status, code in cases:
            with self.subTest(data=data[:80]):
                answer = send(self.server, data)
                self.assertEqual((answer.status, answer.problem()), (status, code))
        allowed = send(self.server, get(b"/v1/make")).headers["allow"]
        self.assertEqual(allowed, "POST, OPTIONS")
        options = send(self.server, get(b"/v1/make", method=b"OPTIONS"))
        self.assertEqual((options.status, options.headers["allow"]), (204, allowed))
        self.assertNotIn("content-length", options.headers)

    def test_framing_has_one_reading(self):
        head = b"POST /v1/make HTTP/1.1\r\n" + HOST
        for lines in [
            b"Content-Length: 3\r\nTransfer-Encoding: chunked\r\n",
            b"Transfer-Encoding: chunked\r\nContent-Length: 3\r\n",
            b"Content-Length: 3\r\nContent-Length: 4\r\n",
            b"Content-Length: 3\r\nContent-Length: 3\r\n",
            b"Content-Length: 3, 3\r\n",
            b"Content-Length: -3\r\n",
            b"Content-Length: 0x3\r\n",
            b"Content-Length: 99999999999999999999999\r\n",
            b"Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
            b"Host: localhost\r\nContent-Length: 3\r\n",
            b"Content-Length : 3\r\n",
        ]:
            with self.subTest(lines=lines):
                answer = send(self.server, head + lines + b"\r\nabc")
                self.assertEqual((answer.status, answer.headers["connection"]), (400, "close"))
        self.assertEqual(self.status(head + b"Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n"), 501)
        self.assertEqual(self.status(head + b"Transfer-Encoding: chunked, gzip\r\n\r\n0\r\n\r\n"), 501)
        for chunks in [b"zz\r\nabc\r\n", b"-1\r\nabc\r\n", b"\r\n", b"3\r\nabcd\r\n", b"3;" + b"x" * 100_000,
                       b"10000000000000000\r\nabc\r\n"]:
            with self.subTest(chunks=chunks[:20]):
                self.assertEqual(self.status(chunked(end=chunks + b"0\r\n\r\n")), 400)

    def test_lengths_may_lie(self):
        with self.server.connect() as client, client.makefile("rb") as file:
            client.sendall(post(b"abc") + b"defg\r\n\r\n")  # the rest is no request
            answers = [read_answer(file) for _ in range(3)]
            self.assertEqual([answer and answer.status for answer in answers], [200, 400, None])
        with self.server.connect() as client, client.makefile("rb") as file:
            client.sendall(post(bytes(100_000))[:50_000])
            client.shutdown(socket.SHUT_WR)
            self.assertIsNone(read_answer(file))

    def test_heads_are_bounded(self):
        before = self.server.resident()
        for lines in [b"X-A: b\r\n" * 50_000, b"X-A: " + b"b" * (20 * MIB) + b"\r\n"]:
            answer = send(self.server, get(b"/healthz", lines))
            self.assertEqual((answer.status, answer.problem()), (431, "head_too_large"))
        self.assertEqual(self.status(get(b"/" + b"a" * 10_000)), 431)
        self.assertLess(self.server.resident() - before, 20 * MIB)

    def test_bodies_are_bounded(self):
        answer = send(self.server, b"POST /v1/make HTTP/1.1\r\n" + HOST + b"Content-Length: 1000000000\r\n\r\n")
        self.assertEqual((answer.status, answer.problem()), (413, "too_large"))
        # The client that still sends gets the answer too, not a reset.
        self.assertEqual(self.status(post(bytes(17 * MIB))), 413)
        self.assertEqual(self.status(chunked(*[bytes(MIB)] * 40)), 413)
        self.assertEqual(self.status(chunked(*[bytes(MIB)] * 16)), 200)
        self.assertEqual(self.status(get(b"/healthz", b"Content-Length: 3\r\n") + b"abc"), 413)
        packed = gzip.compress(bytes(100 * MIB))
        self.assertEqual(self.status(post(packed, headers=b"Content-Encoding: gzip\r\n")), 415)
        self.assertEqual(send(self.server, post(packed)).body.split()[3], b"%d" % len(packed))

    def test_a_client_may_wait_for_leave_to_send(self):
        with self.server.connect() as client, client.makefile("rb") as file:
            client.sendall(b"POST /v1/make HTTP/1.1\r\n" + HOST + b"Expect: 100-continue\r\nContent-Length: 3\r\n\r\n")
            self.assertEqual(file.readline(), b"HTTP/1.1 100 Continue\r\n")
            self.assertEqual(file.readline(), b"\r\n")
            client.sendall(b"abc")
            self.assertEqual(read_answer(file).status, 200)

    def test_bytes_may_come_one_by_one(self):
        with self.server.connect() as client, client.makefile("rb") as file:
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            for data in [chunked(b"abc"), chunked(), get(b"/healthz")]:
                for at in range(len(data)):
                    client.sendall(data[at:at + 1])
                    time.sleep(0.001)
            self.assertEqual([read_answer(file).status for _ in range(3)], [200, 400, 200])

    def test_one_connection_serves_many_requests(self):
        with self.server.connect() as client, client.makefile("rb") as file:
            # Pipelined; a refusal of what is sound otherwise does not end it, a HEAD has no body.
            client.sendall(post(b"abc") + get(b"/healthz", method=b"HEAD") + get(b"/nothing") + post(b"abcd", b"/v1/mask") +
                           get(b"/healthz", b"Connection: close\r\n") + get(b"/healthz"))
            answers = [read_answer(file), read_answer(file, head_only=True), *(read_answer(file) for _ in range(4))]
            self.assertIsNone(answers[5])
            self.assertEqual([answer.status for answer in answers[:5]], [200, 200, 404, 200, 200])
            self.assertEqual(answers[1].headers["content-length"], "3")
            self.assertEqual(answers[3].body.split()[2], b"mask")
            self.assertEqual(answers[4].headers["connection"], "close")
        old = send(self.server, b"GET /healthz HTTP/1.0\r\n" + HOST + b"\r\n")
        self.assertEqual((old.status, old.headers["connection"]), (200, "close"))

    def test_the_page_is_kept_by_its_tag(self):
        page = send(self.server, get(b"/"))
        self.assertEqual((page.status, page.headers["etag"], page.headers["cache-control"]), (200, '"abc"', "no-cache"))
        again = send(self.server, get(b"/", b'If-None-Match: "abc"\r\n'))
        self.assertEqual((again.status, again.body, "content-length" in again.headers), (304, b"", False))
        self.assertIn("immutable", send(self.server, get(b"/main-1234.js")).headers["cache-control"])

    def test_counts_are_told(self):
        send(self.server, get(b"/xyzzy"))
        text = send(self.server, get(b"/metrics")).body.decode()
        self.assertIn('idphoto_requests_total{path="none",status="404"}', text)
        self.assertIn("idphoto_connections 1\n", text)
        self.assertIn("play_left_total 0\n", text)
        self.assertNotIn("xyzzy", text)


class Limits(unittest.TestCase):
    def test_a_token_is_asked_for(self):
        with server("token=0123456789abcdef", "listen=0.0.0.0:0") as running:
            self.assertEqual(send(running, get(b"/healthz")).status, 200)
            refused = send(running, post(bytes(10), headers=b"Authorization: Bearer 0123456789abcdeg\r\n"))
            self.assertEqual((refused.status, refused.headers["www-authenticate"]), (401, "Bearer"))
            self.assertEqual(send(running, post(b"a", headers=b"Authorization: Bearer 0123456789abcdef\r\n")).status, 200)
        refused = subprocess.run([PROGRAM, "listen=0.0.0.0:0"], capture_output=True, text=True, timeout=PATIENCE)
        self.assertEqual(refused.returncode, 2)
        self.assertIn("give a token", refused.stderr)

    def test_slow_clients_are_cut_and_others_served(self):
        # Whoever has sent nothing in time is not answered, so there must be time to send.
        with server("head=1500", "body=1500", "slots=2") as running, contextlib.ExitStack() as clients:
            def begin(data):
                client = clients.enter_context(running.connect())
                client.sendall(data)
                return client
            begun = time.monotonic()
            heads = [begin(b"GET /healthz HTTP/1.1\r\n") for _ in range(40)]
            bodies = [begin(b"POST /v1/make HTTP/1.1\r\n" + HOST + b"Content-Length: 1000000\r\n\r\nabc") for _ in range(2)]
            idle = begin(b"")
            self.assertEqual(send(running, get(b"/healthz")).status, 200)
            # A byte now and then buys no time.
            waiting = {*heads, *bodies}
            while waiting and time.monotonic() - begun < PATIENCE:
                for client in list(waiting):
                    client.settimeout(0.001)
                    try:
                        waiting.discard(client) if client.recv(1, socket.MSG_PEEK) else self.fail("closed without a word")
                    except TimeoutError:
                        with contextlib.suppress(ConnectionError):
                            client.sendall(b"X")
                time.sleep(0.05)
            self.assertFalse(waiting)
            for client in [*heads, *bodies]:
                client.settimeout(PATIENCE)
                self.assertEqual(read_answer(client.makefile("rb")).problem(), "too_slow")
            # Who has asked nothing is not answered; and the slots are free again.
            idle.settimeout(PATIENCE)
            self.assertEqual(idle.recv(1), b"")
            self.assertEqual(send(running, post(b"abc")).status, 200)

    def test_many_large_uploads_at_once_take_turns(self):
        size, slots, many = (MIB if wire.is_sanitized(PROGRAM) else 10 * MIB), 4, 64
        with server(f"body_bytes={16 * MIB}", f"slots={slots}", "wait=200000", "answer=100000") as running:
            body = post(bytes(size), b"/v1/make?wait=20")
            with concurrent.futures.ThreadPoolExecutor(many) as pool:
                answers = list(pool.map(lambda _: send(running, body), range(many)))
            self.assertEqual({answer.status for answer in answers}, {200})
            if not wire.is_sanitized(PROGRAM):
                self.assertLess(running.peak(), (slots + 4) * size)
                self.assertLess(running.resident(), 30 * MIB)

    def test_a_full_waiting_room_says_so(self):
        with server("slots=1", "waiting=1", "wait=3000") as running, running.connect() as first, running.connect() as second:
            first.sendall(post(b"abc", b"/v1/make?gone"))
            self.await_metric(running, "idphoto_slots_free 0\n")
            second.sendall(post(b"abc"))
            self.await_metric(running, "idphoto_waiting 1\n")
            busy = send(running, post(bytes(MIB)))
            self.assertEqual((busy.status, busy.problem(), busy.headers["retry-after"]), (503, "busy", "10"))
            self.assertEqual(read_answer(second.makefile("rb")).status, 503)
            # The one at work sees that nobody waits any more.
            first.close()
            self.await_metric(running, "play_left_total 1\n")
            self.assertEqual(send(running, post(b"abc")).status, 200)

    def await_metric(self, running, line):
        for _ in range(PATIENCE * 50):
            text = send(running, get(b"/metrics")).body.decode()
            if line in text:
                return
            time.sleep(0.02)
        self.fail(line + text)

    def timeouts(self, running):
        return int(re.search(r"^idphoto_timeouts_total (\d+)$", send(running, get(b"/metrics")).body.decode(), re.M)[1])

    def test_clients_may_leave_at_any_point(self):
        with server("slots=2", "answer=2000", "rate=100000000") as running:
            request = post(bytes(1000), b"/v1/make?large=20000000")
            for end in [1, 30, 100, 500, len(request)] * 4:
                with running.connect() as client:
                    client.sendall(request[:end])
                    if end == len(request):
                        client.recv(1000)
                    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
            # One that takes the answer and never reads it.
            with running.connect() as client:
                before = self.timeouts(running)
                client.sendall(request)
                for _ in range(PATIENCE * 50):
                    if self.timeouts(running) > before:
                        break
                    time.sleep(0.02)
                self.assertGreater(self.timeouts(running), before)
            self.await_metric(running, "idphoto_slots_free 2\n")
            self.assertEqual(send(running, post(b"abc")).status, 200)

    def test_connections_are_bounded_and_descriptors_may_run_out(self):
        with server("connections=8", "head=3000") as running, contextlib.ExitStack() as clients:
            for _ in range(20):
                clients.enter_context(running.connect())
            self.assertEqual(send(running, get(b"/healthz")).status, 200)  # when the idle ones were cut
        if wire.is_sanitized(PROGRAM):
            return  # it takes a descriptor to see whether an object may be read, and for want of one that it may not
        with server("head=3000", files=24) as running, contextlib.ExitStack() as clients:
            for _ in range(40):
                clients.enter_context(running.connect())
            times = os.sysconf("SC_CLK_TCK")
            def used():
                fields = pathlib.Path(f"/proc/{running.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
                return (int(fields[11]) + int(fields[12])) / times
            before = used()
            self.assertEqual(send(running, get(b"/healthz")).status, 200)
            self.assertLess(used() - before, 0.5)  # of processor time: no loop that spins


class Ends(unittest.TestCase):
    def test_what_was_begun_is_finished(self):
        running = wire.Server([PROGRAM, "slots=4"])
        try:
            with running.connect() as half, running.connect() as working, running.connect() as idle, \
                    running.connect() as kept, kept.makefile("rb") as kept_file:
                request = post(bytes(100_000))
                half.sendall(request[:50_000])
                working.sendall(post(b"abc", b"/v1/make?wait=500"))
                kept.sendall(get(b"/healthz"))
                self.assertEqual(read_answer(kept_file).status, 200)
                idle.sendall(b"")
                while b"idphoto_slots_free 2\n" not in send(running, get(b"/metrics")).body:
                    time.sleep(0.02)
                running.process.send_signal(signal.SIGTERM)
                self.assertEqual(idle.recv(1), b"")
                self.assertEqual(kept.recv(1), b"")
                with self.assertRaises(ConnectionRefusedError):
                    running.connect()
                half.sendall(request[50_000:])
                for client in (half, working):
                    answer = read_answer(client.makefile("rb"))
                    self.assertEqual((answer.status, answer.headers["connection"]), (200, "close"))
            status, said = running.process.wait(PATIENCE), running.said()
            self.assertEqual(status, 0, said)
            # The log: method, path as it is called, status, bytes.
            self.assertIn("POST /v1/make 200 100000 ", said)
        finally:
            running.close()

    def test_an_upload_that_never_ends_does_not_hold_it(self):
        for settings, signals in [(["drain=500"], [signal.SIGTERM]), ([], [signal.SIGTERM, signal.SIGINT])]:
            running = wire.Server([PROGRAM, *settings])
            try:
                with running.connect() as half:
                    half.sendall(post(bytes(100_000))[:50_000])
                    while b"idphoto_slots_free 3\n" not in send(running, get(b"/metrics")).body:
                        time.sleep(0.02)
                    begun = time.monotonic()
                    self.assertEqual(running.end(signals)[0], 0)
                    self.assertLess(time.monotonic() - begun, 8)
            finally:
                running.close()


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
