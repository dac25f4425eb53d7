"""Holds the answers of a running `idphoto serve` to its own description, to the command's files and to docs/http.md.

usage: api_test.py IDPHOTO SOURCE_DIR SAMPLE_PHOTO
"""

import base64
import collections
import contextlib
import ctypes
import faulthandler
import http.client
import io
import json
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import zipfile
import zlib

try:
    import jsonschema
except ImportError:
    jsonschema = None

IDPHOTO, SOURCE, SAMPLE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
PATIENCE = 120  # seconds for one answer; nothing takes so long
TOKEN = "0123456789abcdef0123"
JSON, ZIP, PROBLEM = "application/json", "application/zip", "application/problem+json"
NOBODY = "0" * 32  # an id that is never given out

# What no request here provokes, and why.
UNSEEN = {
    "408": "clients_test.py waits for it",
    "503 of readiness": "only while the processes start",
    "503 of dropPhoto": "only while more wait for a process than may",
}

seen = set()  # (operation, status, content type)


class Server:
    """Ends with this process, whatever ends that."""

    def __init__(self, *arguments):
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            [IDPHOTO, "serve", "--listen", "127.0.0.1:0", "--jobs", "1", *arguments],
            stdout=subprocess.PIPE, stderr=self.log, text=True,
            preexec_fn=lambda: ctypes.CDLL(None).prctl(1, signal.SIGKILL))
        self.address = self.process.stdout.readline().strip().rstrip("/")
        self.port = int(self.address.rsplit(":", 1)[1])
        while ask(self, "GET", "/readyz").status != 200:
            time.sleep(0.05)

    def close(self):
        self.process.terminate()
        try:
            status = self.process.wait(30)
        finally:
            self.process.kill()
            self.process.communicate()
            self.log.close()
        assert status == 0, status


class Answer:
    def __init__(self, response):
        self.status, self.headers, self.body = response.status, response.headers, response.read()
        self.type = response.headers.get_content_type() if "Content-Type" in response.headers else None

    def json(self):
        return json.loads(self.body)


def ask(server, method, path, query=(), body=None, headers=None):
    if isinstance(query, dict):
        query = urllib.parse.urlencode(query)
    target = path + ("?" + query if query else "")
    connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=PATIENCE)
    with contextlib.closing(connection):
        connection.request(method, target, body, headers or {})
        return Answer(connection.getresponse())


def form(*fields):
    """Name and value, bytes for a file; content type and body."""
    parts = []
    for name, value in fields:
        file = isinstance(value, bytes)
        head = f'Content-Disposition: form-data; name="{name}"' + ('; filename="me.jpg"' if file else "")
        parts.append(b"--limit\r\n" + head.encode() + b"\r\n\r\n" + (value if file else value.encode()) + b"\r\n")
    return {"Content-Type": "multipart/form-data; boundary=limit"}, b"".join(parts) + b"--limit--\r\n"


