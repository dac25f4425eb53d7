"""Holds the man pages and the completions of bash and zsh against what the program itself says.

usage: papers_test.py IDPHOTO SOURCE_DIR
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

IDPHOTO, SOURCE = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
HERE = pathlib.Path(__file__).resolve().parent


def run(*command, **options):
    result = subprocess.run(command, capture_output=True, text=True, timeout=60, **options)
    return result.stdout + result.stderr, result.returncode


def help_text(command):
    text, status = run(IDPHOTO, *command.split(), "--help")
    assert status == 0, text
    return text


def help_options(command):
    """Of lines such as "  -o,--output OUT REQUIRED   The file"."""
    names = re.findall(r"^  ((?:-\w,)?--[\w-]+)", help_text(command), re.MULTILINE)
    return {name for pair in names for name in pair.split(",")}


def commands():
    listed = help_text("").split("Subcommands:\n")[1].split("\n\n")[0]
    return re.findall(r"^  (\w+)", listed, re.MULTILINE)


class Papers(unittest.TestCase):
    def each_command(self):
        """The program itself, as the empty command, and its commands."""
        names = ["", *commands()]
        self.assertGreater(len(names), 5)
        for command in names:
            with self.subTest(command=command):
                yield command

    @staticmethod
    def page(command):
        return SOURCE / "docs/man" / ("-".join(["idphoto", *command.split()]) + ".1")

    def test_man_pages_explain_every_option(self):
        for command in self.each_command():
            lines = re.findall(r"^\.It (Fl .*)", self.page(command).read_text(), re.MULTILINE)
            named = {"-" + name for line in lines for name in re.findall(r"\bFl (-?[\w-]+)", line)}
            self.assertEqual(named, help_options(command))

    def test_man_pages_are_all_there_and_well_formed(self):
        pages = {path.name for path in (SOURCE / "docs/man").iterdir()}
        self.assertEqual(pages, {self.page(command).name for command in ["", *commands()]})
        main = self.page("").read_text()
        for command in commands():
            self.assertIn(f".It Cm {command}\n", main)
        if not shutil.which("mandoc"):
            self.skipTest("mandoc is not installed")
        for page in sorted(pages):
            said, status = run("mandoc", "-Tlint", "-W", "warning", SOURCE / "docs/man" / page)
            self.assertEqual((said, status), ("", 0))
            for other in re.findall(r"^\.Xr (\S+) 1", (SOURCE / "docs/man" / page).read_text(), re.MULTILINE):
                self.assertIn(other + ".1", pages)


class Completion:
    """What a shell offers; a subclass says how it is asked."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        (cls.folder / "photo-one.jpg").touch()
        (cls.folder / "photos").mkdir()
        cls.environment = {**os.environ, "PATH": f"{IDPHOTO.parent}:{os.environ['PATH']}", "HOME": folder.name}

    def shell(self, *command):
        said, status = run(*command, cwd=self.folder, env=self.environment)
        self.assertEqual(status, 0, said)
        return set(said.splitlines())

    def test_options_are_those_of_the_program(self):
        for command in ["", *commands()]:
            with self.subTest(command=command):
                self.assertEqual(self.offers(*command.split(), "-"), help_options(command))

    def test_commands_and_values(self):
        presets = {line.split()[0] for line in run(IDPHOTO, "presets")[0].splitlines()[1:-1]}
        self.assertEqual(self.offers(""), set(commands()))
        for words, expected in [
            (["make", "--preset", ""], presets),
            (["batch", "photo", "--preset", "de-"], {"de-passport", "de-driving-licence"}),
            (["presets", "schen"], {"schengen-visa"}),
            (["sheet", "--paper", "A"], {"A3", "A4", "A5", "A6", "A7"}),
            (["retouch", "--beauty", ""], {"light", "natural", "strong"}),
            (["crop", "--format", ""], {"png", "jpg"}),
            (["inspect", "--points", ""], {"key", "landmarks", "dense"}),
            (["make", "--background", "w"], {"white"}),
            (["make", "--head", ""], set()),
            (["presets", "--search", ""], set()),
            (["presets", "--country", ""], set()),
        ]:
            with self.subTest(words=words):
                self.assertEqual(self.offers(*words), expected)

    def test_files_and_folders(self):
        both, folder = {"photo-one.jpg", "photos"}, {"photos"}
        self.assertEqual(self.offers("inspect", "--json", "pho"), both)
        self.assertEqual(self.offers("make", "-o", "pho"), both)
        self.assertEqual(self.offers("batch", "-o", "pho"), folder)
        self.assertEqual(self.offers("crop", "x.jpg", "--output", "pho"), folder)

    def test_values_are_those_that_the_program_takes(self):
        """Each offered word is accepted: the program goes on to complain of the photograph, which does not exist."""
        for line, option in [
            ("make -o out.png --size 35x45mm", "--beauty"),
            ("make -o out.png --size 35x45mm", "--background"),
            ("batch -o out --size 35x45mm", "--format"),
            ("sheet -o out.png", "--paper"),
            ("crop -o out", "--format"),
            ("inspect --draw out.png", "--points"),
        ]:
            for word in self.offers(*line.split(), option, "") - {"gradient:"}:
                said, _ = run(IDPHOTO, *line.split(), option, word, "none.jpg", cwd=self.folder)
                self.assertIn("no such file", said, (line, option, word))


class BashCompletion(Completion, unittest.TestCase):
    def offers(self, *words):
        return self.shell("bash", HERE / "complete.bash", SOURCE / "completions/idphoto.bash", "idphoto", *words)

    def test_equals_sign(self):
        self.assertEqual(self.offers("make", "--beauty", "=", "l"), {"light"})
        self.assertEqual(self.offers("make", "--beauty", "="), {"light", "natural", "strong"})


@unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
class ZshCompletion(Completion, unittest.TestCase):
    def offers(self, *words):
        return self.shell("zsh", "-f", HERE / "complete.zsh", SOURCE / "completions", " ".join(["idphoto", *words]))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
