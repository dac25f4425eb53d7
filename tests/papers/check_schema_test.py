"""Holds what `idphoto check --json` prints against the schema that programs are given.

usage: check_schema_test.py IDPHOTO SCHEMA SAMPLE_PHOTO
"""

import copy
import json
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

try:
    import jsonschema
except ImportError:
    jsonschema = None

IDPHOTO, SCHEMA, SAMPLE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])


def plain_png(width, height):
    """A grey picture without any face."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = (b"\0" + b"\x80" * width) * height
    header = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


@unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
class CheckSchema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        schema = json.loads(SCHEMA.read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        cls.validator = jsonschema.Draft202012Validator(schema)
        for arguments in [
            ["make", SAMPLE, "-o", "good.jpg", "--preset", "us-passport", "--background", "white", "--force"],
            ["sheet", SAMPLE, "-o", "two.png", "--paper", "100x60mm", "--size", "35x35mm", "--copies", "2"],
        ]:
            result = cls.run_program(*arguments)
            assert result.returncode == 0, result.stderr
        (cls.folder / "grey.png").write_bytes(plain_png(600, 600))
        (cls.folder / "letter.jpg").write_text("Dear Sir or Madam,")

    @classmethod
    def run_program(cls, *arguments):
        return subprocess.run([IDPHOTO, *arguments], cwd=cls.folder, capture_output=True, text=True, timeout=120)

    def check(self, *arguments, status):
        """The objects of a run, each held against the schema."""
        result = self.run_program("check", "--json", *arguments)
        self.assertEqual(result.returncode, status, result.stdout + result.stderr)
        reports = [json.loads(line) for line in result.stdout.splitlines()]
        for report in reports:
            self.validator.validate(report)
        return reports

    def test_passed(self):
        (report,) = self.check("good.jpg", "--preset", "us-passport", status=0)
        self.assertTrue(report["passed"])
        self.assertEqual(report["document"], "us-passport")
        self.assertEqual(report["jpeg"], {"quality": 95, "exact": True})
        ids = [measure["id"] for measure in report["measures"]]
        self.assertEqual(len(ids), len(set(ids)))

    def test_failed(self):
        (report,) = self.check(SAMPLE, "--size", "35x45mm", status=1)
        self.assertFalse(report["passed"])
        self.assertIsNone(report["document"])
        states = [measure["state"] for measure in report["measures"]]
        limited = [check["passed"] for check in report["checks"] if "passed" in check]
        self.assertEqual(report["summary"], {
            "passed": states.count("passed") + limited.count(True),
            "failed": states.count("failed") + limited.count(False),
            "remarks": states.count("remark"), "not_assessed": states.count("not assessed")})

    def test_several_of_which_some_are_no_photographs(self):
        none, letter, good = self.check("none.jpg", "letter.jpg", "good.jpg", "--preset", "us-passport", status=1)
        self.assertEqual([none["error"]["code"], letter["error"]["code"]], ["no_file", "not_a_picture"])
        self.assertTrue(good["passed"])

    def test_no_face(self):
        (report,) = self.check("grey.png", "--preset", "us-passport", status=1)
        self.assertIn({"name": "faces", "value": 0, "min": 1, "max": 1, "passed": False}, report["checks"])

    def test_two_persons(self):
        (report,) = self.check("two.png", "--preset", "cn-marriage-certificate", status=1)
        persons = [measure["person"] for measure in report["measures"]]
        self.assertEqual(persons, ["left"] * (len(persons) // 2) + ["right"] * (len(persons) // 2))

    def test_child(self):
        (report,) = self.check("good.jpg", "--preset", "us-passport", "--child", status=0)
        yaw = next(measure for measure in report["measures"] if measure["id"] == "HeadPoseYaw")
        self.assertEqual((yaw["state"], yaw["limit"]), ("not assessed", None))
        self.assertIsNotNone(yaw["value"])

    def test_the_schema_refuses_what_is_wrong(self):
        (good,) = self.check("good.jpg", "--preset", "us-passport", status=0)

        def spoil(change):
            report = copy.deepcopy(good)
            change(report)
            self.assertFalse(self.validator.is_valid(report))

        spoil(lambda report: report.pop("measures"))
        spoil(lambda report: report["measures"][5].pop("limit"))
        spoil(lambda report: report["measures"][5].update(state="good"))
        spoil(lambda report: report["measures"][5].update(state="failed"))  # without a reason
        spoil(lambda report: report["checks"][0].pop("passed"))
        spoil(lambda report: report.update(error={"code": "no_file", "message": "none"}))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
