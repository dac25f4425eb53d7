"""Holds what the server makes of photographs against the files of the commands.

usage: service_test.py IDPHOTO SAMPLE
"""

import calendar
import contextlib
import http.client
import io
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import zipfile

PROGRAM = pathlib.Path(sys.argv[1]).resolve()
SAMPLE = pathlib.Path(sys.argv[2]).resolve()
PATIENCE = 300  # seconds
VISA = {"preset": "schengen-visa", "background": "#d0e0f0"}
NO_FIT = {"size": "35x45mm", "head": "70-80%", "top": "40-50%"}


class Answer:
    def __init__(self, response):
        self.status, self.body = response.status, response.read()
        self.headers = {name.lower(): value for name, value in response.getheaders()}

    @property
    def type(self):
        return self.headers.get("content-type", "")

    def json(self):
        return json.loads(self.body)

    def fields(self):
        return [(field["name"], field["value"]) for field in self.json()["fields"]]


def query(options):
    return "?" + urllib.parse.urlencode(options) if options else ""


def form(*fields):
    """A multipart body of (name, bytes or text)."""
    parts = []
    for name, value in fields:
        kind = f'; filename="{name}"\r\nContent-Type: image/jpeg' if isinstance(value, bytes) else ""
        head = f'--xyz\r\nContent-Disposition: form-data; name="{name}"{kind}\r\n\r\n'
        parts.append(head.encode() + (value if isinstance(value, bytes) else value.encode()) + b"\r\n")
    return b"".join(parts) + b"--xyz--\r\n"


class ServiceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.maxDiff = None
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.sample = SAMPLE.read_bytes()
        (cls.folder / "photo.png").write_bytes(cls.sample)
        log = cls.enterClassContext(open(cls.folder / "log.txt", "w"))
        cls.server = subprocess.Popen([PROGRAM, "serve", "--listen", "127.0.0.1:0", "--jobs", "1"],
                                      stdout=subprocess.PIPE, stderr=log, text=True)
        cls.addClassCleanup(cls.stop)
        cls.host = cls.server.stdout.readline().strip().removeprefix("http://").rstrip("/")
        begin = time.monotonic()
        while cls.ask("GET", "/readyz").status != 200:
            assert time.monotonic() - begin < PATIENCE, "the server does not get ready"
            time.sleep(0.1)

    @classmethod
    def stop(cls):
        cls.server.terminate()
        status = cls.server.wait(PATIENCE)
        cls.server.stdout.close()
        assert status == 0, status

    @classmethod
    def ask(cls, method, path, body=None, accept=None, **headers):
        connection = http.client.HTTPConnection(cls.host, timeout=PATIENCE)
        with contextlib.closing(connection):
            headers = {name.replace("_", "-"): value for name, value in headers.items()}
            connection.request(method, path, body, {**headers, **({"Accept": accept} if accept else {})})
            return Answer(connection.getresponse())

    def post(self, command, options=None, body=None, **more):
        return self.ask("POST", f"/v1/{command}{query(options)}", self.sample if body is None else body, **more)

    def post_form(self, command, *fields, **more):
        return self.ask("POST", f"/v1/{command}", form(*fields), Content_Type="multipart/form-data; boundary=xyz", **more)

    def run_program(self, *arguments, statuses=(0,)):
        """What the command prints."""
        done = subprocess.run([PROGRAM, *arguments], cwd=self.folder, capture_output=True, text=True, timeout=PATIENCE)
        self.assertIn(done.returncode, statuses, done.stderr)
        return done.stdout

    def by_command(self, command, output, options=None, *more):
        """The file that the command makes of the sample."""
        words = [word for name, value in (options or {}).items() for word in (f"--{name}", value)]
        self.run_program(command, "photo.png", "-o", output, *words, *more)
        return (self.folder / output).read_bytes()

    def keep(self):
        answer = self.ask("POST", "/v1/photos", self.sample)
        self.assertEqual(answer.status, 201, answer.body)
        return answer


