"""Visits a server as a browser and a program would: its health, its page with all that the page loads, a photograph.

usage: visit.py ADDRESS PHOTO OUT
"""

import pathlib
import re
import sys
import urllib.request

ADDRESS, PHOTO, OUT = sys.argv[1:4]


def answer(path, body=None):
    with urllib.request.urlopen(ADDRESS + path.lstrip("/"), data=body, timeout=60) as response:
        return response.headers["Content-Type"], response.read()


kind, health = answer("healthz")
assert health, "no health"
kind, page = answer("")
assert kind.startswith("text/html"), kind
loaded = re.findall(r'(?:src|href)="([^":]+)"', page.decode())
assert len(loaded) >= 3, loaded
for path in loaded:
    kind, content = answer(path)
    expected = {"js": "text/javascript", "css": "text/css", "svg": "image/svg+xml"}[path.rsplit(".", 1)[1]]
    assert kind.startswith(expected) and len(content) > 100, (path, kind)
kind, made = answer("v1/make?preset=schengen-visa", pathlib.Path(PHOTO).read_bytes())
assert kind == "image/jpeg", kind
pathlib.Path(OUT).write_bytes(made)
