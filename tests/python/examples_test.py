"""usage: examples_test.py dask|table EXAMPLES_DIR: an example program run as its users do, on a folder of its own."""

import csv
import json
import os
import pathlib
import subprocess
import sys
import tempfile


def need(*names):
    for name in names:
        try:
            __import__(name)
        except ImportError:
            print(f"skipped: Python's {name} is missing")
            sys.exit(77)


need("numpy")
import idphoto  # noqa: E402
import numpy  # noqa: E402


def fill(folder):
    """Six photographs; two that would give one name, one without a face and one that is damaged."""
    whole = idphoto.read(os.environ["QX_SAMPLE_PHOTO"])
    idphoto.write(folder / "anna.png", whole, order="rgb")
    idphoto.write(folder / "anna.jpg", numpy.ascontiguousarray(whole[:, ::-1]), order="rgb")
    idphoto.write(folder / "dark.png", whole // 3, order="rgb")
    idphoto.write(folder / "wall.png", numpy.full_like(whole, 180), order="rgb")
    (folder / "half.png").write_bytes((folder / "anna.png").read_bytes()[:30000])
    (folder / "notes.txt").write_text("no photograph")
    idphoto.write(folder / "übung.PNG", numpy.ascontiguousarray(numpy.rot90(whole)), order="rgb")


def run(program, *arguments):
    done = subprocess.run([sys.executable, program, *map(str, arguments)], stdout=subprocess.PIPE)
    assert done.returncode == 1, (done.returncode, done.stdout)  # some failed
    return done.stdout.decode()


def try_dask(examples, work):
    need("dask", "distributed")
    fill(work / "in")
    printed = run(examples / "folder_with_dask.py", work / "in", work / "mine", "--preset", "schengen-visa")
    report = [json.loads(line) for line in printed.splitlines()]
    batch = [os.environ["IDPHOTO"], "batch", work / "in", "-o", work / "theirs", "--preset", "schengen-visa"]
    subprocess.run(batch, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    mine, theirs = ({file.name: file.read_bytes() for file in (work / name).iterdir()} for name in ("mine", "theirs"))
    del theirs["report.jsonl"]
    assert mine == theirs and len(theirs) == 4, (mine.keys(), theirs.keys())
    reasons = {os.path.basename(line["photograph"]): line.get("reason") for line in report}
    assert len(report) == 6 and reasons["wall.png"] == "no_face" and reasons["half.png"] == "damaged_file", reasons


def try_table(examples, work):
    need("pandas", "matplotlib")
    fill(work / "in")
    for name in ("made.jpg", "again.jpg"):
        idphoto.make(os.environ["QX_SAMPLE_PHOTO"], preset="schengen-visa").save(work / "in" / name)
    plot = pathlib.Path(os.environ.get("KEEP_PLOT", work / "plot.png"))
    arguments = ("--preset", "schengen-visa", "--table", work / "table.csv", "--plot", plot)
    printed = run(examples / "table_of_checks.py", work / "in", *arguments)
    with open(work / "table.csv", newline="") as file:
        rows = {row["photograph"]: row for row in csv.DictReader(file)}
    assert len(rows) == 8 and rows["half.png"]["failed"] == "Damaged file", rows
    for name, row in rows.items():
        check = [os.environ["IDPHOTO"], "check", work / "in" / name, "--preset", "schengen-visa", "--json"]
        printed_by_command = json.loads(subprocess.run(check, stdout=subprocess.PIPE, stderr=subprocess.PIPE).stdout)
        assert (row["passed"] == "True") == (printed_by_command.get("passed") is True), name
    assert rows["made.jpg"]["failed"] == "Neutral expression; Lips closed", rows["made.jpg"]  # she smiles
    assert float(rows["made.jpg"]["head (mm)"]) > 30 and rows["made.jpg"]["width (px)"] == "413.0"
    counts = dict(line.rsplit(None, 1) for line in printed.splitlines())
    assert int(counts["Width"]) == 5 and int(counts["Damaged file"]) == 1, counts
    assert idphoto.read(plot).shape[1] == 960


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(os.path.join(folder, "in"))
        {"dask": try_dask, "table": try_table}[sys.argv[1]](pathlib.Path(sys.argv[2]), pathlib.Path(folder))
