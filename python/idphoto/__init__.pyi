# The options of each call stand by name.
import os
from typing import Any, Dict, Iterable, Iterator, List, Optional, Sequence, Tuple, Union

import numpy
from numpy.typing import NDArray

_Array = NDArray[numpy.uint8]
_PathLike = Union[str, "os.PathLike[str]"]
Photograph = Union[_PathLike, bytes, _Array, Picture]
_Mask = Union[None, _PathLike, bytes, _Array, Picture]
__version__: str

class Picture:
    def __init__(self, native: Any, order: str) -> None: ...
    order: str
    format: str
    @property
    def image(self) -> _Array: ...
    @property
    def alpha(self) -> Optional[_Array]: ...
    @property
    def before(self) -> Optional[_Array]: ...
    @property
    def data(self) -> bytes: ...
    @property
    def report(self) -> Dict[str, Any]: ...
    def save(self, path: _PathLike) -> None: ...
    def _repr_png_(self) -> bytes: ...

class Studio:
    def __init__(self) -> None: ...
    @property
    def engines(self) -> int: ...
    def inspect(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
    ) -> Dict[str, Any]: ...
    def draw_faces(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        format: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        points: Optional[str] = ...,
    ) -> Picture: ...
    def crop(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        bound: Optional[int] = ...,
        format: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        ratio: Optional[float] = ...,
        src_same: Optional[bool] = ...,
    ) -> List[Picture]: ...
    def make(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        mask: _Mask = ...,
        background: Optional[str] = ...,
        beauty: Optional[str] = ...,
        brightness: Optional[float] = ...,
        child: Optional[bool] = ...,
        compare: Optional[bool] = ...,
        contrast: Optional[float] = ...,
        detail: Optional[bool] = ...,
        dpi: Optional[int] = ...,
        eyes: Optional[str] = ...,
        face: Optional[float] = ...,
        face_width: Optional[str] = ...,
        force: Optional[bool] = ...,
        format: Optional[str] = ...,
        head: Optional[str] = ...,
        head_to: Optional[str] = ...,
        keep_rim: Optional[bool] = ...,
        max_kb: Optional[int] = ...,
        max_megapixels: Optional[int] = ...,
        min_kb: Optional[int] = ...,
        mouth: Optional[float] = ...,
        no_straighten: Optional[bool] = ...,
        offset_x: Optional[float] = ...,
        offset_y: Optional[float] = ...,
        pair: Optional[bool] = ...,
        person: Optional[int] = ...,
        preset: Optional[str] = ...,
        relax: Optional[bool] = ...,
        saturation: Optional[float] = ...,
        sharpness: Optional[float] = ...,
        size: Optional[str] = ...,
        skin: Optional[float] = ...,
        strict: Optional[bool] = ...,
        temperature: Optional[float] = ...,
        tint: Optional[float] = ...,
        tone: Optional[int] = ...,
        top: Optional[str] = ...,
        turn: Optional[float] = ...,
        white_balance: Optional[str] = ...,
        zoom: Optional[float] = ...,
    ) -> Picture: ...
    def make_pair(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        mask: _Mask = ...,
        background: Optional[str] = ...,
        beauty: Optional[str] = ...,
        brightness: Optional[float] = ...,
        child: Optional[bool] = ...,
        compare: Optional[bool] = ...,
        contrast: Optional[float] = ...,
        detail: Optional[bool] = ...,
        dpi: Optional[int] = ...,
        eyes: Optional[str] = ...,
        face: Optional[float] = ...,
        face_width: Optional[str] = ...,
        force: Optional[bool] = ...,
        format: Optional[str] = ...,
        head: Optional[str] = ...,
        head_to: Optional[str] = ...,
        keep_rim: Optional[bool] = ...,
        max_kb: Optional[int] = ...,
        max_megapixels: Optional[int] = ...,
        min_kb: Optional[int] = ...,
        mouth: Optional[float] = ...,
        no_straighten: Optional[bool] = ...,
        offset_x: Optional[float] = ...,
        offset_y: Optional[float] = ...,
        person: Optional[int] = ...,
        preset: Optional[str] = ...,
        relax: Optional[bool] = ...,
        saturation: Optional[float] = ...,
        sharpness: Optional[float] = ...,
        size: Optional[str] = ...,
        skin: Optional[float] = ...,
        strict: Optional[bool] = ...,
        temperature: Optional[float] = ...,
        tint: Optional[float] = ...,
        tone: Optional[int] = ...,
        top: Optional[str] = ...,
        turn: Optional[float] = ...,
        white_balance: Optional[str] = ...,
        zoom: Optional[float] = ...,
    ) -> Picture: ...
    def retouch(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        beauty: Optional[str] = ...,
        compare: Optional[bool] = ...,
        detail: Optional[bool] = ...,
        eyes: Optional[float] = ...,
        face: Optional[float] = ...,
        format: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        mouth: Optional[float] = ...,
        person: Optional[int] = ...,
        skin: Optional[float] = ...,
        tone: Optional[int] = ...,
    ) -> Picture: ...
    def mask(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        cutout: Optional[bool] = ...,
        dpi: Optional[int] = ...,
        keep_rim: Optional[bool] = ...,
        max_megapixels: Optional[int] = ...,
        pair: Optional[bool] = ...,
        person: Optional[int] = ...,
    ) -> Picture: ...
    def background(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        background: Optional[str] = ...,
        dpi: Optional[int] = ...,
        format: Optional[str] = ...,
        keep_rim: Optional[bool] = ...,
        max_kb: Optional[int] = ...,
        max_megapixels: Optional[int] = ...,
        pair: Optional[bool] = ...,
        person: Optional[int] = ...,
    ) -> Picture: ...
    def check(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        child: Optional[bool] = ...,
        dpi: Optional[int] = ...,
        eyes: Optional[str] = ...,
        face_width: Optional[str] = ...,
        head: Optional[str] = ...,
        head_to: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        preset: Optional[str] = ...,
        size: Optional[str] = ...,
        top: Optional[str] = ...,
    ) -> Dict[str, Any]: ...
    def draw_check(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        child: Optional[bool] = ...,
        dpi: Optional[int] = ...,
        eyes: Optional[str] = ...,
        face_width: Optional[str] = ...,
        head: Optional[str] = ...,
        head_to: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        preset: Optional[str] = ...,
        size: Optional[str] = ...,
        top: Optional[str] = ...,
    ) -> Picture: ...

