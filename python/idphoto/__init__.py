"""Identification photographs from ordinary photographs.

    import idphoto
    made = idphoto.make("holiday.jpg", preset="de-passport")
    made.save("passport.jpg")

``make``, ``make_pair``, ``crop``, ``retouch``, ``inspect`` and ``check`` are calls of a ``Studio`` that the module
keeps for all threads; ``batch`` makes many photographs, ``sheet`` lays them out, ``presets`` lists documents, ``read``,
``write`` and ``encode`` are for files and arrays. What goes wrong is a ``Failure``.
"""

import functools as _functools

from . import _failures
from ._batch import batch
from ._pictures import Picture, encode, read, write
from ._studio import Studio, presets, sheet
from ._version import version as __version__


@_functools.lru_cache(maxsize=None)
def _default() -> Studio:
    return Studio()


def _shared(name):
    call = getattr(Studio, name)

    @_functools.wraps(call)
    def shared(*arguments, **options):
        return getattr(_default(), name)(*arguments, **options)

    shared.__qualname__ = name
    return shared


inspect, crop, make = _shared("inspect"), _shared("crop"), _shared("make")
make_pair, retouch, check = _shared("make_pair"), _shared("retouch"), _shared("check")

_exceptions = [kind.__name__ for kind in vars(_failures).values()
               if isinstance(kind, type) and issubclass(kind, _failures.Failure)]
for _name in _exceptions:
    globals()[_name] = getattr(_failures, _name)
    globals()[_name].__module__ = __name__
__all__ = ["Picture", "Studio", "__version__", "batch", "check", "crop", "encode", "inspect", "make", "make_pair",
           "presets", "read", "retouch", "sheet", "write", *_exceptions]