class Commands(ServiceTest):
    def test_pictures_are_the_commands_files(self):
        jpeg = self.by_command("make", "photo.jpg", VISA)
        png = self.by_command("make", "made.png", VISA)
        for accept, made in [(None, jpeg), ("*/*", jpeg), ("image/*", jpeg), ("image/png", png),
                             ("image/png;q=0.5, image/jpeg", jpeg)]:
            with self.subTest(accept=accept):
                answer = self.post("make", VISA, accept=accept)
                self.assertEqual(answer.type, "image/png" if made is png else "image/jpeg")
                self.assertTrue(answer.body == made)
                self.assertEqual(answer.headers["cache-control"], "no-store")
        self.assertTrue(self.post("make", {**VISA, "format": "jpg"}, accept="image/png").body == jpeg)
        fields = [("preset", VISA["preset"]), ("photo", self.sample), ("background", VISA["background"])]
        self.assertTrue(self.post_form("make", *fields).body == jpeg)
        # A command without a choice of files takes no notice.
        self.assertTrue(self.post("mask", accept="image/jpeg").body == self.by_command("mask", "mask.png"))

    def test_reports_are_the_commands(self):
        told = json.loads(self.run_program("make", "photo.png", "-o", "photo.jpg", "--preset", "schengen-visa", "--json"))
        answer = self.post("make", {"preset": "schengen-visa"}, accept="application/json").json()
        links = answer.pop("links")
        self.assertEqual({**told, "photograph": "photo"}, answer)
        self.assertEqual(links, {"picture": "/v1/make?preset=schengen-visa", "document": "/v1/presets/schengen-visa"})
        self.assertTrue(self.ask("POST", links["picture"], self.sample).body == (self.folder / "photo.jpg").read_bytes())
        told = json.loads(self.run_program("inspect", "photo.png", "--json"))
        self.assertEqual({**told, "photograph": "photo"}, self.post("inspect").json())
        self.assertEqual({**told, "photograph": "photo"}, self.post("inspect", accept="application/json").json())

    def test_several_pictures_come_as_an_archive(self):
        options = {"preset": "schengen-visa", "contrast": "2", "force": "", "compare": ""}
        answer = self.post("make", options)
        self.assertEqual((answer.status, answer.type), (200, "application/zip"), answer.body[:300])
        self.run_program("make", "photo.png", "-o", "photo.jpg", "--preset", "schengen-visa", "--contrast", "2", "--force",
                         "--compare")
        with zipfile.ZipFile(io.BytesIO(answer.body)) as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(archive.namelist(), ["photo.jpg", "photo-compare.jpg"])
            for entry in archive.infolist():
                self.assertEqual((entry.compress_type, entry.date_time), (zipfile.ZIP_STORED, (1980, 1, 1, 0, 0, 0)))
                self.assertTrue(archive.read(entry) == (self.folder / entry.filename).read_bytes(), entry.filename)
        self.assertTrue(self.post("make", options).body == answer.body)

    def test_sheets_take_several_photographs(self):
        self.by_command("make", "one.jpg", VISA)
        self.by_command("make", "two.jpg", {"preset": "us-passport"})
        one, two = ((self.folder / name).read_bytes() for name in ("one.jpg", "two.jpg"))
        self.run_program("sheet", "one.jpg:2", "two.jpg:1", "-o", "sheet.jpg", "--paper", "A5")
        fields = [("paper", "A5"), ("photo", one), ("copies", "2"), ("photo", two), ("copies", "1")]
        self.assertTrue(self.post_form("sheet", *fields).body == (self.folder / "sheet.jpg").read_bytes())
        # As many as there is room for, and the number that counts for all.
        self.run_program("sheet", "one.jpg", "two.jpg:3", "-o", "full.png", "--paper", "A5")
        answer = self.post_form("sheet", ("copies", "3"), ("paper", "A5"), ("photo", one), ("copies", "0"), ("photo", two),
                                accept="image/png")
        self.assertTrue(answer.body == (self.folder / "full.png").read_bytes())
        report = self.post_form("sheet", *fields, accept="application/json").json()
        self.assertEqual([(photo["copies"], photo["width_mm"]) for photo in report["photographs"]], [(2, 34.97), (1, 50.8)])
        # Which one is wrong is told.
        wrong = self.post_form("sheet", ("photo", one), ("photo", b"no picture"))
        self.assertEqual((wrong.status, wrong.fields()), (415, [("photograph", 2)]))
        wrong = self.post_form("sheet", ("photo", one), ("copies", "many"), ("photo", two))
        self.assertEqual((wrong.status, wrong.fields()), (400, [("option", "copies"), ("photograph", 1)]))
        self.assertEqual(self.post_form("sheet", *[("photo", one)] * 17).status, 400)
        self.assertEqual(self.post_form("make", ("photo", one), ("photo", two)).status, 400)

    def test_failures_say_whose_and_by_how_much(self):
        grey = b"P5 4 4 255\n" + bytes(16)
        drawing = b'<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><rect width="9" height="9"/></svg>'
        for body in (grey, drawing, b"%PDF-1.4\n", b"GIF89a", b"\xff\xd8"):
            with self.subTest(body=body[:10]):
                answer = self.post_form("inspect", ("photo", body))
                self.assertIn((answer.status, answer.json()["code"]), [(415, "not_a_picture"), (422, "damaged_file")])
                if body in (grey, drawing):
                    self.assertEqual(answer.status, 415)
        cases = [
            (self.post("make", {"preset": "schengen-visa", "nonsense": "1"}), 400, "bad_option", ("option", "nonsense")),
            (self.post("make", {"preset": "schengen-visa", "dpi": "x"}), 400, "bad_option", ("option", "dpi")),
            (self.post("make", {"preset": "nowhere"}), 400, "unknown_preset", None),
            (self.post("make", {"preset": "schengen-visa", "person": "9"}), 422, "no_such_face", ("faces", 1)),
            (self.post("make", NO_FIT), 422, "no_fit", ("wanted_min", 0.4)),
            (self.ask("GET", "/v1/photos/0123/result?preset=schengen-visa"), 404, "not_kept", None),
            (self.ask("DELETE", "/v1/photos/0123"), 404, "not_kept", None),
            (self.ask("GET", "/v1/presets/nowhere"), 404, "unknown_preset", None),
        ]
        for answer, status, code, field in cases:
            with self.subTest(code=code, field=field):
                self.assertEqual((answer.status, answer.json()["code"]), (status, code), answer.body)
                self.assertEqual(answer.type, "application/problem+json")
                if field:
                    self.assertIn(field, answer.fields())
        names = {name for name, _ in self.post("make", NO_FIT).fields()}
        self.assertLessEqual({"bound", "wanted_min", "wanted_max", "got"}, names)

    def test_documents_are_kept_by_their_tag(self):
        whole = self.ask("GET", "/v1/presets")
        self.assertEqual(whole.json(), json.loads(self.run_program("presets", "--json")))
        self.assertEqual(self.ask("GET", "/v1/presets/de-passport").json(),
                         json.loads(self.run_program("presets", "de-passport", "--json")))
        self.assertTrue(all(preset["country"] == "US" for preset in self.ask("GET", "/v1/presets?country=US").json()))
        tags = set()
        for path in ("/v1/presets", "/v1/presets?country=US", "/v1/presets/de-passport"):
            answer = self.ask("GET", path)
            self.assertEqual(answer.headers["cache-control"], "no-cache")
            tags.add(answer.headers["etag"])
            again = self.ask("GET", path, If_None_Match='"other", ' + answer.headers["etag"])
            self.assertEqual((again.status, again.body, again.headers["etag"]), (304, b"", answer.headers["etag"]))
            self.assertEqual(self.ask("GET", path, If_None_Match='"other"').body, answer.body)
        self.assertEqual(len(tags), 3)
        self.assertTrue(all(re.fullmatch(r'"[0-9a-f-]+"', tag) for tag in tags))


