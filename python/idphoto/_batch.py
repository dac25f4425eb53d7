"""Many photographs at once."""

from __future__ import annotations

import os
from collections import deque
from concurrent.futures import Future, ThreadPoolExecutor
from typing import Any, Deque, Iterable, Iterator, Optional, Tuple, Union

from ._failures import Failure
from ._pictures import Picture
from ._studio import Photograph, Studio


def batch(
    photographs: Iterable[Photograph], *, jobs: Optional[int] = None, studio: Optional[Studio] = None, **options: Any
) -> Iterator[Tuple[Photograph, Union[Picture, Failure]]]:
    """Makes many photographs on ``jobs`` threads (one a processor unless said), with the options of ``make``.

    Yields each photograph with its Picture, or with the Failure that it met, in the order given; ``photographs`` may
    be endless, no more than twice as many as threads are taken ahead. Ctrl-C, and leaving the loop, end it once the
    photographs in hand are done: those that wait are never begun.

    >>> import idphoto
    >>> for photograph, made in idphoto.batch([sample, b"no picture"], jobs=2, preset="schengen-visa"):
    ...     print(type(made).__name__)
    Picture
    NotAPicture
    """
    count = jobs if jobs is not None else os.cpu_count() or 1
    if count < 1:
        raise ValueError("jobs is a number from 1")
    return _run(photographs, count, studio or Studio(), options)


def _one(studio: Studio, photograph: Photograph, options: Any) -> Union[Picture, Failure]:
    try:
        return studio.make(photograph, **options)
    except Failure as failure:
        return failure


def _run(photographs: Iterable[Photograph], jobs: int, studio: Studio, options: Any) -> Iterator[Any]:
    pool = ThreadPoolExecutor(jobs, thread_name_prefix="idphoto")
    waiting: Deque[Tuple[Photograph, "Future[Any]"]] = deque()
    try:
        for photograph in photographs:
            waiting.append((photograph, pool.submit(_one, studio, photograph, options)))
            if len(waiting) >= 2 * jobs:
                first, future = waiting.popleft()
                yield first, future.result()
        while waiting:
            first, future = waiting.popleft()
            yield first, future.result()
    finally:
        pool.shutdown(wait=True, cancel_futures=True)
