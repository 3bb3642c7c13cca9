"""The parts of the state, each a dataclass that a module declares, and their form in JSON."""

from __future__ import annotations

import dataclasses
import types
import typing
from collections.abc import Callable
from typing import Any, TypeVar

Section = TypeVar("Section")

SECTIONS: dict[str, type] = {}


def section(name: str) -> Callable[[type[Section]], type[Section]]:
    """Declares a dataclass, all of whose fields have defaults, as the part NAME of the state."""

    def register(kind: type[Section]) -> type[Section]:
        SECTIONS[name] = kind
        return kind

    return register


def decode(state: dict[str, Any]) -> dict[str, Any]:
    """Every declared section: from the state file, or new where the file has none."""
    return {name: _value(kind, state.get(name, {})) for name, kind in SECTIONS.items()}


def _value(kind: Any, value: Any) -> Any:
    origin, arguments = typing.get_origin(kind), typing.get_args(kind)
    if dataclasses.is_dataclass(kind):
        return _record(kind, value)
    if origin is list:
        return [_value(arguments[0], item) for item in value]
    if origin is dict:
        return {key: _value(arguments[1], item) for key, item in value.items()}
    if origin in (typing.Union, types.UnionType):
        inner = [argument for argument in arguments if argument is not type(None)]
        return None if value is None else _value(inner[0], value)
    return value


_HINTS: dict[Any, dict[str, Any]] = {}


def _record(kind: Any, value: dict[str, Any]) -> Any:
    if kind not in _HINTS:
        _HINTS[kind] = typing.get_type_hints(kind)
    hints = _HINTS[kind]
    return kind(
        **{name: _value(hints[name], item) for name, item in value.items() if name in hints}
    )
