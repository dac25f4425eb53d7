"""What goes wrong with one photograph, one document or one output: an exception for each code."""

from __future__ import annotations

from typing import Dict, Tuple, Type, Union

Value = Union[float, str]


class Failure(Exception):
    """A photograph, an option or an output does not serve; the base of all others here.

    ``str(failure)`` is one line for people, what is wrong and what to do about it. ``code`` is a stable name for
    programs, ``fields`` are pairs of a name and a number or word, in turn; names may come more than once, once for
    each bound that was missed, say.

    >>> import idphoto
    >>> try:
    ...     idphoto.presets("de-pasport")
    ... except idphoto.Failure as failure:
    ...     print(type(failure).__name__, failure.code, failure.field("similar"))
    UnknownPreset unknown_preset de-passport, ...
    """

    code = "failure"

    def __init__(self, text: str, fields: Tuple[Tuple[str, Value], ...] = ()) -> None:
        super().__init__(text)
        self.fields = tuple(fields)

    def field(self, name: str, default: Value | None = None) -> Value | None:
        """The first value of that name, or ``default``."""
        return next((value for key, value in self.fields if key == name), default)

    def __reduce__(self) -> Tuple[Type[Failure], Tuple[str, Tuple[Tuple[str, Value], ...]]]:
        return type(self), (str(self), self.fields)


class OptionFailure(Failure, ValueError):
    """Something is asked for that cannot be, whatever the photograph."""


class PhotographFailure(Failure):
    """What the photograph shows does not serve."""


class FileFailure(Failure):
    """A file cannot be read, or is no picture."""


class BadOption(OptionFailure):
    """A value cannot be read, is out of its range or contradicts another; field ``option`` names it."""

    code = "bad_option"


class UnknownPreset(OptionFailure):
    """No document has that name; field ``similar`` holds names like it, where some are."""

    code = "unknown_preset"


class ForbiddenEdit(OptionFailure):
    """The authority takes no photograph that was changed so; field ``edit``. ``force=True`` does it all the same."""

    code = "forbidden_edit"


class NoFace(PhotographFailure):
    """No face was found."""

    code = "no_face"


class TooFewFaces(PhotographFailure):
    """One face where two are needed."""

    code = "too_few_faces"


class NoSuchFace(PhotographFailure):
    """No face has that number; field ``faces`` says how many there are."""

    code = "no_such_face"


class FacesTurned(PhotographFailure):
    """Two faces do not stand the same way up."""

    code = "faces_turned"


class NoPerson(PhotographFailure):
    """No person can be told from the background."""

    code = "no_person"


class BadMask(Failure, ValueError):
    """A mask made elsewhere does not fit the photograph."""

    code = "bad_mask"


class TooSmall(PhotographFailure):
    """A face is too small to be cut out."""

    code = "too_small"


class NoFit(PhotographFailure):
    """No rectangle meets the document's bounds; ``bound``, ``wanted_min``, ``wanted_max``, ``got`` for each missed."""

    code = "no_fit"


class Unsuitable(PhotographFailure):
    """With ``strict=True``: what shows of a person is not what documents take; field ``measure`` and its numbers."""

    code = "unsuitable"


class SheetFull(Failure):
    """The photographs do not fit on the paper."""

    code = "sheet_full"


class FileSize(Failure):
    """No file lies within the limits of size."""

    code = "file_size"


class NoFile(FileFailure, FileNotFoundError):
    """There is no such file, or it is a folder or device."""

    code = "no_file"

    # Python's own takes two arguments apart in ways of its own.
    def __str__(self) -> str:
        return str(self.args[0])


class CannotRead(FileFailure):
    """The file cannot be opened or read."""

    code = "cannot_read"


class CannotWrite(FileFailure):
    """The output cannot be written."""

    code = "cannot_write"


class NotAPicture(FileFailure):
    """The content is no picture in a known format."""

    code = "not_a_picture"


class DamagedFile(FileFailure):
    """The picture is damaged or ends too early; field ``format``."""

    code = "damaged_file"


class TooLarge(FileFailure):
    """The picture has more pixels than allowed; fields ``limit`` and ``got``."""

    code = "too_large"


class OutOfMemory(Failure, MemoryError):
    """Memory is short."""

    code = "out_of_memory"


class EngineFailure(Failure):
    """A network or library cannot be loaded or run."""

    code = "engine"


def _all_below(kind: Type[Failure]) -> Dict[str, Type[Failure]]:
    found = {} if "code" not in vars(kind) else {kind.code: kind}
    for below in kind.__subclasses__():
        found.update(_all_below(below))
    return found


BY_CODE = _all_below(Failure)


def make_failure(code: str, text: str, fields: Tuple[Tuple[str, Value], ...]) -> Failure:
    """The exception for a code; of one that is not known here, a plain Failure that has it."""
    kind = BY_CODE.get(code, Failure)
    failure = kind(text, fields)
    if failure.code != code:
        failure.code = code
    return failure
