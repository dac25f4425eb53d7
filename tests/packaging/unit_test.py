"""Runs the server under the restrictions of its systemd unit, as far as that is possible without systemd itself: the
filters of system calls, a read-only file system, no capabilities.

usage: unit_test.py IDPHOTO UNIT PHOTO
"""

import ctypes
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.request

# Of ten; what `systemd-analyze security` gives for the unit is 0.9.
MOST_EXPOSED = 1.0

ALLOW, ERRNO = 0x7FFF0000, 0x00050000
EPERM, ENOSYS, EAFNOSUPPORT = 1, 38, 97
EQUAL, MASKED_EQUAL = 4, 7
WRITE, EXECUTE, SHM_EXECUTE, NEW_NAMESPACES = 2, 4, 0o100000, 0x7E020080
FAMILIES = {"AF_UNIX": 1, "AF_INET": 2, "AF_INET6": 10}


class Condition(ctypes.Structure):
    """That an argument of a call is `b`, or is `b` in the bits of `a`."""

    _fields_ = [("argument", ctypes.c_uint), ("operation", ctypes.c_int), ("a", ctypes.c_uint64), ("b", ctypes.c_uint64)]


class Filter:
    """A filter of system calls: actions for some, another one for the rest."""

    def __init__(self, otherwise):
        self.library = ctypes.CDLL("libseccomp.so.2")
        self.library.seccomp_init.restype = ctypes.c_void_p
        self.context = ctypes.c_void_p(self.library.seccomp_init(ctypes.c_uint32(otherwise)))

    def add(self, action, name, *conditions):
        number = self.library.seccomp_syscall_resolve_name(name.encode())
        if number < 0:  # of another processor, or newer than the library
            return
        array = (Condition * len(conditions))(*conditions)
        status = self.library.seccomp_rule_add_array(self.context, ctypes.c_uint32(action), number, len(array), array)
        assert status == 0, (name, status)

    def load(self):
        status = self.library.seccomp_load(self.context)
        assert status == 0, status


def service(unit):
    """The unit's settings, each a list of its values."""
    settings = {}
    for line in pathlib.Path(unit).read_text().splitlines():
        name, equals, value = line.partition("=")
        if equals and not line.startswith("#"):
            settings.setdefault(name, []).append(value)
    return settings


def calls_of(words):
    """Names of system calls; of a group (@...) those that systemd lists."""
    for word in words:
        if not word.startswith("@"):
            yield word
            continue
        listed = subprocess.run(["systemd-analyze", "syscall-filter", word], capture_output=True, text=True, check=True)
        lines = [line.strip() for line in listed.stdout.splitlines()[1:]]
        yield from calls_of([line for line in lines if line and not line.startswith("#")])


def allowed_calls(settings):
    allowed = set(calls_of(["@default"]))  # always allowed by systemd
    for line in settings["SystemCallFilter"]:
        if line.startswith("~"):
            allowed -= set(calls_of(line[1:].split()))
        else:
            allowed |= set(calls_of(line.split()))
    return allowed


def filters(settings):
    """What systemd makes of SystemCallFilter, RestrictAddressFamilies, MemoryDenyWriteExecute and RestrictNamespaces."""
    memory = Filter(ALLOW)
    memory.add(ERRNO | EPERM, "mmap", Condition(2, MASKED_EQUAL, WRITE | EXECUTE, WRITE | EXECUTE))
    for call in ("mprotect", "pkey_mprotect"):
        memory.add(ERRNO | EPERM, call, Condition(2, MASKED_EQUAL, EXECUTE, EXECUTE))
    memory.add(ERRNO | EPERM, "shmat", Condition(2, MASKED_EQUAL, SHM_EXECUTE, SHM_EXECUTE))
    namespaces = Filter(ALLOW)
    for bit in (1 << shift for shift in range(32) if NEW_NAMESPACES >> shift & 1):
        namespaces.add(ERRNO | EPERM, "clone", Condition(0, MASKED_EQUAL, bit, bit))
    for call in ("unshare", "setns"):
        namespaces.add(ERRNO | EPERM, call)
    namespaces.add(ERRNO | ENOSYS, "clone3")
    sockets = Filter(ALLOW)
    for family in set(range(46)) - {FAMILIES[name] for name in settings["RestrictAddressFamilies"][0].split()}:
        sockets.add(ERRNO | EAFNOSUPPORT, "socket", Condition(0, EQUAL, family, 0))
    calls = Filter(ERRNO | EPERM)
    for call in allowed_calls(settings):
        calls.add(ALLOW, call)
    return [memory, namespaces, sockets, calls]


