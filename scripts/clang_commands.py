"""Prints how clang++ reads each file that a configured build compiles, but for the tests.

clang_commands.py BUILD
"""

import json
import shlex
import sys
from pathlib import Path


def reading(words: list[str]) -> list[str]:
    """A compilation without its results, and without what only g++ knows."""
    kept: list[str] = ["clang++", "-fsyntax-only"]
    following = iter(words[1:])
    for word in following:
        if word in ("-o", "-include", "-MF", "-MT"):
            next(following)
        elif not word.startswith(
            ("-fsanitize", "-fno-sanitize", "-flto", "-fno-fat", "-MD", "-Winv", "-Wno-subobject")
        ):
            kept.append(word)
    return kept


def main() -> None:
    build = Path(sys.argv[1])
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        words = shlex.split(entry["command"])
        made = words[words.index("-o") + 1]
        if not made.startswith("tests/") and "cmake_pch" not in made:
            print(f"cd {shlex.quote(entry['directory'])} && {shlex.join(reading(words))}")


main()
