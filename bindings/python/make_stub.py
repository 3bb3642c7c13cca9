"""Writes the type stub of the module from what the module says of itself.

    PYTHONPATH=build/NAME/bindings/python /usr/bin/python3 bindings/python/make_stub.py \
        > bindings/python/orv/__init__.pyi

The stub is committed so that the interface can be read without a build; a test compares it.
"""

import dataclasses
import inspect
from collections.abc import Iterator

import orv

HEAD = """\
from collections.abc import Sequence
from dataclasses import dataclass
from datetime import datetime
from enum import IntEnum
from typing import Any

__version__: str
MIB: int
GIB: int
"""

ERROR_ATTRIBUTES = {
    "code": "Code | int",
    "name": "str",
    "meaning": "str",
    "detail": "str",
    "function": "str",
    "found": "list[Any]",
}


def documentation(of: object, indent: str = "    ") -> str:
    """The docstring of something, as a line or block below its head."""
    text = inspect.getdoc(of) or ""
    quoted = text if "\n" not in text else text + "\n"
    return "\n".join(indent + line if line else "" for line in f'"""{quoted}"""'.split("\n"))


def stub_of_code() -> Iterator[str]:
    yield "class Code(IntEnum):"
    yield documentation(orv.Code)
    yield ""
    for code in orv.Code:
        yield f"    {code.name} = {int(code)}"


def stub_of_error() -> Iterator[str]:
    yield "class Error(Exception):"
    yield documentation(orv.Error)
    yield ""
    for name, annotation in ERROR_ATTRIBUTES.items():
        yield f"    {name}: {annotation}"


def stub_of_record(record: type) -> Iterator[str]:
    yield "@dataclass(frozen=True, kw_only=True)"
    yield f"class {record.__name__}:"
    yield documentation(record)
    yield ""
    for field in dataclasses.fields(record):
        yield f"    {field.name}: {field.type}"


def records() -> list[type]:
    found = (value for name, value in vars(orv).items() if not name.startswith("_"))
    return [value for value in found if dataclasses.is_dataclass(value)]


def stub_of_function(name: str, parameters: list[tuple[str, str, str]], result: str) -> str:
    given = [
        f"{parameter}: {annotation}" + (f" = {fallback}" if fallback else "")
        for parameter, annotation, fallback in parameters
    ]
    words = ", ".join(["*"] + given) if given else ""
    return f"def {name}({words}) -> {result}:\n{documentation(getattr(orv, name))}\n"


def stub() -> str:
    """The whole stub, before it is formatted."""
    blocks = [HEAD]
    blocks += ["\n".join(lines) for lines in (stub_of_code(), stub_of_error())]
    blocks += ["\n".join(stub_of_record(record)) for record in records()]
    blocks += [stub_of_function(*signature) for signature in orv._signatures]
    return '"""' + (orv.__doc__ or "") + '\n"""\n\n' + "\n\n".join(blocks)


if __name__ == "__main__":
    print(stub(), end="")
