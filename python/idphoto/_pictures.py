"""Pictures that were made, and files of pictures."""

from __future__ import annotations

import json
import os
import tempfile
from typing import Any, Callable, Dict, Optional, Tuple, TypeVar, Union

import numpy
from numpy.typing import NDArray

from . import _native
from ._failures import BadOption

PathLike = Union[str, "os.PathLike[str]"]
Array = NDArray[numpy.uint8]
Value = TypeVar("Value")
_FORMATS = {".jpg": "jpg", ".jpeg": "jpg", ".png": "png", ".tif": "tiff", ".tiff": "tiff"}


def format_of_name(path: PathLike) -> str:
    ending = os.path.splitext(os.fspath(path))[1].lower()
    if ending not in _FORMATS:
        raise BadOption(f"unknown kind of picture {ending!r}; end the name in .jpg or .png", (("option", "path"),))
    return _FORMATS[ending]


def write_whole(path: PathLike, data: bytes) -> None:
    """Puts a file in its place at once: whoever looks sees the old one or all of the new one."""
    path = os.path.abspath(os.fspath(path))
    handle, temporary = tempfile.mkstemp(prefix=".idphoto-", dir=os.path.dirname(path))
    try:
        with os.fdopen(handle, "wb") as file:
            file.write(data)
        mask = os.umask(0)
        os.umask(mask)
        os.chmod(temporary, 0o666 & ~mask)
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


class Picture:
    """A picture that was made; it shows itself in a notebook.

    What is read from it belongs to the caller: arrays may be written to, the files stay what they are.

    >>> import idphoto
    >>> picture = idphoto.make(sample, preset="schengen-visa")
    >>> picture.image.shape, picture.order, picture.format
    ((531, 413, 3), 'rgb', 'jpg')
    >>> picture.report["width"], picture.data[:2] == bytes([0xFF, 0xD8])
    (413, True)
    """

    def __init__(self, native: "_native.Finished", order: str) -> None:
        self._native = native
        self._read: Dict[str, Any] = {}
        self._files: Dict[str, Tuple[bytes, bytes, str]] = {}
        self.order = order
        #: The format of ``data``: "jpg", "png" or "tiff".
        self.format = native.format
        self._file(self.format)  # what a limit of size refuses is said by the call that made the picture

    def _file(self, format: str) -> Tuple[bytes, bytes, str]:
        if format not in self._files:
            self._files[format] = self._native.encode(format)
        return self._files[format]

    def _once(self, name: str, make: Callable[[], Value]) -> Value:
        if name not in self._read:
            self._read[name] = make()
        value: Value = self._read[name]
        return value

    def _of_file(self) -> Tuple[Array, Optional[Array]]:
        return self._once("file", lambda: _native.read_picture(self.data, self.order))

    @property
    def image(self) -> Array:
        """uint8, height x width x 3, sRGB in the order that ``order`` names, colours not multiplied by ``alpha``."""
        native = self._native
        return self._once("image", lambda: native.image(self.order) if native.has_image else self._of_file()[0])

    @property
    def alpha(self) -> Optional[Array]:
        """uint8, height x width, 255 opaque; None where there is no transparent background."""
        native = self._native
        return self._once("alpha", lambda: native.alpha() if native.has_image else self._of_file()[1])

    @property
    def before(self) -> Optional[Array]:
        """Like ``image``, without retouching and adjustment; None unless it was asked for."""
        return self._once("before", lambda: self._native.before(self.order))

    @property
    def data(self) -> bytes:
        """The file that the command writes, in ``format``."""
        return self._file(self.format)[0]

    @property
    def report(self) -> Dict[str, Any]:
        """What the command says of the file with ``--json``, as a dict, under the name that it has by default."""
        report: Dict[str, Any] = self._once("report", lambda: dict(json.loads(self._file(self.format)[2])))
        return report

    def save(self, path: PathLike) -> None:
        """Writes the command's own bytes, in the format that the name's ending asks for.

        With ``compare=True`` the comparison stands beside it, as ``NAME-compare.ENDING``. Raises BadOption for another
        ending and for one that cannot hold the picture, FileSize where a limit of size cannot be met in that format,
        OSError where the file cannot be written.

        >>> import idphoto, os, tempfile
        >>> picture = idphoto.make(sample, preset="schengen-visa")
        >>> with tempfile.TemporaryDirectory() as folder:
        ...     picture.save(os.path.join(folder, "visa.png"))
        ...     bool((idphoto.read(os.path.join(folder, "visa.png")) == picture.image).all())
        True
        """
        data, comparison, _ = self._file(format_of_name(path))
        write_whole(path, data)
        if comparison:
            stem, ending = os.path.splitext(os.fspath(path))
            write_whole(stem + "-compare" + ending, comparison)

    def _repr_png_(self) -> bytes:
        return self.data if self.format == "png" else _native.encode(self.image, "png", self.order, 0)

    def __repr__(self) -> str:
        height, width = self.image.shape[:2]
        return f"<idphoto.Picture {width} x {height} pixels, {self.format}, {len(self.data)} bytes>"


def read(photograph: Union[PathLike, bytes], *, order: str = "rgb", max_megapixels: float = 300) -> Array:
    """Reads a JPEG, PNG, WebP, HEIF or TIFF file, given by its path or its bytes.

    Returns uint8, height x width x 3, upright and in sRGB, on white where the file is transparent. ``order`` is "rgb"
    or "bgr". Raises NoFile, CannotRead, NotAPicture, DamagedFile, TooLarge (above ``max_megapixels``, up to 700),
    OutOfMemory.

    >>> import idphoto
    >>> array = idphoto.read(sample)
    >>> array.dtype, array.ndim, array.shape[2]
    (dtype('uint8'), 3, 3)
    """
    if not 0 < max_megapixels <= 700:
        raise BadOption("max_megapixels goes up to 700", (("option", "max-megapixels"),))
    source = photograph if isinstance(photograph, bytes) else os.fsdecode(photograph)
    return _native.read(source, order, max(1, int(max_megapixels * 1e6)))


def encode(array: Array, format: str, *, order: str, dpi: Optional[int] = None) -> bytes:
    """The bytes of a file that holds the array: ``format`` is "png", "jpg" (quality 95) or, with ``dpi``, "tiff".

    ``array``: uint8, height x width x 3, sRGB in the ``order`` "rgb" or "bgr". Raises TypeError and ValueError for
    other arrays, BadOption for a resolution outside of 1 to 65,535.

    >>> import idphoto, numpy
    >>> grey = numpy.full((2, 3, 3), 128, numpy.uint8)
    >>> idphoto.read(idphoto.encode(grey, "png", order="rgb")).tolist() == grey.tolist()
    True
    """
    if dpi is not None and not 1 <= dpi <= 65535:
        raise BadOption("dpi goes from 1 to 65535", (("option", "dpi"),))
    return _native.encode(array, format, order, dpi or 0)


def write(path: PathLike, array: Array, *, order: str, dpi: Optional[int] = None) -> None:
    """Writes the array to a file in the format that the name's ending asks for, whole or not at all; see ``encode``.

    >>> import idphoto, numpy, os, tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     idphoto.write(os.path.join(folder, "red.png"), numpy.uint8([[[255, 0, 0]]]), order="rgb", dpi=300)
    ...     print(idphoto.read(os.path.join(folder, "red.png"), order="bgr").tolist())
    [[[0, 0, 255]]]
    """
    write_whole(path, encode(array, format_of_name(path), order=order, dpi=dpi))
