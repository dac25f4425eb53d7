"""Identification photographs from ordinary photographs.

    import idphoto
    made = idphoto.make("holiday.jpg", preset="de-passport")
    made.save("passport.jpg")

``make``, ``make_pair``, ``crop``, ``retouch``, ``mask``, ``background``, ``inspect``, ``check`` and their drawings are
calls of a ``Studio`` that the module keeps for all threads; ``batch`` makes many photographs, ``sheet`` lays them out,
``compress`` and ``watermark`` are for any picture, ``presets`` lists documents, ``read``, ``write`` and ``encode`` are
for files and arrays. What goes wrong is a ``Failure``.
"""

import functools as _functools
import inspect as _inspect

from . import _failures
from ._batch import batch
from ._pictures import Picture, encode, read, write
from ._studio import Photograph, Studio, compress, presets, sheet, watermark
from ._version import version as __version__


@_functools.lru_cache(maxsize=None)
def _default() -> Studio:
    return Studio()


def _shared(name):
    call = getattr(Studio, name)

    @_functools.wraps(call)
    def shared(*arguments, **options):
        return getattr(_default(), name)(*arguments, **options)

    shown = _inspect.signature(call)
    shared.__signature__ = shown.replace(parameters=list(shown.parameters.values())[1:])
    shared.__qualname__, shared.__module__ = name, __name__
    return shared


inspect, crop, make, make_pair = _shared("inspect"), _shared("crop"), _shared("make"), _shared("make_pair")
retouch, mask, background = _shared("retouch"), _shared("mask"), _shared("background")
check, draw_check, draw_faces = _shared("check"), _shared("draw_check"), _shared("draw_faces")

_exceptions = [kind.__name__ for kind in vars(_failures).values()
               if isinstance(kind, type) and issubclass(kind, _failures.Failure)]
for _name in _exceptions:
    globals()[_name] = getattr(_failures, _name)
    globals()[_name].__module__ = __name__
__all__ = ["Photograph", "Picture", "Studio", "__version__", "background", "batch", "check", "compress", "crop",
           "draw_check", "draw_faces", "encode", "inspect", "make", "make_pair", "mask", "presets", "read", "retouch",
           "sheet", "watermark", "write", *_exceptions]
