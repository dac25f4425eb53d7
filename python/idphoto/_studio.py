"""Everything that is made of a photograph."""

from __future__ import annotations

import json
import os
from functools import lru_cache
from typing import Any, Dict, FrozenSet, Iterable, List, Optional, Sequence, Tuple, Union

import numpy

from . import _native
from ._pictures import Picture

Photograph = Union[str, "os.PathLike[str]", bytes, numpy.ndarray, Picture]
Pairs = List[Tuple[str, str]]

# Options that the commands have for services, or for files that are not made here.
_LEFT_OUT = {
    "make": {"own-size", "pair"},
    "inspect": {"draw", "points", "format"},
    "check": {"draw"},
    "sheet": {"copies"},
}


@lru_cache(maxsize=None)
def option_names(command: str) -> FrozenSet[str]:
    """The keywords of a call: the command's options with "_" for "-"."""
    names = {name for name, _, _ in _native.options(command)} - _LEFT_OUT.get(command, set())
    return frozenset(name.replace("-", "_") for name in names)


def _text(value: Any) -> str:
    if isinstance(value, bool):
        return "true" if value else "false"
    return value if isinstance(value, str) else str(value)


def pairs(command: str, options: Dict[str, Any]) -> Pairs:
    """Keywords as names and values of the command. None is as if it were not there, a list gives each of its values."""
    result: Pairs = []
    for keyword, value in options.items():
        if keyword not in option_names(command):
            raise TypeError(f"{command}() got an unexpected keyword argument {keyword!r}")
        for one in value if isinstance(value, (list, tuple)) else [value]:
            if one is not None:
                result.append((keyword.replace("_", "-"), _text(one)))
    return result


def material(photograph: Photograph, order: Optional[str]) -> Any:
    """What the module below takes: a path as str, bytes, or an array."""
    if isinstance(photograph, Picture):
        return photograph.data
    if isinstance(photograph, (str, os.PathLike)):
        return os.fsdecode(photograph)
    if isinstance(photograph, (bytes, bytearray, memoryview)):
        return bytes(photograph)
    if isinstance(photograph, numpy.ndarray) and order is None:
        raise TypeError('say how the array\'s samples lie: order="rgb" or order="bgr"')
    return photograph