def outer_command():
    """Starts a command with a read-only file system and without capabilities; empty where the machine forbids that."""
    own_user = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    command = ["unshare", *own_user, "--mount", "--ipc", "sh", "-c", "mount -o remount,bind,ro / && exec \"$@\"", "-",
               "setpriv", "--no-new-privs", "--bounding-set=-all", "--inh-caps=-all"]
    works = subprocess.run([*command, "true"], capture_output=True, check=False).returncode == 0
    return command if works else []


# Tells which of the restrictions hold.
PROBE = """
import ctypes, errno, mmap, os, socket, sys
def refused(act):
    try:
        act()
    except OSError as error:
        return errno.errorcode[error.errno]
    return "done"
print(refused(lambda: socket.socket(socket.AF_NETLINK)),
      refused(lambda: mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC)),
      refused(lambda: os.chown(sys.argv[1], 0, 0)),
      refused(lambda: open(os.path.join(sys.argv[1], "new"), "w")))
"""


def start_within(unit, command):
    """Becomes the command, under the unit's filters."""
    made = filters(service(unit))
    for each in made:
        each.load()
    os.execvp(command[0], command)


class Unit(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.outer = outer_command()
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)

    def start(self, *command):
        # The outer command needs calls that the filters forbid, so these are loaded by the program that it starts.
        within = [sys.executable, __file__, "--within", UNIT, *command]
        return subprocess.Popen([*self.outer, *within], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def test_exposure(self):
        said = subprocess.run(["systemd-analyze", "security", "--no-pager", "--offline=true",
                               f"--threshold={round(MOST_EXPOSED * 10)}", UNIT], capture_output=True, text=True, check=False)
        self.assertEqual(said.returncode, 0, said.stdout + said.stderr)

    def test_restrictions_hold(self):
        out, errors = self.start(sys.executable, "-c", PROBE, self.folder).communicate(timeout=60)
        written = "EROFS" if self.outer else "done"
        self.assertEqual(out.split(), ["EAFNOSUPPORT", "EPERM", "EPERM", written], errors)

    def test_the_server_works_and_ends(self):
        program, *arguments = service(UNIT)["ExecStart"][0].split()
        self.assertEqual((program, arguments[-2:]), ("idphoto", ["--listen", "127.0.0.1:8080"]))
        server = self.start(IDPHOTO, *arguments[:-1], "127.0.0.1:0", "--host", "photos.example")
        # As a server in front hands on what a visitor's page has sent.
        visitor = {"Host": "photos.example", "Origin": "https://photos.example"}
        try:
            address = server.stdout.readline().strip()
            if not address:
                self.fail(server.stderr.read())

            def answer(path, body=None):
                request = urllib.request.Request(address + path, data=body, headers=visitor)
                with urllib.request.urlopen(request, timeout=60) as response:
                    return response.read()

            self.assertIn(b"<html", answer(""))
            self.assertIn(b"schengen-visa", answer("v1/presets"))
            made = answer("v1/make?preset=schengen-visa", pathlib.Path(PHOTO).read_bytes())
        finally:
            server.terminate()
            _, said = server.communicate(timeout=30)
        self.assertEqual(server.returncode, 0, said)
        expected = self.folder / "made.jpg"
        subprocess.run([IDPHOTO, "make", PHOTO, "-o", expected, "--preset", "schengen-visa"], check=True, capture_output=True)
        self.assertEqual(made, expected.read_bytes())


if __name__ == "__main__":
    if sys.argv[1] == "--within":
        start_within(sys.argv[2], sys.argv[3:])
    IDPHOTO, UNIT, PHOTO = sys.argv[1:4]
    if not shutil.which("systemd-analyze"):
        print("skipped: systemd-analyze is missing")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