class KeptPhotographs(ServiceTest):
    def test_what_is_kept_is_described(self):
        answer = self.keep()
        kept = answer.json()
        here = f"/v1/photos/{kept['id']}"
        self.assertRegex(kept["id"], "^[0-9a-f]{32}$")
        self.assertEqual(answer.headers["location"], here)
        self.assertEqual(list(kept), ["id", "width", "height", "quarter_turns", "faces_found", "faces", "expires", "links"])
        self.assertEqual([kept[name] for name in list(kept)[1:5]], [512, 512, 0, 1])
        seen = json.loads(self.run_program("inspect", "photo.png", "--json"))["faces"]
        self.assertEqual(kept["faces"], [{name: face[name] for name in ("face", "score", "corners")} for face in seen])
        left = calendar.timegm(time.strptime(kept["expires"], "%Y-%m-%dT%H:%M:%SZ")) - time.time()
        self.assertTrue(0 < left <= 900, left)
        self.assertEqual(kept["links"], {"self": here, "result": here + "/result", "preview": here + "/preview",
                                         "check": here + "/check"})
        self.assertNotEqual(self.keep().json()["id"], kept["id"])

    def test_results_are_the_commands_files_and_checked_as_such(self):
        here = self.keep().json()["links"]
        for options in (VISA, {"preset": "de-passport", "eyes": "3", "force": "", "child": ""},
                        {"size": "35x45mm", "head": "60-80%", "background": "white", "max-kb": "30", "dpi": "400"}):
            with self.subTest(options=options):
                flags = [f"--{name}" for name, value in options.items() if value == ""]
                words = {name: value for name, value in options.items() if value != ""}
                made = self.by_command("make", "photo.jpg", words, *flags)
                self.assertTrue(self.ask("GET", here["result"] + query(options)).body == made)
                report = self.ask("GET", here["result"] + query(options), accept="application/json").json()
                self.assertEqual(report["bytes"], len(made))
                self.assertEqual(set(report["links"]), {"picture", "check", "photo"})
                self.assertTrue(self.ask("GET", report["links"]["picture"]).body == made)

                asked = [word for name in ("preset", "size", "head", "dpi") if name in options
                         for word in (f"--{name}", options[name])] + [flag for flag in flags if flag == "--child"]
                told = json.loads(self.run_program("check", "photo.jpg", *asked, "--json", "--draw", "drawn.png",
                                                   statuses=(0, 1)))
                checked = self.ask("GET", report["links"]["check"])
                self.assertEqual(checked.type, "application/json")
                if "max-kb" in options:  # the command's check has no such option
                    self.assertEqual(checked.json()["measures"], told["measures"])
                    self.assertIn(("file size", 30), [(line["name"], line.get("max")) for line in checked.json()["checks"]])
                else:
                    self.assertEqual(checked.json(), told)
                    drawn = self.ask("GET", report["links"]["check"], accept="image/png")
                    self.assertTrue(drawn.body == (self.folder / "drawn.png").read_bytes())
        png = self.ask("GET", here["result"] + query(VISA), accept="image/png")
        self.assertTrue(png.body == self.by_command("make", "photo.png.png", VISA))

    def test_previews_fit_a_screen_and_have_no_limit(self):
        here = self.keep().json()["links"]
        options = {"preset": "schengen-visa", "max-kb": "1"}
        self.assertEqual(self.ask("GET", here["result"] + query(options)).json()["code"], "file_size")
        jpeg = self.ask("GET", here["preview"] + query({**options, "format": "png"}), accept="application/json")
        self.assertEqual((jpeg.status, jpeg.type), (200, "image/jpeg"))
        (self.folder / "preview.jpg").write_bytes(jpeg.body)
        seen = json.loads(self.run_program("inspect", "preview.jpg", "--json"))
        self.assertEqual((seen["width"], seen["height"]), (413, 531))
        large = self.ask("GET", here["preview"] + query({"preset": "de-passport", "relax": "true"}))
        (self.folder / "large.jpg").write_bytes(large.body)
        seen = json.loads(self.run_program("inspect", "large.jpg", "--json"))
        self.assertEqual((seen["width"], seen["height"]), (498, 640))
        clear = self.ask("GET", here["preview"] + query({**options, "background": "transparent"}), accept="image/jpeg")
        self.assertEqual((clear.status, clear.type, clear.body[25]), (200, "image/png", 6))  # RGB with opacity
        self.assertEqual(self.ask("GET", here["preview"] + query(NO_FIT)).json()["code"], "no_fit")

    def test_what_is_dropped_is_gone(self):
        here = self.keep().json()["links"]
        dropped = self.ask("DELETE", here["self"])
        self.assertEqual((dropped.status, dropped.body), (204, b""))
        for place in ("result", "preview", "check"):
            self.assertEqual(self.ask("GET", here[place] + query(VISA)).status, 404)
        self.assertEqual(self.ask("DELETE", here["self"]).status, 404)

    def test_measures_are_what_prometheus_reads(self):
        here = self.keep().json()["links"]
        self.ask("GET", here["check"] + query(VISA))
        text = self.ask("GET", "/metrics").body.decode()
        kinds, values = {}, {}
        for line in text.splitlines():
            if line.startswith("# TYPE "):
                _, _, name, kind = line.split()
                self.assertNotIn(name, kinds)
                kinds[name] = kind
            elif not line.startswith("# HELP "):
                sample, value = re.fullmatch(r'([a-z_]+(?:\{[^}]*\})?) ([0-9.e+-]+)', line).groups()
                self.assertNotIn(sample, values)
                values[sample] = float(value)
                name = sample.split("{")[0]
                base = re.sub("_(sum|count|bucket)$", "", name)
                self.assertIn(kinds.get(name, kinds.get(base)), ("counter", "gauge", "summary", "histogram"), line)
                self.assertIn(f"# HELP {name if name in kinds else base} ", text)
                self.assertEqual(name.endswith("_total"), kinds.get(name) == "counter", line)
        version = self.run_program("--version").split()[-1]
        self.assertEqual(values[f'idphoto_build_info{{version="{version}"}}'], 1)
        self.assertEqual(self.ask("GET", "/healthz").body.decode(), f"ok {version}\n")
        for stage in ("waiting", "analysis", "rendering", "encoding", "checking", "other"):
            self.assertGreater(values[f'idphoto_stage_seconds_sum{{stage="{stage}"}}'], 0, stage)
        self.assertGreater(values["idphoto_children_resident_bytes"], 20e6)
        self.assertGreater(values["process_resident_memory_bytes"], 1e6)
        self.assertEqual(values["idphoto_requests_waiting"], 0)
        self.assertGreaterEqual(values["idphoto_photographs_kept"], 1)


class PageTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.page = self.folder / "page"
        (self.page / "studio").mkdir(parents=True)

    def serve(self):
        return subprocess.Popen([PROGRAM, "serve", "--listen", "127.0.0.1:0", "--jobs", "1", "--page", self.page],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def refused(self):
        with self.serve() as server:
            said = server.communicate(timeout=PATIENCE)[1]
        self.assertEqual(server.returncode, 2, said)
        return said

    def test_a_page_from_a_folder(self):
        files = {"/": b"<!doctype html>own", "/studio/studio.wasm": b"\0asm" * 5000, "/LICENSE": b"words"}
        types = ["text/html; charset=utf-8", "application/wasm", "text/plain; charset=utf-8"]
        for path, content in files.items():
            (self.page / (path[1:] or "index.html")).write_bytes(content)
        (self.folder / "secret.txt").write_text("secret")
        (self.page / "link.txt").symlink_to(self.folder / "secret.txt")
        (self.page / "up").symlink_to(self.folder)
        (self.page / ".hidden").write_text("secret")
        server = self.serve()
        host = server.stdout.readline().strip().removeprefix("http://").rstrip("/")
        with contextlib.closing(http.client.HTTPConnection(host, timeout=PATIENCE)) as connection:
            def ask(path, **headers):
                connection.request("GET", path, headers=headers)
                return Answer(connection.getresponse())

            for (path, content), kind in zip(files.items(), types):
                answer = ask(path)
                self.assertEqual((answer.status, answer.body, answer.type), (200, content, kind))
                self.assertEqual(answer.headers["content-security-policy"], "frame-ancestors 'none'")
                self.assertEqual(ask(path, **{"If-None-Match": answer.headers["etag"]}).status, 304)
            # What is changed later is not seen half written.
            (self.page / "index.html").write_bytes(b"other")
            self.assertEqual(ask("/").body, files["/"])
            for path in ("/link.txt", "/up/secret.txt", "/.hidden", "/../secret.txt", "/%2e%2e/secret.txt", "/index.htm"):
                self.assertIn(ask(path).status, (400, 404), path)
            self.assertIn("default-src 'none'", ask("/v1/presets").headers["content-security-policy"])
        server.terminate()
        server.communicate(timeout=PATIENCE)
        self.assertEqual(server.returncode, 0)

    def test_folders_that_are_no_page(self):
        self.assertIn("index.html", self.refused())
        (self.page / "index.html").write_text("page")
        with open(self.page / "large.bin", "wb") as large:
            large.truncate(64_000_000)
        self.assertIn("64 MB", self.refused())
        self.page = self.folder / "none"
        self.assertIn("none: cannot be read", self.refused())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
