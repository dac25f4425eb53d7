# The options of each call stand by name.
import os
from typing import Any, Dict, Iterable, Iterator, List, Optional, Sequence, Tuple, Union

import numpy

PathLike = Union[str, "os.PathLike[str]"]
Photograph = Union[PathLike, bytes, numpy.ndarray, Picture]
__version__: str

class Picture:
    order: str
    format: str
    @property
    def image(self) -> numpy.ndarray: ...
    @property
    def alpha(self) -> Optional[numpy.ndarray]: ...
    @property
    def before(self) -> Optional[numpy.ndarray]: ...
    @property
    def data(self) -> bytes: ...
    @property
    def report(self) -> Dict[str, Any]: ...
    def save(self, path: PathLike) -> None: ...
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
    def crop(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        bound: Optional[int] = ...,
        format: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        ratio: Optional[float] = ...,
        src_same: bool = ...,
    ) -> List[Picture]: ...
    def make(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        mask: Union[PathLike, bytes, numpy.ndarray, None] = ...,
        pair: bool = ...,
        background: Optional[str] = ...,
        beauty: Optional[str] = ...,
        brightness: Optional[float] = ...,
        child: bool = ...,
        compare: bool = ...,
        contrast: Optional[float] = ...,
        detail: bool = ...,
        dpi: Optional[int] = ...,
        eyes: Optional[str] = ...,
        face: Optional[float] = ...,
        face_width: Optional[str] = ...,
        force: bool = ...,
        format: Optional[str] = ...,
        head: Optional[str] = ...,
        head_to: Optional[str] = ...,
        keep_rim: bool = ...,
        max_kb: Optional[int] = ...,
        max_megapixels: Optional[int] = ...,
        min_kb: Optional[int] = ...,
        mouth: Optional[float] = ...,
        no_straighten: bool = ...,
        offset_x: Optional[float] = ...,
        offset_y: Optional[float] = ...,
        person: Optional[int] = ...,
        preset: Optional[str] = ...,
        relax: bool = ...,
        saturation: Optional[float] = ...,
        sharpness: Optional[float] = ...,
        size: Optional[str] = ...,
        skin: Optional[float] = ...,
        strict: bool = ...,
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
        mask: Union[PathLike, bytes, numpy.ndarray, None] = ...,
        background: Optional[str] = ...,
        beauty: Optional[str] = ...,
        brightness: Optional[float] = ...,
        child: bool = ...,
        compare: bool = ...,
        contrast: Optional[float] = ...,
        detail: bool = ...,
        dpi: Optional[int] = ...,
        eyes: Optional[str] = ...,
        face: Optional[float] = ...,
        face_width: Optional[str] = ...,
        force: bool = ...,
        format: Optional[str] = ...,
        head: Optional[str] = ...,
        head_to: Optional[str] = ...,
        keep_rim: bool = ...,
        max_kb: Optional[int] = ...,
        max_megapixels: Optional[int] = ...,
        min_kb: Optional[int] = ...,
        mouth: Optional[float] = ...,
        no_straighten: bool = ...,
        offset_x: Optional[float] = ...,
        offset_y: Optional[float] = ...,
        person: Optional[int] = ...,
        preset: Optional[str] = ...,
        relax: bool = ...,
        saturation: Optional[float] = ...,
        sharpness: Optional[float] = ...,
        size: Optional[str] = ...,
        skin: Optional[float] = ...,
        strict: bool = ...,
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
        compare: bool = ...,
        detail: bool = ...,
        eyes: Optional[float] = ...,
        face: Optional[float] = ...,
        format: Optional[str] = ...,
        max_megapixels: Optional[int] = ...,
        mouth: Optional[float] = ...,
        person: Optional[int] = ...,
        skin: Optional[float] = ...,
        tone: Optional[int] = ...,
    ) -> Picture: ...
    def check(
        self,
        photograph: Photograph,
        *,
        order: Optional[str] = ...,
        child: bool = ...,
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

def inspect(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
) -> Dict[str, Any]: ...
def crop(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    bound: Optional[int] = ...,
    format: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    ratio: Optional[float] = ...,
    src_same: bool = ...,
) -> List[Picture]: ...
def make(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    mask: Union[PathLike, bytes, numpy.ndarray, None] = ...,
    pair: bool = ...,
    background: Optional[str] = ...,
    beauty: Optional[str] = ...,
    brightness: Optional[float] = ...,
    child: bool = ...,
    compare: bool = ...,
    contrast: Optional[float] = ...,
    detail: bool = ...,
    dpi: Optional[int] = ...,
    eyes: Optional[str] = ...,
    face: Optional[float] = ...,
    face_width: Optional[str] = ...,
    force: bool = ...,
    format: Optional[str] = ...,
    head: Optional[str] = ...,
    head_to: Optional[str] = ...,
    keep_rim: bool = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    min_kb: Optional[int] = ...,
    mouth: Optional[float] = ...,
    no_straighten: bool = ...,
    offset_x: Optional[float] = ...,
    offset_y: Optional[float] = ...,
    person: Optional[int] = ...,
    preset: Optional[str] = ...,
    relax: bool = ...,
    saturation: Optional[float] = ...,
    sharpness: Optional[float] = ...,
    size: Optional[str] = ...,
    skin: Optional[float] = ...,
    strict: bool = ...,
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
    mask: Union[PathLike, bytes, numpy.ndarray, None] = ...,
    background: Optional[str] = ...,
    beauty: Optional[str] = ...,
    brightness: Optional[float] = ...,
    child: bool = ...,
    compare: bool = ...,
    contrast: Optional[float] = ...,
    detail: bool = ...,
    dpi: Optional[int] = ...,
    eyes: Optional[str] = ...,
    face: Optional[float] = ...,
    face_width: Optional[str] = ...,
    force: bool = ...,
    format: Optional[str] = ...,
    head: Optional[str] = ...,
    head_to: Optional[str] = ...,
    keep_rim: bool = ...,
    max_kb: Optional[int] = ...,
    max_megapixels: Optional[int] = ...,
    min_kb: Optional[int] = ...,
    mouth: Optional[float] = ...,
    no_straighten: bool = ...,
    offset_x: Optional[float] = ...,
    offset_y: Optional[float] = ...,
    person: Optional[int] = ...,
    preset: Optional[str] = ...,
    relax: bool = ...,
    saturation: Optional[float] = ...,
    sharpness: Optional[float] = ...,
    size: Optional[str] = ...,
    skin: Optional[float] = ...,
    strict: bool = ...,
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
    compare: bool = ...,
    detail: bool = ...,
    eyes: Optional[float] = ...,
    face: Optional[float] = ...,
    format: Optional[str] = ...,
    max_megapixels: Optional[int] = ...,
    mouth: Optional[float] = ...,
    person: Optional[int] = ...,
    skin: Optional[float] = ...,
    tone: Optional[int] = ...,
) -> Picture: ...
def check(
    photograph: Photograph,
    *,
    order: Optional[str] = ...,
    child: bool = ...,
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
    size_counts: bool = ...,
) -> Picture: ...
def batch(
    photographs: Iterable[Photograph], *, jobs: Optional[int] = ..., studio: Optional[Studio] = ..., **options: Any
) -> Iterator[Tuple[Photograph, Union[Picture, Failure]]]: ...
def presets(name: str = ..., *, search: str = ..., country: str = ...) -> Any: ...
def read(photograph: Union[PathLike, bytes], *, order: str = ..., max_megapixels: float = ...) -> numpy.ndarray: ...
def encode(array: numpy.ndarray, format: str, *, order: str, dpi: Optional[int] = ...) -> bytes: ...
def write(path: PathLike, array: numpy.ndarray, *, order: str, dpi: Optional[int] = ...) -> None: ...

class Failure(Exception):
    code: str
    fields: Tuple[Tuple[str, Union[float, str]], ...]
    def __init__(self, text: str, fields: Tuple[Tuple[str, Union[float, str]], ...] = ...) -> None: ...
    def field(self, name: str, default: Union[float, str, None] = ...) -> Union[float, str, None]: ...

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
