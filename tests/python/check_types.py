"""The committed stub is what the module says of itself, and what type checkers accept.

    check_types.py SOURCES
"""

import difflib
import os
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCES = Path(sys.argv[1])
STUB = SOURCES / "bindings" / "python" / "orv" / "__init__.pyi"


def run(*words: str, given: str = "", **more: str) -> str:
    """Output of a command, which must succeed."""
    environment = {**os.environ, **more}
    ended = subprocess.run(words, input=given, capture_output=True, text=True, env=environment)
    if ended.returncode != 0:
        sys.exit(f"{' '.join(words)}\n{ended.stdout}{ended.stderr}")
    return ended.stdout


def compare_with_the_module() -> None:
    made = run(sys.executable, str(SOURCES / "bindings" / "python" / "make_stub.py"))
    wanted = run("black", "-q", "--pyi", "-l", "100", "-", given=made)
    committed = STUB.read_text().splitlines()
    difference = "\n".join(difflib.unified_diff(committed, wanted.splitlines(), lineterm="", n=0))
    if difference:
        sys.exit(f"the stub does not say what the module is; run make_stub.py\n{difference}")


def check_programs(cache: str) -> None:
    """The stub itself, the tests as users of the module, and the generator."""
    programs = sorted(str(path) for path in Path(__file__).parent.rglob("*.py"))
    mypy_path = str(STUB.parents[1])
    # A checker needs nothing of the sanitizers.
    common = {"MYPYPATH": mypy_path, "LD_PRELOAD": ""}
    run("mypy", "--strict", "--cache-dir", cache, str(STUB), **common)
    run("mypy", "--strict", "--cache-dir", cache, *programs, **common)


def compare_at_run_time(place: str) -> None:
    # mypy 1.0 believes that keyword-only dataclasses could be matched by place.
    allowed = Path(place) / "allowed"
    allowed.write_text("orv\\.\\w+\\.__match_args__\n")
    run(
        "stubtest",
        "orv",
        "--allowlist",
        str(allowed),
        MYPYPATH=str(STUB.parents[1]),
        MYPY_CACHE_DIR=place,
    )


if __name__ == "__main__":
    compare_with_the_module()
    with tempfile.TemporaryDirectory() as place:
        check_programs(place)
        compare_at_run_time(place)
