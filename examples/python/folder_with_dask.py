"""Makes the finished photographs of a folder on several processes, or on the machines of a cluster.

    python3 folder_with_dask.py holiday/ finished/ --preset de-passport
    python3 folder_with_dask.py holiday/ finished/ --preset de-passport --scheduler tcp://10.0.0.5:8786

Without a scheduler two processes on this machine do the work, on its loopback alone. The processes write the files, so
on several machines the folders have to be shared. Names and bytes are those of `idphoto batch`. Needs dask.distributed.
"""

import argparse
import json
import os
import sys
import tempfile
from typing import Any, Dict, List, Optional, Tuple

import idphoto
from dask import config
from distributed import Client, LocalCluster, as_completed

ENDINGS = (".jpg", ".jpeg", ".png", ".webp", ".heic", ".heif", ".avif", ".tif", ".tiff")


def outputs(folder: str, target: str) -> List[Tuple[str, str]]:
    """Each photograph with its output; of two that would be one, the second gets a number, as in a batch."""
    pairs: List[Tuple[str, str]] = []
    taken = set()
    for name in sorted(os.listdir(os.fsencode(folder))):
        stem, ending = os.path.splitext(os.fsdecode(name))
        if ending.lower() not in ENDINGS:
            continue
        own, number = stem, 1
        while own in taken:
            number += 1
            own = f"{stem}-{number}"
        taken.add(own)
        pairs.append((os.path.join(folder, os.fsdecode(name)), os.path.join(target, own + ".jpg")))
    return pairs


def make_one(pair: Tuple[str, str], options: Dict[str, Any]) -> Dict[str, Any]:
    """Runs in a worker, which keeps one studio for all its photographs; only words go back."""
    photograph, output = pair
    try:
        picture = idphoto.make(photograph, **options)
        picture.save(output)
    except idphoto.Failure as failure:
        return {"photograph": photograph, "status": "failed", "reason": failure.code, "message": str(failure)}
    return {"photograph": photograph, "status": "done", "output": output, "remarks": picture.report["remarks"]}


def run(client: Client, pairs: List[Tuple[str, str]], options: Dict[str, Any]) -> int:
    """Prints a line of JSON for each photograph as it is done; how many failed."""
    failed = 0
    for _, answer in as_completed(client.map(make_one, pairs, options=options, pure=False), with_results=True):
        print(json.dumps(answer), flush=True)
        failed += answer["status"] == "failed"
    return failed


def main(arguments: Optional[List[str]] = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0] if __doc__ else None)
    parser.add_argument("folder")
    parser.add_argument("target")
    parser.add_argument("--preset", required=True)
    parser.add_argument("--scheduler", help="address of a cluster's scheduler; default: two processes here")
    parser.add_argument("--workers", type=int, default=2)
    given = parser.parse_args(arguments)
    pairs = outputs(given.folder, given.target)
    os.makedirs(given.target, exist_ok=True)
    options = {"preset": given.preset}
    if given.scheduler:
        with Client(given.scheduler) as client:
            failed = run(client, pairs, options)
    else:
        # A process each, started anew and not forked; one thread each, since a photograph keeps one processor busy.
        config.set({"distributed.worker.multiprocessing-method": "spawn"})
        with tempfile.TemporaryDirectory() as scratch, LocalCluster(
            n_workers=given.workers,
            threads_per_worker=1,
            processes=True,
            host="127.0.0.1",
            dashboard_address=None,
            local_directory=scratch,
        ) as cluster, Client(cluster) as client:
            failed = run(client, pairs, options)
    print(f"{len(pairs) - failed} made, {failed} failed", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
