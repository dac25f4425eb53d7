"""Everything that is made of a photograph."""

from __future__ import annotations

import json
import os
from typing import Any, Dict, Iterable, List, Optional, Sequence, Union

import numpy

from . import _native
from ._options import pairs, takes_options
from ._pictures import Array, PathLike, Picture

Photograph = Union[PathLike, bytes, Array, Picture]


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
    what a call makes are the same bytes. Calls raise ``Failure``, see there, and RuntimeError in a process that was
    forked from one that had called before.

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
        """How many engines were made, one for each call that ran at the same time.

        >>> import idphoto
        >>> idphoto.Studio().engines
        0
        """
        return self._native.made

    def _picture(self, command: str, call: Any, photograph: Any, order: Optional[str], options: Any) -> Picture:
        source = material(photograph, order)
        return Picture(call(source, order or "rgb", pairs(command, options)), order or "rgb")

    @takes_options("inspect")
    def inspect(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Dict[str, Any]:
        """The faces of a photograph as it is, best first; there may be none.

        Returns what ``idphoto inspect --json`` prints: ``width``, ``height`` and ``faces`` with ``score`` (0 to 1),
        ``roll_degrees`` (clockwise), ``corners`` and points, in pixels of the upright photograph. Raises what ``read``
        does.

        >>> import idphoto
        >>> report = idphoto.inspect(sample)
        >>> report["faces"][0]["score"] > 0.5, len(report["faces"][0]["landmarks"])
        (True, 38)
        """
        source = material(photograph, order)
        report: Dict[str, Any] = json.loads(self._native.inspect(source, order or "rgb", pairs("inspect", options)))
        return report

    @takes_options("inspect", "points", "format")
    def draw_faces(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
        """The photograph with boxes and numbered points, as ``idphoto inspect --draw`` writes it.

        ``image`` has the photograph's size or, where faces are small, a whole multiple of it; ``report`` is what
        ``inspect`` returns. Raises what ``read`` does.

        >>> import idphoto
        >>> idphoto.draw_faces(sample, points="key").report["width"]
        512
        """
        chosen = [("draw", "true")]
        for keyword in ("points", "format"):
            value = options.pop(keyword, None)
            if value is not None:
                chosen.append((keyword, str(value)))
        source = material(photograph, order)
        native = self._native.draw_faces(source, order or "rgb", chosen + pairs("inspect", options))
        return Picture(native, order or "rgb")

    @takes_options("crop")
    def crop(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> List[Picture]:
        """The rough crop of every face, upright and framed, best first; at least one, else NoFace is raised.

        ``image`` of each is at most ``bound`` pixels wide. Raises TooSmall, BadOption and what ``read`` does too.

        >>> import idphoto
        >>> [crop.format for crop in idphoto.crop(sample, ratio=0.5)]
        ['png']
        """
        order, source = order or "rgb", material(photograph, order)
        return [Picture(one, order) for one in self._native.crop(source, order, pairs("crop", options))]

    @takes_options("make", "pair")
    def make(self, photograph: Photograph, *, order: Optional[str] = None, mask: Any = None, **options: Any) -> Picture:
        """Makes the finished photograph of a document.

        ``mask``: of the persons, of the photograph's size: a path, a file's bytes, a ``Picture`` that ``mask`` made, or
        uint8, height x width, 255 for the person. ``image`` of the result has the document's size in pixels, ``report``
        its measures in millimetres, its ``remarks`` and what ``relax`` gave up. Raises BadOption, UnknownPreset,
        ForbiddenEdit, NoFace, NoSuchFace, NoPerson, TooSmall, NoFit, Unsuitable, BadMask, FileSize, and what ``read``
        does.

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

    @takes_options("make")
    def make_pair(
        self, photograph: Photograph, *, order: Optional[str] = None, mask: Any = None, **options: Any
    ) -> Picture:
        """Makes the photograph of two persons: ``make`` with its options, of the bounds only the size counts.

        Raises TooFewFaces and FacesTurned besides.

        >>> import idphoto
        >>> idphoto.make_pair(sample, preset="cn-marriage-certificate")
        Traceback (most recent call last):
            ...
        idphoto.TooFewFaces: ...
        """
        return self.make(photograph, order=order, mask=mask, **{**options, "pair": True})

    @takes_options("retouch")
    def retouch(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
        """Retouches the faces and leaves all else as it is; without strengths as ``beauty="natural"``.

        ``image`` of the result has the photograph's size, ``before`` is the photograph itself, ``report["faces"]`` the
        number of retouched ones. Raises NoFace, NoSuchFace, BadOption, and what ``read`` does.

        >>> import idphoto
        >>> idphoto.retouch(sample, skin=3, tone=2, format="png").report["faces"]
        1
        """
        return self._picture("retouch", self._native.retouch, photograph, order, options)

    @takes_options("mask")
    def mask(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
        """Takes the person out of a photograph, at its full size.

        ``alpha`` of the result is the mask: uint8, height x width of the photograph, 255 for the person; ``make`` takes
        it. ``image`` is the mask as a grey picture or, with ``cutout=True``, the person's own colours, not multiplied
        by it; the file is a PNG of the same. Raises NoFace, NoSuchFace, TooFewFaces, NoPerson, and what ``read`` does.

        >>> import idphoto
        >>> found = idphoto.mask(sample)
        >>> found.alpha.shape, int(found.alpha[0, 0]), int(found.alpha.max())
        ((512, 512), 0, 255)
        """
        return self._picture("mask", self._native.mask, photograph, order, options)

    @takes_options("background")
    def background(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
        """Puts another ``background`` behind the persons of a whole photograph, or behind a transparent picture.

        ``image`` is what the file shows, ``alpha`` its opacity with ``background="transparent"``. Raises BadOption,
        NoFace, NoPerson, FileSize, and what ``read`` does.

        >>> import idphoto
        >>> idphoto.background(sample, background="#ff0000", format="png").image[0, 0].tolist()
        [255, 0, 0]
        """
        return self._picture("background", self._native.background, photograph, order, options)

    @takes_options("check")
    def check(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Dict[str, Any]:
        """Measures a finished photograph, taken as the whole document.

        Returns what ``idphoto check --json`` prints: ``passed``, and as ``checks`` of the document and ``measures`` of
        the face each value with its unit and limits. Of an array the file is not measured: no resolution, no size.
        Raises UnknownPreset, BadOption, and what ``read`` does; a photograph without a face has not passed.

        >>> import idphoto
        >>> made = idphoto.make(sample, preset="schengen-visa")
        >>> idphoto.check(made, preset="schengen-visa")["document"]
        'schengen-visa'
        """
        source = material(photograph, order)
        report: Dict[str, Any] = json.loads(self._native.check(source, order or "rgb", pairs("check", options)))
        return report

    @takes_options("check")
    def draw_check(self, photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
        """A finished photograph with its measures drawn over it, as ``idphoto check --draw`` writes it.

        ``report`` of the result is what ``check`` returns; raises what that does.

        >>> import idphoto
        >>> made = idphoto.make(sample, preset="schengen-visa")
        >>> drawn = idphoto.draw_check(made, preset="schengen-visa")
        >>> drawn.format, drawn.report == idphoto.check(made, preset="schengen-visa")
        ('png', True)
        """
        return self._picture("check", self._native.draw_check, photograph, order, options)


@takes_options("compress")
def compress(photograph: Photograph, *, order: Optional[str] = None, **options: Any) -> Picture:
    """Brings a picture to a size of file and a resolution; a JPEG file within the limits keeps its pixels to the bit.

    ``image`` is what the file shows; sizes are in kB of 1000 bytes. Raises FileSize, BadOption, and what ``read`` does.

    >>> import idphoto
    >>> len(idphoto.compress(sample, max_kb=40).data) <= 40_000
    True
    """
    source = material(photograph, order)
    return Picture(_native.compress(source, order or "rgb", pairs("compress", options)), order or "rgb")


@takes_options("watermark")
def watermark(photograph: Photograph, text: str, *, order: Optional[str] = None, **options: Any) -> Picture:
    """Writes ``text`` all over a picture, turned and half transparent.

    ``image`` is what the file shows. Raises BadOption, FileSize, and what ``read`` does.

    >>> import idphoto
    >>> marked = idphoto.watermark(sample, "for the visa office", angle=45, format="png")
    >>> marked.report["width"], bool((marked.image != idphoto.read(sample)).any())
    (512, True)
    """
    source = material(photograph, order)
    chosen = pairs("watermark", {"text": text, **options})
    return Picture(_native.watermark(source, order or "rgb", chosen), order or "rgb")


@takes_options("sheet")
def sheet(
    photographs: Union[Photograph, Sequence[Photograph]],
    *,
    order: Optional[str] = None,
    copies: Union[None, int, Sequence[Optional[int]]] = None,
    **options: Any,
) -> Picture:
    """Lays finished photographs out on a sheet of photo paper, at their true size.

    ``photographs``: one or several. ``copies``: of each, or a list with a number for each; None for as many as there is
    room for. Arrays have no print size: say ``size="35x45mm"``. ``image`` has the paper's size at the resolution,
    ``format`` is "jpg", "png" or "tiff". Raises SheetFull, BadOption, and what ``read`` does.

    >>> import idphoto
    >>> made = idphoto.make(sample, preset="schengen-visa")
    >>> idphoto.sheet(made, copies=4, paper="4x6", dpi=300, format="png").image.shape
    (1800, 1200, 3)
    """
    one = isinstance(photographs, (str, os.PathLike, bytes, bytearray, memoryview, numpy.ndarray, Picture))
    several: Iterable[Any] = [photographs] if one else photographs  # type: ignore[assignment]
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

    ``search``: words in name, title, country or authority; ``country``: a code in ISO 3166. Sizes are in pixels and
    millimetres, as their names say. Raises UnknownPreset.

    >>> import idphoto
    >>> idphoto.presets("de-passport")["width_px"], len(idphoto.presets(country="DE")) > 1
    (827, True)
    """
    chosen = {"name": name, "search": search, "country": country}
    return json.loads(_native.presets([(key, value) for key, value in chosen.items() if value]))
