"""Keywords of calls: the options of the commands."""

from __future__ import annotations

import inspect
from functools import lru_cache
from typing import Any, Callable, Dict, FrozenSet, List, Tuple, TypeVar

from . import _native

Pairs = List[Tuple[str, str]]
Call = TypeVar("Call", bound=Callable[..., Any])

# Options that the commands have for services, or for files that are not made here.
_LEFT_OUT = {
    "make": {"own-size", "pair"},
    "inspect": {"draw", "points", "format"},
    "check": {"draw"},
    "mask": {"both"},
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


def takes_options(command: str, *more: str) -> Callable[[Call], Call]:
    """Shows the options of the command, and ``more`` of it, where a call's help and signature are looked at."""
    names = option_names(command) | set(more)
    facts = [(name.replace("-", "_"), kind, text) for name, kind, text in _native.options(command)]
    facts = sorted(fact for fact in facts if fact[0] in names)
    lines = [f"    {name} ({kind}): {text}" for name, kind, text in facts]

    def show(call: Call) -> Call:
        plain = inspect.signature(call)
        kept = {name: one for name, one in plain.parameters.items() if one.kind is not inspect.Parameter.VAR_KEYWORD}
        for name, _, _ in facts:
            kept.setdefault(name, inspect.Parameter(name, inspect.Parameter.KEYWORD_ONLY, default=None))
        call.__signature__ = plain.replace(parameters=list(kept.values()))  # type: ignore[attr-defined]
        call.__doc__ = (inspect.getdoc(call) or "") + "\n\nOptions:\n" + "\n".join(lines)
        return call

    return show