class Studio:
    """Makes identification photographs, measures them and lays them out.

    A photograph is a path, the bytes of a file (JPEG, PNG, WebP, HEIF, TIFF), a ``Picture`` that was made here, or a
    NumPy array: uint8, height x width x 3, C-contiguous, upright and in sRGB, with ``order="rgb"`` or ``order="bgr"``
    said. Its memory is read where it lies, so do not write to it meanwhile. Other arrays raise TypeError or ValueError.
    ``order`` also says how the samples of results lie; without it, "rgb".

    Options are those of the commands, with "_" for "-": ``max_kb=120`` for ``--max-kb 120``. What a command writes and
    what a call makes are the same bytes. Calls raise ``Failure``, see there.

    Any number of threads may use one Studio: it keeps as many engines as ever work at once, and lets Python go on
    while they do. The calls of the module use one Studio that they share. Start processes with "spawn" or
    "forkserver": threads do not survive a fork.

    >>> import idphoto
    >>> studio = idphoto.Studio()
    >>> len(studio.inspect(sample)["faces"])
    1
    """

    def __init__(self) -> None:
        self._native = _native.Studios()

    @property
    def engines(self) -> int:
        """How many engines were made, one for each call that ran at the same time."""
        return self._native.made

    def inspect(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Dict[str, Any]:
        """The faces of a photograph as it is, best first; there may be none.

        Returns what ``idphoto inspect --json`` prints: ``width``, ``height`` and ``faces`` with ``score`` (0 to 1),
        ``roll_degrees`` (clockwise), ``corners`` and points, in pixels of the upright photograph.

        >>> import idphoto
        >>> report = idphoto.inspect(sample)
        >>> report["faces"][0]["score"] > 0.5, len(report["faces"][0]["landmarks"])
        (True, 38)
        """
        source = material(photograph, order)
        return json.loads(self._native.inspect(source, order or "rgb", pairs("inspect", options)))

    def crop(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> List[Picture]:
        """The rough crop of every face, upright and framed, best first; at least one, else NoFace is raised.

        >>> import idphoto
        >>> [crop.format for crop in idphoto.crop(sample, ratio=0.5)]
        ['png']
        """
        order, source = order or "rgb", material(photograph, order)
        return [Picture(one, order) for one in self._native.crop(source, order, pairs("crop", options))]

    def make(self, photograph: Photograph, *, order: Optional[str] = None, mask: Any = None, **options: Any) -> Picture:
        """Makes the finished photograph of a document.

        ``mask``: of the persons, of the photograph's size: a path, a file's bytes, or uint8, height x width, 255 for
        the person. ``image`` of the result has the document's size in pixels, ``report`` its measures in millimetres,
        its ``remarks`` and what ``relax`` gave up. Raises BadOption, UnknownPreset, ForbiddenEdit, NoFace, NoSuchFace,
        NoPerson, TooSmall, NoFit, Unsuitable, BadMask, FileSize, and what ``read`` does.

        >>> import idphoto
        >>> made = idphoto.make(sample, preset="schengen-visa", max_kb=50)
        >>> made.image.shape, made.report["bytes"] == len(made.data) <= 50_000
        ((531, 413, 3), True)
        """
        given = None if mask is None else mask if isinstance(mask, numpy.ndarray) else material(mask, None)
        chosen = pairs("make", {key: value for key, value in options.items() if key != "pair"})
        if options.get("pair"):
            chosen.append(("pair", "true"))
        order, source = order or "rgb", material(photograph, order)
        return Picture(self._native.make(source, order, given, chosen), order)

    def make_pair(self, photograph: Photograph, **options: Any) -> Picture:
        """Makes the photograph of two persons: ``make`` with its options, of the bounds only the size counts.

        Raises TooFewFaces and FacesTurned besides.

        >>> import idphoto
        >>> idphoto.make_pair(sample, preset="cn-marriage-certificate")
        Traceback (most recent call last):
            ...
        idphoto.TooFewFaces: ...
        """
        return self.make(photograph, **{**options, "pair": True})

    def retouch(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
        """Retouches the faces and leaves all else as it is; without strengths as ``beauty="natural"``.

        ``image`` of the result has the photograph's size, ``before`` is the photograph itself, ``report["faces"]`` the
        number of retouched ones. Raises NoFace, NoSuchFace, BadOption.

        >>> import idphoto
        >>> idphoto.retouch(sample, skin=3, tone=2, format="png").report["faces"]
        1
        """
        order, source = order or "rgb", material(photograph, order)
        native = self._native.retouch(source, order, pairs("retouch", options))
        return Picture(native, order, {"faces": native.faces})

    def check(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Dict[str, Any]:
        """Measures a finished photograph, taken as the whole document.

        Returns what ``idphoto check --json`` prints. Of an array the file is not measured: no resolution, no size.

        >>> import idphoto
        >>> made = idphoto.make(sample, preset="schengen-visa")
        >>> idphoto.check(made, preset="schengen-visa")["document"]
        'schengen-visa'
        """
        source = material(photograph, order)
        return json.loads(self._native.check(source, order or "rgb", pairs("check", options)))


def sheet(
    photographs: Union[Photograph, Sequence[Photograph]],
    *,
    order: Optional[str] = None,
    copies: Union[None, int, Sequence[Optional[int]]] = None,
    **options: Any,
) -> Picture:
    """Lays finished photographs out on a sheet of photo paper, at their true size.

    ``photographs``: one or several. ``copies``: of each, or a list with a number for each; None for as many as there is
    room for. Arrays have no print size: say ``size="35x45mm"``. ``format`` is "jpg", "png" or "tiff". Raises SheetFull,
    BadOption.

    >>> import idphoto
    >>> made = idphoto.make(sample, preset="schengen-visa")
    >>> idphoto.sheet(made, copies=4, paper="4x6", dpi=300, format="png").image.shape
    (1200, 1800, 3)
    """
    one = isinstance(photographs, (str, os.PathLike, bytes, bytearray, memoryview, numpy.ndarray, Picture))
    several: Iterable[Any] = [photographs] if one else photographs  # type: ignore[list-item,assignment]
    sources = [material(photograph, order) for photograph in several]
    each = list(copies) if isinstance(copies, (list, tuple)) else [copies] * len(sources)
    for count in each:
        if count is not None and (not isinstance(count, int) or isinstance(count, bool) or not 1 <= count <= 10000):
            raise ValueError(f"copies are whole numbers from 1, not {count!r}")
    words = ["" if count is None else str(count) for count in each]
    native = _native.sheet(sources, order or "rgb", words, pairs("sheet", options))
    return Picture(native, order or "rgb")


def presets(name: str = "", *, search: str = "", country: str = "") -> Any:
    """The documents that photographs can be made for: one by its name as a dict, else a list of those that match.

    ``search``: words in name, title, country or authority; ``country``: a code in ISO 3166. Raises UnknownPreset.

    >>> import idphoto
    >>> idphoto.presets("de-passport")["width_px"], len(idphoto.presets(country="DE")) > 1
    (827, True)
    """
    chosen = {"name": name, "search": search, "country": country}
    return json.loads(_native.presets([(key, value) for key, value in chosen.items() if value]))