def png(width, height, rows=None):
    """A grey picture without any face; of `rows` only so many."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    pixels = (b"\0" + b"\x80" * width) * (height if rows is None else rows)
    header = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(pixels)) + chunk(b"IEND", b"")


MAGIC = {"image/png": b"\x89PNG\r\n", "image/jpeg": b"\xff\xd8\xff", "image/tiff": (b"II*\0", b"MM\0*")}


class Description:
    def __init__(self, document):
        self.document = document
        self.operations = {}  # by id: method, path, what is said of it
        for path, item in document["paths"].items():
            for method, operation in item.items():
                if method != "parameters":
                    shared = item.get("parameters", [])
                    operation["parameters"] = [self.resolve(p) for p in shared + operation.get("parameters", [])]
                    self.operations[operation["operationId"]] = (method.upper(), path, operation)

    def resolve(self, node):
        while "$ref" in node:
            target = self.document
            assert node["$ref"].startswith("#/"), node
            for name in node["$ref"][2:].split("/"):
                target = target[name.replace("~1", "/").replace("~0", "~")]
            node = target
        return node

    def validate(self, value, schema):
        jsonschema.Draft202012Validator({**schema, "components": self.document["components"]}).validate(value)

    def hold(self, name, answer, status=None):
        """An answer to what it may be; `status` is its name in the description where that is not its number."""
        status = status or str(answer.status)
        responses = self.operations[name][2]["responses"]
        assert status in responses, (name, answer.status, answer.body[:300])
        response = self.resolve(responses[status])
        for header, said in response.get("headers", {}).items():
            said = self.resolve(said)
            if said.get("required"):
                value = answer.headers[header]
                assert value is not None, (name, status, header)
                self.validate(int(value) if said["schema"].get("type") == "integer" else value, said["schema"])
        seen.add((name, status, answer.type))
        content = response.get("content", {})
        if not content:
            assert answer.body == b"" and answer.type is None, (name, status)
            return answer
        assert answer.type in content, (name, status, answer.type, answer.body[:300])
        if answer.type in MAGIC:
            assert answer.body.startswith(MAGIC[answer.type]), (name, answer.type)
        elif answer.type == ZIP:
            assert zipfile.ZipFile(io.BytesIO(answer.body)).testzip() is None
        else:
            value = answer.json() if answer.type.endswith("json") else answer.body.decode()
            self.validate(value, content[answer.type]["schema"])
        return answer

    def target(self, name, /, **values):
        method, path, _ = self.operations[name]
        return method, path.format(**{"id": NOBODY, "name": "us-passport", **values})


class Case(unittest.TestCase):
    """With a server, its description, and a photograph that documents take."""

    arguments = ()

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        shutil.copy(SAMPLE, cls.folder / "photo.png")
        (cls.folder / "token").write_text(TOKEN + "\n")
        (cls.folder / "token").chmod(0o600)
        cls.server = Server(*(str(cls.folder / word) if word == "token" else word for word in cls.arguments))
        cls.addClassCleanup(cls.server.close)
        headers = {"Authorization": "Bearer " + TOKEN} if cls.arguments else {}
        cls.description = Description(ask(cls.server, "GET", "/v1/openapi.json", headers=headers).json())
        cls.photo = SAMPLE.read_bytes()

    @classmethod
    def run_program(cls, *arguments):
        result = subprocess.run([IDPHOTO, *arguments], cwd=cls.folder, capture_output=True, timeout=PATIENCE)
        assert result.returncode in (0, 1), result.stderr
        return result.stdout

    def call(self, name, /, query=(), body=None, headers=None, status=200, **values):
        """What is answered, held to the description."""
        method, path = self.description.target(name, **values)
        if body is None and method == "POST":
            body = self.photo
        answer = ask(self.server, method, path, query, body, headers)
        self.assertEqual(answer.status, status, (name, answer.body[:300]))
        return self.description.hold(name, answer)

    def keep(self):
        return self.call("keepPhoto", status=201).json()


@unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
class Structure(Case):
    """The description by itself."""

    def test_it_is_openapi(self):
        document = self.description.document
        self.assertRegex(document["openapi"], r"^3\.1\.\d+$")
        self.assertEqual(document["info"]["version"], self.run_program("--version").decode().split()[-1])
        self.assertTrue({"title", "version"} <= document["info"].keys())
        self.assertEqual(document["components"]["securitySchemes"]["token"]["scheme"], "bearer")
        names = [operation[2]["operationId"] for operation in self.description.operations.values()]
        methods = sum(key != "parameters" for item in document["paths"].values() for key in item)
        self.assertEqual((len(set(names)), len(names)), (methods, methods))
        self.assertNotIn('"x-', json.dumps(document))
        tags = {tag["name"] for tag in document["tags"]}
        for method, path, operation in self.description.operations.values():
            with self.subTest(path=path):
                self.assertTrue(set(operation["tags"]) <= tags)
                self.assertIn(method, {"GET", "POST", "DELETE"})
                self.assertEqual("requestBody" in operation, method == "POST")
                parameters = operation["parameters"]
                counted = collections.Counter((p["name"], p["in"]) for p in parameters)
                self.assertEqual(max(counted.values(), default=1), 1)
                in_path = {p["name"] for p in parameters if p["in"] == "path" and p["required"]}
                self.assertEqual(in_path, set(re.findall(r"{(\w+)}", path)))
                self.assertTrue(all(re.fullmatch(r"default|[1-5]\d\d", status) for status in operation["responses"]))
                self.assertTrue(all(self.description.resolve(r)["description"] for r in operation["responses"].values()))

    def test_references_and_schemas_are_sound(self):
        def walk(node):
            if isinstance(node, dict):
                if "$ref" in node:
                    self.description.resolve(node)
                if isinstance(node.get("schema"), dict):
                    jsonschema.Draft202012Validator.check_schema(node["schema"])
            for child in node.values() if isinstance(node, dict) else node if isinstance(node, list) else ():
                walk(child)

        walk(self.description.document)
        schemas = self.description.document["components"]["schemas"]
        for schema in schemas.values():
            jsonschema.Draft202012Validator.check_schema(schema)
        installed = json.loads((SOURCE / "docs/schema/check.schema.json").read_text())
        self.assertEqual(schemas["Check"]["title"], installed["title"])
        self.assertEqual(schemas["Check"]["$defs"].keys(), installed["$defs"].keys())

    def test_options_are_the_commands_own(self):
        """Each range and list of words is the one that is refused beyond, with the option's name."""
        photo, needs = png(8, 8), {"background": {"background": "white"}, "watermarkPhoto": {"text": "x"}}
        for name, (_, _, operation) in self.description.operations.items():
            if operation["tags"] != ["commands"]:
                continue
            parameters = operation["parameters"]
            fields = operation["requestBody"]["content"]["multipart/form-data"]["schema"]
            self.assertEqual([p["name"] for p in parameters],
                             [field for field in fields["properties"] if field not in ("photo", "mask")])
            self.assertEqual(fields["required"], ["photo"])
            self.assertIn("max-megapixels", [p["name"] for p in parameters])
            for parameter in parameters:
                schema, wrong = parameter["schema"], []
                if schema["type"] in ("integer", "number"):
                    wrong = [schema["minimum"] - 1, schema["maximum"] + 1, "x"] if "minimum" in schema else ["x"]
                elif schema["type"] == "boolean":
                    wrong = ["maybe"]
                elif "enum" in schema:
                    wrong = ["x" + schema["enum"][0]]
                for value in wrong:
                    with self.subTest(command=name, option=parameter["name"], value=value):
                        problem = self.call(name, {**needs.get(name, {}), parameter["name"]: value}, photo, status=400).json()
                        self.assertEqual(problem["fields"], [{"name": "option", "value": parameter["name"]}])
            problem = self.call(name, {**needs.get(name, {}), "moustache": "5"}, photo, status=400).json()
            self.assertEqual((problem["code"], problem["fields"]),
                             ("bad_option", [{"name": "option", "value": "moustache"}]))
        make = {p["name"]: p["schema"] for p in self.description.operations["make"][2]["parameters"]}
        self.assertEqual(make["tone"], {"type": "integer", "minimum": 0, "maximum": 10})
        self.assertEqual(make["beauty"]["enum"], ["light", "natural", "strong"])
        self.assertEqual(make["eyes"]["type"], "array")
        required = [p["name"] for p in self.description.operations["background"][2]["parameters"] if p.get("required")]
        self.assertEqual(required, ["background"])


@unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
class Answers(Case):
    """The right ones: content types, schemas, and the command's own bytes."""

    def both(self, name, query, ending, extra=(), body=None, headers=None):
        """The answer has the bytes of the command's file."""
        words = [word for key, value in query.items() for word in ([f"--{key}"] if value == "true" else [f"--{key}", value])]
        self.run_program(name, "photo.png", "-o", "file" + ending, *words, *extra)
        answer = self.call(name, query, body, headers)
        self.assertTrue(answer.body == (self.folder / ("file" + ending)).read_bytes(), "not the command's bytes")
        return answer

    def report(self, name, query):
        report = self.call(name, query, headers={"Accept": JSON}).json()
        self.assertEqual(report["links"]["picture"].partition("?")[0], "/v1/" + name)
        return report

    def archive(self, name, query, **arguments):
        answer = self.call(name, query, **arguments)
        self.assertEqual(answer.type, ZIP)
        self.assertTrue(answer.body == self.call(name, query, **arguments).body, "not the same bytes every time")
        return zipfile.ZipFile(io.BytesIO(answer.body))

    def test_make(self):
        query = {"size": "35x45mm", "background": "#aabbcc", "skin": "0.7", "relax": "true"}
        picture = self.both("make", query, ".jpg")
        report = self.report("make", query)
        self.assertEqual((report["bytes"], report["retouched"]), (len(picture.body), True))
        self.both("make", {**query, "background": "transparent"}, ".png")
        self.run_program("mask", "photo.png", "-o", "mask.png")
        headers, body = form(("photo", self.photo), ("mask", (self.folder / "mask.png").read_bytes()), *query.items())
        self.run_program("make", "photo.png", "-o", "masked.jpg", "--mask", "mask.png",
                         *(w for k, v in query.items() for w in ([f"--{k}"] if v == "true" else [f"--{k}", v])))
        self.assertTrue(self.call("make", (), body, headers).body == (self.folder / "masked.jpg").read_bytes())
        compared = self.archive("make", {**query, "compare": "true"})
        self.assertEqual(compared.namelist(), ["photo.jpg", "photo-compare.jpg"])
        self.assertTrue(compared.read("photo.jpg") == picture.body)

    def test_crop(self):
        self.run_program("crop", "photo.png", "-o", "crops")
        files = sorted((self.folder / "crops").iterdir())
        answer = self.call("crop")
        self.assertTrue([answer.body] == [file.read_bytes() for file in files])
        self.assertEqual(len(self.report("crop", {"ratio": "0.5"})["faces"]), 1)
        self.assertEqual(self.call("crop", {"format": "jpg"}).type, "image/jpeg")
        archive = self.archive("crop", {}, headers={"Accept": ZIP})
        self.assertEqual(archive.namelist(), [file.name for file in files])

    def test_retouch(self):
        picture = self.both("retouch", {"beauty": "strong"}, ".jpg")
        self.assertEqual(self.report("retouch", {"beauty": "strong"})["bytes"], len(picture.body))
        self.assertEqual(self.call("retouch", {"format": "png"}).type, "image/png")
        self.assertEqual(len(self.archive("retouch", {"compare": ""}).namelist()), 2)

    def test_sheet(self):
        query = {"paper": "100x60mm", "size": "35x35mm", "copies": "2"}
        self.both("sheet", query, ".jpg")
        self.assertEqual(self.report("sheet", query)["copies"], 2)
        for kind in ["png", "tiff"]:
            self.assertEqual(self.call("sheet", {**query, "format": kind}).type, "image/" + kind)
        self.archive("sheet", query, headers={"Accept": ZIP})
        # Several photographs, of which the first says how many; the other takes what room there is.
        headers, body = form(("size", "35x35mm"), ("paper", "4x6"), ("photo", self.photo), ("copies", "1"),
                             ("photo", self.photo), ("copies", "0"))
        self.run_program("sheet", "photo.png:1", "photo.png", "-o", "two.jpg", "--size", "35x35mm", "--paper", "4x6")
        self.assertTrue(self.call("sheet", (), body, headers).body == (self.folder / "two.jpg").read_bytes())
        report = self.call("sheet", (), body, {**headers, "Accept": JSON}).json()
        self.assertEqual([kind["copies"] for kind in report["photographs"]], [1, report["copies"] - 1])

    def test_mask_and_background(self):
        mask = self.both("mask", {}, ".png")
        self.assertEqual(self.report("mask", {"cutout": "true"})["outputs"], ["photo-cutout.png"])
        both = self.archive("mask", {"both": "true"})
        self.assertTrue(both.read("photo-mask.png") == mask.body)
        picture = self.both("background", {"background": "gradient:white-lightblue"}, ".jpg")
        self.assertEqual(self.report("background", {"background": "gradient:white-lightblue"})["bytes"], len(picture.body))
        self.assertEqual(self.call("background", {"background": "transparent"}).type, "image/png")
        self.archive("background", {"background": "white"}, headers={"Accept": ZIP})

    def test_compress(self):
        picture = self.both("compress", {"max-kb": "40"}, ".jpg")
        report = self.report("compress", {"max-kb": "40"})
        self.assertEqual((report["bytes"], report["pixels_kept"]), (len(picture.body), False))
        self.assertEqual(self.call("compress", {"dpi": "300", "format": "png"}).type, "image/png")
        self.archive("compress", {"dpi": "300"}, headers={"Accept": ZIP})

    def test_inspect_and_check(self):
        report = self.call("inspect").json()
        printed = json.loads(self.run_program("inspect", "photo.png", "--json"))
        self.assertEqual({**report, "photograph": ""}, {**printed, "photograph": ""})
        self.assertEqual(self.call("inspect", {"draw": "true", "points": "key"}).type, "image/png")
        self.assertEqual(self.call("inspect", {"draw": "true", "format": "jpg"}).type, "image/jpeg")
        self.archive("inspect", {"draw": "true"}, headers={"Accept": ZIP})
        query = {"preset": "us-passport"}
        report = self.call("check", query).json()
        printed = json.loads(self.run_program("check", "photo.png", "--json", "--preset", "us-passport"))
        self.assertEqual({**report, "photograph": ""}, {**printed, "photograph": ""})
        self.assertFalse(report["passed"])
        self.assertEqual(self.call("check", {**query, "draw": "true"}).type, "image/png")
        self.archive("check", {**query, "draw": "true"}, headers={"Accept": ZIP})

    def test_kept_photographs(self):
        kept = self.keep()
        self.assertEqual((kept["width"], kept["faces_found"], [f["face"] for f in kept["faces"]]), (512, 1, [1]))
        query = {"size": "35x45mm", "background": "lightblue", "relax": "true"}
        picture = self.call("result", query, id=kept["id"])
        self.run_program("make", "photo.png", "-o", "kept.jpg", "--size", "35x45mm", "--background", "lightblue", "--relax")
        self.assertTrue(picture.body == (self.folder / "kept.jpg").read_bytes(), "not the command's bytes")
        self.assertEqual(self.call("result", query, headers={"Accept": "image/png"}, id=kept["id"]).type, "image/png")
        self.archive("result", {**query, "compare": "true"}, id=kept["id"])
        report = self.call("result", query, headers={"Accept": JSON}, id=kept["id"]).json()
        again = ask(self.server, "GET", report["links"]["picture"])
        self.assertTrue(again.body == picture.body)
        check = self.call("checkResult", query, id=kept["id"]).json()
        printed = json.loads(self.run_program("check", "kept.jpg", "--json", "--size", "35x45mm"))
        self.assertEqual({**check, "photograph": ""}, {**printed, "photograph": ""})
        self.assertEqual(ask(self.server, "GET", report["links"]["check"]).json(), check)
        self.assertEqual(self.call("checkResult", query, headers={"Accept": "image/png"}, id=kept["id"]).type, "image/png")
        self.assertEqual(self.call("preview", query, id=kept["id"]).type, "image/jpeg")
        self.assertEqual(self.call("preview", {**query, "background": "transparent"}, id=kept["id"]).type, "image/png")
        # What is impossible with this photograph names the bounds, with what was wanted and got.
        problem = self.call("result", {"size": "35x45mm", "head": "99-100%"}, id=kept["id"], status=422).json()
        self.assertEqual(problem["code"], "no_fit")
        names = [field["name"] for field in problem["fields"]]
        self.assertTrue({"bound", "wanted_min", "wanted_max", "got"} <= set(names), names)
        for name in ["preview", "checkResult"]:
            forbidden = {"preset": "us-passport", "skin": "2"}
            self.assertEqual(self.call(name, forbidden, id=kept["id"], status=422).json()["code"], "forbidden_edit")
        self.call("dropPhoto", id=kept["id"], status=204)
        self.assertEqual(self.call("result", query, id=kept["id"], status=404).json()["code"], "not_kept")

    def test_watermark(self):
        query = {"text": "specimen", "size": "30"}
        words = ["--text", "specimen", "--size", "30"]
        self.run_program("watermark", "photo.png", "-o", "marked.jpg", *words)
        picture = self.call("watermarkPhoto", query)
        self.assertTrue(picture.body == (self.folder / "marked.jpg").read_bytes(), "not the command's bytes")
        report = self.call("watermarkPhoto", query, headers={"Accept": JSON}).json()
        self.assertEqual(report["bytes"], len(picture.body))
        self.assertEqual(self.call("watermarkPhoto", {**query, "format": "png"}).type, "image/png")
        self.archive("watermarkPhoto", query, headers={"Accept": ZIP})

    def test_forms(self):
        """Pictures go and come as text or as files; fields have the limits that are described."""

        def fill(name, *fields, picture=self.photo):
            headers, body = form(("input_image", picture), *fields)
            answer = self.call(name, (), body, headers).json()
            return [base64.b64decode(url.partition(",")[2]) for key, url in answer.items() if key != "status"]

        size = [("width", "100"), ("height", "140")]
        small, own = fill("idphoto", *size)
        self.assertEqual(struct.unpack(">II", small[16:24]), (100, 140))
        self.assertGreater(len(own), len(small))
        self.assertEqual(len(fill("idphoto_crop", *size, ("hd", "false"))), 1)
        (person,) = fill("human_matting")
        self.assertEqual(len(fill("add_background", ("color", "438edb"), ("render", "2"), picture=person)), 1)
        (sheet,) = fill("generate_layout_photos", *size, ("kb", "200"), picture=small)
        self.assertTrue(sheet.startswith(MAGIC["image/jpeg"]) and len(sheet) <= 200_000)
        self.assertEqual(len(fill("watermark", ("text", "specimen"))), 1)
        body = urllib.parse.urlencode({"input_image_base64": base64.b64encode(self.photo).decode(), "kb": "40"})
        headers = {"Content-Type": "application/x-www-form-urlencoded"}
        self.call("set_kb", (), body, headers)
        for name, (_, _, operation) in self.description.operations.items():
            if operation["tags"] != ["forms"]:
                continue
            schema = self.description.resolve(operation["requestBody"]["content"]["multipart/form-data"]["schema"])
            text = [("text", "specimen")] if name == "watermark" else []
            for field, said in schema["properties"].items():
                if "maximum" not in said:
                    continue
                for value in [said["minimum"] - 1, said["maximum"] + 1]:
                    with self.subTest(form=name, field=field, value=value):
                        headers, body = form(("input_image", self.photo), *text, (field, str(value)))
                        self.assertEqual(self.call(name, (), body, headers, status=400).json()["fields"],
                                         [{"name": "option", "value": field}])

    def test_documents_and_state(self):
        printed = json.loads(self.run_program("presets", "--json"))
        self.assertEqual(self.call("presets").json(), printed)
        found = self.call("presets", {"country": "US", "search": "passport"}).json()
        self.assertIn("us-passport", [preset["name"] for preset in found])
        self.assertLess(len(found), len(printed))
        self.assertEqual(self.call("preset").json(), next(p for p in printed if p["name"] == "us-passport"))
        self.assertEqual(self.call("preset", name="atlantis-passport", status=404).json()["code"], "unknown_preset")
        for name in ["presets", "preset", "description"]:
            tag = self.call(name).headers["ETag"]
            for tags in [tag, '"other", ' + tag, "*"]:
                self.call(name, headers={"If-None-Match": tags}, status=304)
            self.call(name, headers={"If-None-Match": '"other"'})
        for name in ["health", "readiness", "metrics"]:
            self.call(name)


@unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
class Problems(Case):
    """Each that the description lists for an operation, provoked there; that fields say what is to blame."""

    def provoke(self, status, headers, query=(), body=None, only=None):
        """With every operation that lists the status."""
        for name, (method, _, operation) in self.description.operations.items():
            if str(status) not in operation["responses"] or (only and not only(method)):
                continue
            with self.subTest(operation=name, status=status):
                method, path = self.description.target(name)
                answer = ask(self.server, method, path, query, body, headers)
                self.assertEqual(answer.status, status, answer.body[:300])
                self.description.hold(name, answer)

    def test_of_every_request(self):
        self.provoke(400, {}, query="a%00b=1")
        self.provoke(403, {"Origin": "http://evil.example"})
        self.provoke(413, {"Content-Length": "1000000000"})
        self.provoke(417, {"Expect": "miracles"}, body=b"abc")
        self.provoke(421, {"Host": "evil.example"})
        self.provoke(431, {"X-Long": "x" * 20_000})
        self.provoke(501, {"Transfer-Encoding": "gzip, chunked"})

    def test_of_methods(self):
        for name in self.description.operations:
            _, path = self.description.target(name)
            answer = ask(self.server, "PUT", path)
            self.assertEqual((answer.status, answer.json()["code"]), (405, "method_not_allowed"))
            self.assertIn(self.description.operations[name][0], answer.headers["Allow"].split(", "))
            self.description.hold(name, answer, "default")

    def test_of_names(self):
        self.provoke(404, {}, only=lambda method: method == "DELETE")
        for name in ["result", "preview", "checkResult"]:
            problem = self.call(name, {"size": "35x45mm"}, status=404).json()
            self.assertEqual(problem["code"], "not_kept")
        for path in ["/v1/nothing", "/v1/photos/ID/shoe", "/nothing", "/v1"]:
            answer = ask(self.server, "GET", path)
            self.assertEqual((answer.status, answer.type, answer.json()["code"]), (404, PROBLEM, "not_found"))

    def test_of_photographs(self):
        needs = {"check": {"preset": "us-passport"}, "make": {"preset": "us-passport"}, "sheet": {"size": "35x35mm"},
                 "background": {"background": "white"}, "compress": {"dpi": "300"}, "watermarkPhoto": {"text": "specimen"}}
        for name, (method, _, operation) in self.description.operations.items():
            if method != "POST":
                continue
            with self.subTest(operation=name):
                query = needs.get(name, {})
                if operation["tags"] == ["forms"]:
                    for picture, status, code in [(b"Dear Sir or Madam,", 415, "not_a_picture"),
                                                  (png(600, 600, rows=10), 422, "damaged_file")]:
                        headers, body = form(("input_image", picture), ("text", "specimen"))
                        self.assertEqual(self.call(name, (), body, headers, status=status).json()["code"], code)
                    continue
                problem = self.call(name, query, b"Dear Sir or Madam,", status=415).json()
                self.assertEqual(problem["code"], "not_a_picture")
                problem = self.call(name, query, png(600, 600, rows=10), status=422).json()
                self.assertEqual(problem["code"], "damaged_file")
                headers, body = form(("photo", b""))
                self.assertEqual(self.call(name, (), body, headers, status=400).json()["code"], "no_photo")
                if name != "keepPhoto":
                    problem = self.call(name, {**query, "max-megapixels": "1"}, png(1100, 1000), status=413).json()
                    self.assertEqual(problem["code"], "too_large")
                    self.assertEqual({f["name"]: f["value"] for f in problem["fields"]},
                                     {"limit": 1_000_000, "got": 1_100_000})
        problem = self.call("make", needs["make"], png(600, 600), status=422).json()
        self.assertEqual(problem["code"], "no_face")
        self.assertEqual(self.call("make", (), status=400).json()["fields"], [{"name": "option", "value": "preset"}])
        problem = self.call("make", {"preset": "us-pasport"}, status=400).json()
        self.assertEqual((problem["code"], problem["fields"][0]["name"]), ("unknown_preset", "similar"))
        self.assertIn("us-passport", problem["fields"][0]["value"])
        self.assertEqual(self.call("compress", {"max-kb": "1"}, status=422).json()["code"], "file_size")
        self.assertEqual(self.call("sheet", {**needs["sheet"], "paper": "30x30mm"}, status=422).json()["code"], "sheet_full")
        self.assertEqual(self.call("presets", {"colour": "red"}, status=400).json()["code"], "bad_option")

    def test_of_a_full_server(self):
        """One photograph at work makes three slots, and 128 may wait: uploads that never come take them all."""
        head = b"POST /v1/make HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000\r\n\r\n"
        with contextlib.ExitStack() as stack:
            server = Server()
            stack.callback(server.close)
            for _ in range(3 + 128):
                client = stack.enter_context(socket.create_connection(("127.0.0.1", server.port), timeout=PATIENCE))
                client.sendall(head)
            while "idphoto_waiting 128" not in ask(server, "GET", "/metrics").body.decode():
                pass
            for name, (method, path, operation) in self.description.operations.items():
                if "503" not in operation["responses"] or name in ("readiness", "dropPhoto"):
                    continue
                method, path = self.description.target(name)
                answer = ask(server, method, path, {"preset": "us-passport"}, b"abc" if method == "POST" else None)
                self.assertEqual((answer.status, answer.json()["code"]), (503, "busy"))
                self.description.hold(name, answer)


@unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
class Guarded(Case):
    """With a token, and with little room for uploads."""

    arguments = ("--token-file", "token", "--max-upload", "1")

    def test_the_token(self):
        for name, (method, _, operation) in self.description.operations.items():
            method, path = self.description.target(name)
            if "401" not in operation["responses"]:
                self.assertEqual(operation["security"], [])
                self.assertEqual(ask(self.server, method, path).status, 200)
                continue
            for headers in [{}, {"Authorization": "Bearer " + TOKEN[:-1]}, {"Authorization": "Basic " + TOKEN}]:
                answer = ask(self.server, method, path, headers=headers)
                self.assertEqual(answer.status, 401)
                self.description.hold(name, answer)
        answer = ask(self.server, "GET", "/v1/presets", headers={"Authorization": "Bearer " + TOKEN})
        self.assertEqual(answer.status, 200)

    def test_lengths(self):
        headers = {"Authorization": "Bearer " + TOKEN}
        problem = self.call("inspect", (), bytes(1_000_001), headers, status=413).json()
        self.assertEqual({f["name"]: f["value"] for f in problem["fields"]}, {"limit": 1_000_000, "got": 1_000_001})
        self.call("inspect", (), self.photo, headers)


@unittest.skipUnless(shutil.which("curl"), "curl is not installed")
class Document(Case):
    """Every call of docs/http.md, as it stands there: each answers 2xx unless "# 422" or the like stands behind it."""

    arguments = ("--token-file", "token")

    def test_calls(self):
        open_server = Server()
        self.addCleanup(open_server.close)
        blocks = re.findall(r"^```sh\n(.*?)^```$", (SOURCE / "docs/http.md").read_text(), re.M | re.S)
        calls = [block for block in blocks if re.search(r"^(\w+=\$\()?curl ", block, re.M)]
        self.assertGreater(sum(block.count("curl ") for block in calls), 30)
        self.run_program("compress", "photo.png", "-o", "photo.jpg", "--dpi", "300")
        shutil.copy(self.folder / "token", self.folder / "token.txt")
        for block in calls:
            guarded = "Authorization" in block
            script = block.replace("http://127.0.0.1:8080", (self.server if guarded else open_server).address)
            wrapper = "curl() { command curl -sS -w '%{stderr}%{http_code}\\n' \"$@\"; }\n"
            with self.subTest(block=block):
                result = subprocess.run(["bash", "-euc", wrapper + script], cwd=self.folder, capture_output=True,
                                        timeout=PATIENCE)
                self.assertEqual(result.returncode, 0, result.stderr)
                got = re.findall(r"^\d{3}$", result.stderr.decode(), re.M)
                joined = block.replace("\\\n", " ")
                wanted = [re.search(r"# (\d{3})\b|$", line)[1] or "2.." for line in joined.splitlines() if "curl " in line]
                self.assertEqual(len(got), len(wanted))
                for status, pattern in zip(got, wanted):
                    self.assertRegex(status, pattern)


def tearDownModule():
    """Everything that the description promises has been seen."""
    if not jsonschema or len(sys.argv) > 4:
        return
    missing = []
    for name, (_, _, operation) in description().operations.items():
        for status, response in operation["responses"].items():
            if status in UNSEEN or f"{status} of {name}" in UNSEEN:
                continue
            for kind in description().resolve(response).get("content", {None: None}):
                if (name, status, kind) not in seen:
                    missing.append(f"{name}: {status} {kind or ''}")
    assert not missing, "promised and never seen:\n" + "\n".join(missing)


def description():
    return Structure.description


if __name__ == "__main__":
    faulthandler.dump_traceback_later(550, exit=True)
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
