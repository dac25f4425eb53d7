"""Holds the seven forms of the older interface, as `idphoto serve` offers them, to what their clients expect.

usage: adapter_test.py IDPHOTO PORTRAIT
"""

import base64
import concurrent.futures
import http.client
import json
import pathlib
import struct
import subprocess
import sys
import unittest
import urllib.parse
import zlib

IDPHOTO, PORTRAIT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
PATIENCE = 120  # seconds after which the server counts as hanging
FORMS = ["idphoto", "human_matting", "add_background", "generate_layout_photos", "watermark", "set_kb", "idphoto_crop"]
URLENCODED = "application/x-www-form-urlencoded"
METRE = 0.0254


class Png:
    """Size, resolution and rows of pixels, as they are in the file."""

    def __init__(self, file):
        assert file[:8] == b"\x89PNG\r\n\x1a\n", file[:8]
        self.dpi, packed, at = None, b"", 8
        while at < len(file):
            length, kind = struct.unpack(">I4s", file[at:at + 8])
            data = file[at + 8:at + 8 + length]
            assert zlib.crc32(kind + data) == struct.unpack(">I", file[at + 8 + length:at + 12 + length])[0]
            if kind == b"IHDR":
                self.width, self.height, depth, colour = struct.unpack(">IIBB", data[:10])
                assert depth == 8 and colour in (2, 6), (depth, colour)
                self.channels = 3 if colour == 2 else 4
            elif kind == b"pHYs":
                across, down, unit = struct.unpack(">IIB", data)
                assert across == down and unit == 1
                self.dpi = round(across * METRE)
            elif kind == b"IDAT":
                packed += data
            at += 12 + length
        self.rows = self.unfiltered(zlib.decompress(packed))

    def unfiltered(self, data):
        rows, n, before = [], self.channels, bytearray(self.channels * self.width)
        for y in range(self.height):
            start = y * (n * self.width + 1)
            kind, row = data[start], bytearray(data[start + 1:start + 1 + n * self.width])
            for i in range(len(row)):
                a, b, c = (row[i - n], before[i], before[i - n]) if i >= n else (0, before[i], 0)
                if kind == 4:
                    p = a + b - c
                    near = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
                else:
                    near = [0, a, b, (a + b) // 2][kind]
                row[i] = (row[i] + near) & 255
            rows.append(row)
            before = row
        return rows

    def at(self, x, y):
        return tuple(self.rows[y][self.channels * x:self.channels * (x + 1)])

    def cover(self):
        """The share of the picture that is opaque."""
        return sum(sum(row[3::4]) for row in self.rows) / (255 * self.width * self.height)


def jpeg(file):
    """Width, height and resolution."""
    assert file[:2] == b"\xff\xd8", file[:4]
    at, dpi = 2, None
    while True:
        marker, length = struct.unpack(">HH", file[at:at + 4])
        if marker == 0xFFE0:
            unit, dpi, down = struct.unpack(">BHH", file[at + 11:at + 16])
            assert unit == 1 and dpi == down
        if 0xFFC0 <= marker <= 0xFFC2:
            height, width = struct.unpack(">HH", file[at + 5:at + 9])
            return width, height, dpi
        at += 2 + length


def plain_png(width, height, level):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = (b"\0" + bytes([level]) * 3 * width) * height
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def multipart(fields, file=None):
    body = b"".join(
        b'--edge\r\nContent-Disposition: form-data; name="%s"\r\n\r\n%s\r\n' % (name.encode(), str(value).encode())
        for name, value in fields.items())
    if file is not None:
        body += (b'--edge\r\nContent-Disposition: form-data; name="input_image"; filename="a.jpg"\r\n'
                 b"Content-Type: image/jpeg\r\n\r\n" + file + b"\r\n")
    return body + b"--edge--\r\n", "multipart/form-data; boundary=edge"


def as_text(fields, file, data_url=False):
    text = ("data:image/png;base64," if data_url else "") + base64.b64encode(file).decode()
    return {**fields, "input_image_base64": text}


class Adapter(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = subprocess.Popen([IDPHOTO, "serve", "--listen", "127.0.0.1:0", "--jobs", "2", "--max-upload", "4"],
                                      stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        cls.port = urllib.parse.urlsplit(cls.server.stdout.readline().strip()).port
        cls.portrait = PORTRAIT.read_bytes()

    @classmethod
    def tearDownClass(cls):
        cls.server.terminate()
        assert cls.server.wait(PATIENCE) == 0

    def ask(self, target, body, kind, method="POST"):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        connection.request(method, target, body, {"Content-Type": kind} if kind else {})
        answer = connection.getresponse()
        said = answer.status, answer.headers["Content-Type"], answer.read()
        connection.close()
        return said

    def pictures(self, target, body, kind):
        """The answer's pictures by their names, as files."""
        status, answered, said = self.ask(target, body, kind)
        self.assertEqual((status, answered), (200, "application/json"), said[:500])
        members = json.loads(said)
        self.assertIs(members.pop("status"), True)
        files = {}
        for name, url in members.items():
            head, text = url.split(",")
            file = base64.b64decode(text, validate=True)
            self.assertEqual(head, "data:image/%s;base64" % ("png" if file[:1] == b"\x89" else "jpeg"))
            files[name] = file
        return files

    def picture(self, target, fields, file):
        files = self.pictures(target, *multipart(fields, file))
        self.assertEqual(list(files), ["image_base64"])
        return files["image_base64"]

    def problem(self, target, body, kind, method="POST"):
        status, answered, said = self.ask(target, body, kind, method)
        self.assertEqual(answered, "application/problem+json", said[:500])
        document = json.loads(said)
        self.assertEqual(document["status"], status)
        return status, document["code"]

    def test_portraits_are_transparent_in_both_sizes(self):
        fields = {"height": 140, "width": 100, "dpi": 254, "face_detect_model": "mtcnn", "human_matting_model": "x"}
        files = self.pictures("/idphoto", *multipart(fields, self.portrait))
        self.assertEqual(list(files), ["image_base64_standard", "image_base64_hd"])
        standard, full = (Png(file) for file in files.values())
        self.assertEqual((standard.width, standard.height, standard.channels, standard.dpi), (100, 140, 4, 254))
        self.assertEqual((full.channels, full.dpi), (4, 254))
        self.assertGreater(full.width, 150)
        self.assertAlmostEqual(full.height / full.width, 1.4, delta=0.01)
        for picture in (standard, full):
            self.assertEqual(picture.at(0, 0)[3], 0)
            self.assertEqual(picture.at(picture.width // 2, picture.height // 2)[3], 255)
        self.assertAlmostEqual(standard.cover(), full.cover(), delta=0.01)  # the same cut
        # The space above the hair.
        top = next(y for y, row in enumerate(standard.rows) if max(row[3::4]) > 127)
        self.assertTrue(13 <= top <= 18, top)

        # The picture may come in four ways.
        for body, kind in [
            multipart(as_text(fields, self.portrait)), multipart(as_text(fields, self.portrait, True)),
            (urllib.parse.urlencode(as_text(fields, self.portrait)), URLENCODED),
        ]:
            self.assertEqual(self.pictures("/idphoto", body, kind), files)
        self.assertEqual(self.pictures("/idphoto", *multipart({**fields, "hd": "false"}, self.portrait)),
                         {"image_base64_standard": files["image_base64_standard"]})
        # What is in the query counts too, and a change of the look is one.
        lighter = self.pictures("/idphoto?brightness_strength=30&hd=0", *multipart(fields, self.portrait))
        self.assertNotEqual(lighter["image_base64_standard"], files["image_base64_standard"])

    def test_crops_keep_the_background(self):
        files = self.pictures("/idphoto_crop", *multipart({"height": 140, "width": 100}, self.portrait))
        standard, full = (Png(file) for file in files.values())
        self.assertEqual((standard.width, standard.height, standard.channels, standard.dpi), (100, 140, 3, 300))
        self.assertGreater(full.width, 150)

    def test_backgrounds_and_sheets_follow_a_portrait(self):
        files = self.pictures("/idphoto", *multipart({"hd": "false"}, self.portrait))
        cut_out = files["image_base64_standard"]
        blue, white = (0x43, 0x8E, 0xDB), (255, 255, 255)
        plain = self.picture("/add_background", {"color": "438edb"}, cut_out)
        drawn = Png(plain)
        self.assertEqual((drawn.width, drawn.height, drawn.channels, drawn.dpi), (295, 413, 3, 300))
        self.assertEqual([drawn.at(0, 0), drawn.at(294, 0), drawn.at(0, 100)], [blue] * 3)
        down = Png(self.picture("/add_background", {"color": "#438edb", "render": 1}, cut_out))
        self.assertEqual(down.at(0, 0), blue)
        self.assertLess(blue, down.at(0, 200))
        around = Png(self.picture("/add_background", {"color": "438edb", "render": 2}, cut_out))
        for corner, below in zip(around.at(0, 0), blue):
            self.assertAlmostEqual(corner, below, delta=2)
        self.assertGreater(around.at(147, 2), around.at(0, 2))
        small = self.picture("/add_background", {"kb": 20, "dpi": 350, "color": "fff"}, cut_out)
        self.assertLessEqual(len(small), 20_000)
        self.assertEqual(jpeg(small), (295, 413, 350))
        # A photograph is cut out first.
        whole = Png(self.picture("/add_background", {"color": "fff"}, self.portrait))
        self.assertEqual((whole.width, whole.height, whole.at(0, 0)), (512, 512, white))

        sheet = Png(self.picture("/generate_layout_photos", {"height": 413, "width": 295}, plain))
        self.assertEqual((sheet.width, sheet.height, sheet.dpi), (1200, 1800, 300))
        self.assertEqual(sheet.at(0, 0), white)
        self.assertGreater(sum(row.count(bytes(blue)) for row in sheet.rows), 100_000)
        printed = self.picture("/generate_layout_photos", {"height": 413, "width": 295, "kb": 150}, plain)
        self.assertLessEqual(len(printed), 150_000)
        self.assertEqual(jpeg(printed), (1200, 1800, 300))
        # The size asked for is printed, whatever the file says of its own.
        double = Png(self.picture("/generate_layout_photos", {"height": 826, "width": 590}, plain))
        self.assertLess(sum(row.count(bytes(blue)) for row in double.rows), 0.95 * 1800 * 1200)

    def test_mattings_watermarks_and_sizes_of_file(self):
        matted = Png(self.picture("/human_matting", {"dpi": 200}, self.portrait))
        self.assertEqual((matted.width, matted.height, matted.channels, matted.dpi), (512, 512, 4, 200))
        self.assertTrue(0.2 < matted.cover() < 0.8)

        grey = plain_png(300, 200, 255)
        in_query = self.picture("/watermark?text=Proof&size=30&opacity=1&angle=0&color=000000&space=10", {}, grey)
        fields = {"text": "Proof", "size": 30, "opacity": 1, "angle": 0, "color": "#000000", "space": 10}
        self.assertEqual(self.picture("/watermark", fields, grey), in_query)
        marked = Png(in_query)
        self.assertEqual((marked.width, marked.height, marked.dpi), (300, 200, 300))
        dark = sum(value == 0 for row in marked.rows for value in row) / (3 * 300 * 200)
        self.assertTrue(0.03 < dark < 0.3, dark)

        small = self.picture("/set_kb", {"kb": 30, "dpi": 300}, self.portrait)
        self.assertLessEqual(len(small), 30_000)
        self.assertEqual(jpeg(small), (512, 512, 300))

    def test_failures_say_so(self):
        text = as_text({}, self.portrait)
        for expected, target, body, kind in [
            ((400, "bad_option"), "/idphoto", *multipart({"input_image_base64": "?not base64?"})),
            ((400, "no_photo"), "/idphoto", *multipart({"input_image_base64": ""})),
            ((400, "no_photo"), "/set_kb", *multipart({"kb": 5})),
            ((400, "bad_form"), "/idphoto", multipart({})[0][:-6], multipart({})[1]),
            ((400, "bad_form"), "/idphoto", *multipart(text, self.portrait)),
            ((400, "bad_option"), "/idphoto", *multipart({"heigth": 413}, self.portrait)),
            ((400, "bad_option"), "/idphoto", *multipart({"dpi": "many"}, self.portrait)),
            ((400, "bad_option"), "/watermark", *multipart({"text": "\u6c34"}, self.portrait)),
            ((415, "not_a_picture"), "/human_matting", *multipart({}, b"no picture at all")),
            ((415, "unsupported_form"), "/idphoto", json.dumps(text), "application/json"),
            ((422, "no_face"), "/idphoto", *multipart({}, plain_png(200, 200, 90))),
            ((422, "damaged_file"), "/set_kb", *multipart({}, self.portrait[:len(self.portrait) // 2])),
            ((422, "file_size"), "/set_kb", *multipart({"kb": 1}, self.portrait)),
            ((422, "no_person"), "/human_matting", *multipart({}, plain_png(200, 200, 90))),
        ]:
            with self.subTest(expected=expected, target=target):
                status, code = self.problem(target, body, kind)
                if expected[1] == "no_person":
                    self.assertEqual(status, 422)
                else:
                    self.assertEqual((status, code), expected)
        huge = b"input_image_base64=" + b"QUFB" * 1_100_000
        self.assertEqual(self.problem("/idphoto", huge, URLENCODED)[0], 413)
        for form in FORMS:
            self.assertEqual(self.problem("/" + form, None, None, "GET")[0], 405)
            self.assertEqual(self.problem("/" + form, b"", URLENCODED)[0], 400)

    def test_many_are_served_at_once(self):
        body, kind = multipart({"hd": "false", "height": 140, "width": 100}, self.portrait)
        bad, bad_kind = multipart({}, b"\x89PNG\r\n\x1a\n" + bytes(1000))
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            good = [pool.submit(self.ask, "/idphoto", body, kind) for _ in range(6)]
            others = [pool.submit(self.ask, "/healthz", None, None, "GET") for _ in range(3)]
            torn = [pool.submit(self.ask, "/set_kb", bad, bad_kind) for _ in range(3)]
        self.assertEqual({answer.result()[0] for answer in good + others}, {200})
        self.assertEqual(len({answer.result()[2] for answer in good}), 1)
        self.assertLessEqual({answer.result()[0] for answer in torn}, {415, 422})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
