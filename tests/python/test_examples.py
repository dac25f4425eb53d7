"""The examples of the docstrings, run, and that there is one of each call."""

import doctest
import pathlib

import idphoto
from idphoto import _batch, _failures, _pictures, _studio


def test_examples(sample):
    for module in (idphoto, _batch, _pictures, _studio):
        outcome = doctest.testmod(
            module, extraglobs={"sample": sample}, optionflags=doctest.ELLIPSIS | doctest.IGNORE_EXCEPTION_DETAIL
        )
        assert outcome.attempted > 0 and outcome.failed == 0


def test_every_call_shows_its_options_and_an_example():
    exceptions = {name for name in idphoto.__all__ if isinstance(getattr(_failures, name, None), type)}
    calls = set(idphoto.__all__) - exceptions - {"Photograph", "__version__"}
    for name in calls | {"Failure"}:
        assert ">>> " in getattr(idphoto, name).__doc__, name
    for name in exceptions:
        assert getattr(idphoto, name).__doc__, name
    assert "max_kb (int)" in idphoto.make.__doc__
    assert (pathlib.Path(idphoto.__file__).parent / "py.typed").exists()
