"""Checks finished photographs against their document: a table, and a picture of what failed how often.

    python3 table_of_checks.py class-3b/ --preset de-passport --table checks.csv --plot failures.png

The table has a row for each photograph: whether it passed, what failed, and each number that was measured. Needs pandas
and matplotlib.
"""

import argparse
import os
import sys
from typing import Any, Dict, List, Optional

import idphoto
import matplotlib

matplotlib.use("Agg")  # no screen
import matplotlib.pyplot as plt
import pandas

ENDINGS = (".jpg", ".jpeg", ".png", ".webp", ".heic", ".heif", ".avif", ".tif", ".tiff")


def in_words(name: str) -> str:
    return name[0].upper() + name[1:].replace("_", " ")


def row_of(photograph: str, preset: str) -> Dict[str, Any]:
    row: Dict[str, Any] = {"photograph": os.path.basename(photograph), "passed": False}
    try:
        check = idphoto.check(photograph, preset=preset)
    except idphoto.Failure as failure:
        return {**row, "failed": [in_words(failure.code)]}
    failed = [in_words(line["name"]) for line in check["checks"] if line.get("passed") is False]
    failed += [measure["title"] for measure in check["measures"] if measure["state"] == "failed"]
    numbers = {f"{line['name']} ({line['unit']})" if line.get("unit") else line["name"]: line["value"]
               for line in check["checks"]}
    return {**row, "passed": check["passed"], "failed": failed, **numbers}


def table_of(folder: str, preset: str) -> pandas.DataFrame:
    names = sorted(name for name in os.listdir(folder) if name.lower().endswith(ENDINGS))
    return pandas.DataFrame([row_of(os.path.join(folder, name), preset) for name in names])


def counted(table: pandas.DataFrame) -> pandas.Series:
    """How many photographs failed for each reason, the most frequent first."""
    return table["failed"].explode().dropna().value_counts()


def draw(reasons: pandas.Series, photographs: int, path: str) -> None:
    figure, axes = plt.subplots(figsize=(8, 1.2 + 0.34 * max(len(reasons), 1)), layout="constrained")
    bars = axes.barh(list(reasons.index), list(reasons.values), color="#b3402a")
    axes.bar_label(bars, padding=3)
    axes.margins(y=0.02)
    axes.invert_yaxis()  # the most frequent on top
    axes.set_xlim(0, photographs)
    axes.xaxis.get_major_locator().set_params(integer=True)
    axes.set_xlabel(f"photographs, of {photographs}")
    axes.set_title("Why photographs failed" if len(reasons) else "All photographs passed")
    axes.spines[["top", "right"]].set_visible(False)
    figure.savefig(path, dpi=120)
    plt.close(figure)


def main(arguments: Optional[List[str]] = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0] if __doc__ else None)
    parser.add_argument("folder")
    parser.add_argument("--preset", required=True)
    parser.add_argument("--table", help="a .csv file")
    parser.add_argument("--plot", help="a .png file")
    given = parser.parse_args(arguments)
    table = table_of(given.folder, given.preset)
    if table.empty:
        print(f"{given.folder}: no photographs", file=sys.stderr)
        return 2
    reasons = counted(table)
    print(reasons.to_string() if len(reasons) else "all passed")
    if given.table:
        table.assign(failed=table["failed"].str.join("; ")).to_csv(given.table, index=False)
    if given.plot:
        draw(reasons, len(table), given.plot)
    return 0 if bool(table["passed"].all()) else 1


if __name__ == "__main__":
    sys.exit(main())
