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
    calls = set(idphoto.__all__) - {"Photograph", "__version__"} - {kind.__name__ for kind in _failures.BY_CODE.values()}
    for name in calls - {"OptionFailure", "PhotographFailure", "FileFailure"}:
        words = getattr(idphoto, name).__doc__
        assert ">>> " in words, name
    assert "max_kb (int)" in idphoto.make.__doc__
    assert (pathlib.Path(idphoto.__file__).parent / "py.typed").exists()