def inspect(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
) -> Dict[str, Any]: ...
def draw_faces(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    format: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    points: Optional[str] = ...,
) -> Picture: ...
def crop(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    bound: Optional[int] = ...,
    format: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    ratio: Optional[float] = ...,
    src_same: Optional[bool] = ...,
) -> List[Picture]: ...
def make(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    mask: _Mask = ...,
    background: Optional[str] = ...,
    beauty: Optional[str] = ...,
    brightness: Optional[float] = ...,
    child: Optional[bool] = ...,
    compare: Optional[bool] = ...,
    contrast: Optional[float] = ...,
    detail: Optional[bool] = ...,
    dpi: Optional[int] = ...,
    eyes: Optional[str] = ...,
    face: Optional[float] = ...,
    face_width: Optional[str] = ...,
    force: Optional[bool] = ...,
    format: Optional[str] = ...,
    head: Optional[str] = ...,
    head_to: Optional[str] = ...,
    keep_rim: Optional[bool] = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    min_kb: Optional[int] = ...,
    mouth: Optional[float] = ...,
    no_straighten: Optional[bool] = ...,
    offset_x: Optional[float] = ...,
    offset_y: Optional[float] = ...,
    pair: Optional[bool] = ...,
    person: Optional[int] = ...,
    preset: Optional[str] = ...,
    relax: Optional[bool] = ...,
    saturation: Optional[float] = ...,
    sharpness: Optional[float] = ...,
    size: Optional[str] = ...,
    skin: Optional[float] = ...,
    strict: Optional[bool] = ...,
    temperature: Optional[float] = ...,
    tint: Optional[float] = ...,
    tone: Optional[int] = ...,
    top: Optional[str] = ...,
    turn: Optional[float] = ...,
    white_balance: Optional[str] = ...,
    zoom: Optional[float] = ...,
) -> Picture: ...
def make_pair(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    mask: _Mask = ...,
    background: Optional[str] = ...,
    beauty: Optional[str] = ...,
    brightness: Optional[float] = ...,
    child: Optional[bool] = ...,
    compare: Optional[bool] = ...,
    contrast: Optional[float] = ...,
    detail: Optional[bool] = ...,
    dpi: Optional[int] = ...,
    eyes: Optional[str] = ...,
    face: Optional[float] = ...,
    face_width: Optional[str] = ...,
    force: Optional[bool] = ...,
    format: Optional[str] = ...,
    head: Optional[str] = ...,
    head_to: Optional[str] = ...,
    keep_rim: Optional[bool] = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    min_kb: Optional[int] = ...,
    mouth: Optional[float] = ...,
    no_straighten: Optional[bool] = ...,
    offset_x: Optional[float] = ...,
    offset_y: Optional[float] = ...,
    person: Optional[int] = ...,
    preset: Optional[str] = ...,
    relax: Optional[bool] = ...,
    saturation: Optional[float] = ...,
    sharpness: Optional[float] = ...,
    size: Optional[str] = ...,
    skin: Optional[float] = ...,
    strict: Optional[bool] = ...,
    temperature: Optional[float] = ...,
    tint: Optional[float] = ...,
    tone: Optional[int] = ...,
    top: Optional[str] = ...,
    turn: Optional[float] = ...,
    white_balance: Optional[str] = ...,
    zoom: Optional[float] = ...,
) -> Picture: ...
def retouch(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    beauty: Optional[str] = ...,
    compare: Optional[bool] = ...,
    detail: Optional[bool] = ...,
    eyes: Optional[float] = ...,
    face: Optional[float] = ...,
    format: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    mouth: Optional[float] = ...,
    person: Optional[int] = ...,
    skin: Optional[float] = ...,
    tone: Optional[int] = ...,
) -> Picture: ...
def mask(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    cutout: Optional[bool] = ...,
    dpi: Optional[int] = ...,
    keep_rim: Optional[bool] = ...,
    max_megapixels: Optional[int] = ...,
    pair: Optional[bool] = ...,
    person: Optional[int] = ...,
) -> Picture: ...
def background(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    background: Optional[str] = ...,
    dpi: Optional[int] = ...,
    format: Optional[str] = ...,
    keep_rim: Optional[bool] = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    pair: Optional[bool] = ...,
    person: Optional[int] = ...,
) -> Picture: ...
def check(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    child: Optional[bool] = ...,
    dpi: Optional[int] = ...,
    eyes: Optional[str] = ...,
    face_width: Optional[str] = ...,
    head: Optional[str] = ...,
    head_to: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    preset: Optional[str] = ...,
    size: Optional[str] = ...,
    top: Optional[str] = ...,
) -> Dict[str, Any]: ...
def draw_check(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    child: Optional[bool] = ...,
    dpi: Optional[int] = ...,
    eyes: Optional[str] = ...,
    face_width: Optional[str] = ...,
    head: Optional[str] = ...,
    head_to: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    preset: Optional[str] = ...,
    size: Optional[str] = ...,
    top: Optional[str] = ...,
) -> Picture: ...
def compress(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    dpi: Optional[int] = ...,
    format: Optional[str] = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    min_kb: Optional[int] = ...,
) -> Picture: ...
def watermark(
    photograph: Photograph,
    text: str,
    *,
    order: Optional[str] = ...,
    angle: Optional[float] = ...,
    color: Optional[str] = ...,
    dpi: Optional[int] = ...,
    format: Optional[str] = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    opacity: Optional[float] = ...,
    size: Optional[int] = ...,
    space: Optional[int] = ...,
) -> Picture: ...
def sheet(
    photographs: Union[Photograph, Sequence[Photograph]],
    *,
    order: Optional[str] = ...,
    copies: Union[None, int, Sequence[Optional[int]]] = ...,
    dpi: Optional[int] = ...,
    format: Optional[str] = ...,
    gap: Optional[str] = ...,
    margin: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    paper: Optional[str] = ...,
    size: Optional[str] = ...,
    size_counts: Optional[bool] = ...,
) -> Picture: ...
def batch(
    photographs: Iterable[Photograph], *, jobs: Optional[int] = ..., studio: Optional[Studio] = ..., **options: Any
) -> Iterator[Tuple[Photograph, Union[Picture, Failure]]]: ...
def presets(name: str = ..., *, search: str = ..., country: str = ...) -> Any: ...
def read(photograph: Union[_PathLike, bytes], *, order: str = ..., max_megapixels: float = ...) -> _Array: ...
def encode(array: _Array, format: str, *, order: str, dpi: Optional[int] = ...) -> bytes: ...
def write(path: _PathLike, array: _Array, *, order: str, dpi: Optional[int] = ...) -> None: ...

