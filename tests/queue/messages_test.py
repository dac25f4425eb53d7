"""Holds the worker's reading of messages against the schema that programs are given: they refuse the same.

usage: messages_test.py PARSE_MESSAGES SCHEMA
"""

import copy
import json
import pathlib
import subprocess
import sys
import unittest

try:
    import jsonschema
except ImportError:
    jsonschema = None

PARSE, SCHEMA = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])

JOB = {"version": 1, "kind": "job", "id": "j-1", "photograph": "/in/Zoë 1.jpg", "sha256": "0a" * 32,
       "output": "/out/1.jpg", "options": {"preset": ["de-passport"], "eyes": ["50-70%", "2"], "relax": ["true"]}}
ANSWER = {"version": 1, "kind": "answer", "id": "j-1", "photograph": "https://a.example/1.jpg", "output": "/out/1.jpg",
          "status": "failed", "message": "no face", "reasons": ["no_face"], "measures": {"bytes": 12345, "eyes_mm": 0.5},
          "seconds": 0.4, "options": "idphoto --preset=de-passport"}
DEAD = {"version": 1, "kind": "dead", "id": "j-1", "tries": 3, "reason": "it was killed", "job": JOB}
WRONG = [None, True, -1, 1e30, 0.5, "", "x", "a\nb", "A", [], [None], [""], {}, {"a": 1}, {"A b": ["1"]},
         {"a": ["1", "\u007f"]}, "relative.jpg", "ftp://a/b", "0A" * 32]


def places(value, path=()):
    """Paths to all members and elements of a message."""
    items = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, below in items:
        yield (*path, key)
        yield from places(below, (*path, key))


def changed(message, path, change):
    copied = copy.deepcopy(message)
    at = copied
    for key in path[:-1]:
        at = at[key]
    change(at, path[-1])
    return copied


def variants():
    for message in (JOB, ANSWER, DEAD, {**DEAD, "job": None}):
        yield message
        yield {**message, "more": 1}
        for path in places(message):
            yield changed(message, path, lambda at, key: at.pop(key))
            for value in WRONG:
                yield changed(message, path, lambda at, key: at.__setitem__(key, value))
    yield from WRONG


def parse(lines):
    said = subprocess.run([PARSE], input="".join(line + "\n" for line in lines), capture_output=True, encoding="utf-8",
                          timeout=60, check=True).stdout.splitlines()
    assert len(said) == len(lines), said
    return said


class Messages(unittest.TestCase):
    @unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
    def test_schema_and_worker_refuse_the_same(self):
        schema = json.loads(SCHEMA.read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        validator = jsonschema.Draft202012Validator(schema)
        messages = list(variants())
        taken = 0
        for message, said in zip(messages, parse([json.dumps(message) for message in messages])):
            valid = validator.is_valid(message)
            taken += valid
            self.assertEqual(said.startswith("taken "), valid, (message, said))
            if valid:
                self.assertEqual(json.loads(said[len("taken "):]), message)
        self.assertGreater(taken, 20)
        self.assertGreater(len(messages) - taken, 500)

    def test_what_no_schema_sees(self):
        text = json.dumps(JOB)
        for line, reason in [
                (text[:-1] + ', "id": "j-2"}', "stands there twice"),
                (text.replace('"relax"', '"eyes"'), "stands there twice"),
                (text + "x", "no JSON"),
                ("", "no JSON"),
                ("[" * 4000, "no JSON"),
                ("[" * 5000, "longer than 4096 bytes"),
                (text + " " * 4096, "longer than 4096 bytes"),
                (json.dumps({**JOB, "version": 2}), "not version 1"),
                (json.dumps({**JOB, "options": {f"o-{i}": ["1"] for i in range(65)}}), "too many options")]:
            self.assertTrue(parse([line])[0].startswith("refused "), line)
            self.assertIn(reason, parse([line])[0])
        self.assertTrue(parse([text + " " * (4096 - len(text.encode()))])[0].startswith("taken "))

    def test_long_texts_are_cut(self):
        said = json.loads(parse([json.dumps({**ANSWER, "message": "ü" * 3000}, ensure_ascii=False)])[0][len("taken "):])
        self.assertEqual(said["message"], "ü" * 500)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