class Failure(Exception):
    code: str
    fields: Tuple[Tuple[str, Union[float, str]], ...]
    def __init__(self, text: str, fields: Tuple[Tuple[str, Union[float, str]], ...] = ...) -> None: ...
    def field(self, name: str, default: Union[None, float, str] = ...) -> Union[None, float, str]: ...

class OptionFailure(Failure, ValueError): ...
class PhotographFailure(Failure): ...
class FileFailure(Failure): ...
class BadOption(OptionFailure): ...
class UnknownPreset(OptionFailure): ...
class ForbiddenEdit(OptionFailure): ...
class NoFace(PhotographFailure): ...
class TooFewFaces(PhotographFailure): ...
class NoSuchFace(PhotographFailure): ...
class FacesTurned(PhotographFailure): ...
class NoPerson(PhotographFailure): ...
class BadMask(Failure, ValueError): ...
class TooSmall(PhotographFailure): ...
class NoFit(PhotographFailure): ...
class Unsuitable(PhotographFailure): ...
class SheetFull(Failure): ...
class FileSize(Failure): ...
class NoFile(FileFailure, FileNotFoundError): ...
class CannotRead(FileFailure): ...
class CannotWrite(FileFailure): ...
class NotAPicture(FileFailure): ...
class DamagedFile(FileFailure): ...
class TooLarge(FileFailure): ...
class OutOfMemory(Failure, MemoryError): ...
class EngineFailure(Failure): ...
