"""The command line of mdadm: its mode, its options, and devices with what is done to them."""

from __future__ import annotations

from dataclasses import dataclass, field

from orvsim.tools import ToolError

_MODES = {
    "-C": "create", "--create": "create",
    "-A": "assemble", "--assemble": "assemble",
    "-S": "stop", "--stop": "stop",
    "-D": "detail", "--detail": "detail",
    "-E": "examine", "--examine": "examine",
    "-I": "incremental", "--incremental": "incremental",
    "-W": "wait", "--wait": "wait",
    "-o": "readonly", "--readonly": "readonly",
    "-w": "readwrite", "--readwrite": "readwrite",
    "-V": "version", "--version": "version",
    "--manage": "manage",
    "--zero-superblock": "zero",
    "-Q": "query", "--query": "query",
}  # fmt: skip

_ACTIONS = {
    "-a": "add", "--add": "add", "--re-add": "re-add",
    "-r": "remove", "--remove": "remove",
    "-f": "fail", "--fail": "fail", "--set-faulty": "fail",
}  # fmt: skip

_VALUES = {
    "-l": "level", "--level": "level",
    "-n": "members", "--raid-devices": "members",
    "-x": "spares", "--spare-devices": "spares",
    "-c": "chunk", "--chunk": "chunk",
    "-e": "metadata", "--metadata": "metadata",
    "-b": "bitmap", "--bitmap": "bitmap",
    "--bitmap-chunk": "bitmap_chunk",
    "-z": "size", "--size": "size",
    "-N": "name", "--name": "name",
    "-p": "layout", "--layout": "layout",
    "-u": "uuid", "--uuid": "uuid",
    "--homehost": "homehost",
}  # fmt: skip

_FLAGS = {
    "-q": "quiet", "--quiet": "quiet",
    "-v": "verbose", "--verbose": "verbose",
    "-R": "run", "--run": "run",
    "-s": "scan", "--scan": "scan",
    "--force": "force", "--assume-clean": "assume_clean", "--fg-init": "foreground",
    "--test": "test", "--brief": "brief", "--export": "export",
}  # fmt: skip


@dataclass
class Words:
    """What a command line says. A device of manage mode comes with what is done to it."""

    mode: str = ""
    values: dict[str, str] = field(default_factory=dict)
    flags: set[str] = field(default_factory=set)
    devices: list[str] = field(default_factory=list)
    actions: list[tuple[str, str]] = field(default_factory=list)

    def number(self, name: str, unusual: str) -> int:
        """The value of an option as a number."""
        text = self.values.get(name, "")
        if not text.isdigit():
            raise ToolError(f"mdadm: {unusual}: {text}", 2)
        return int(text)


def read_words(arguments: list[str]) -> Words:
    """Reads a command line as mdadm does."""
    words, action, rest = Words(), "", _spread(arguments)
    while rest:
        word = rest.pop(0)
        name, equals, value = word.partition("=") if word.startswith("--") else (word, "", "")
        if name in _VALUES:
            if not equals and not rest:
                raise ToolError(f"mdadm: option requires an argument -- '{name.lstrip('-')}'", 2)
            words.values[_VALUES[name]] = value if equals else rest.pop(0)
        elif name in _MODES and not words.mode:
            words.mode = _MODES[name]
        elif name == "-f" and words.mode not in ("manage", "") or name == "-a" and _lone(words):
            words.flags.add("force")
        elif name in _ACTIONS:
            action, words.mode = _ACTIONS[name], words.mode or "manage"
        elif name in _FLAGS:
            words.flags.add(_FLAGS[name])
        elif word.startswith("-") and word != "-":
            raise _unknown(word)
        else:
            _add_device(words, action, word)
    return words


def _lone(words: Words) -> bool:
    return words.mode in ("create", "assemble")


def _unknown(word: str) -> ToolError:
    usage = "Usage: mdadm --help\n  for help"
    if word.startswith("--"):
        return ToolError(f"mdadm: unrecognized option '{word}'\n{usage}", 2)
    return ToolError(f"mdadm: invalid option -- '{word[1]}'\n{usage}", 2)


def _add_device(words: Words, action: str, word: str) -> None:
    if action and words.devices:
        words.actions.append((action, word))
    else:
        words.devices.append(word)


def _spread(arguments: list[str]) -> list[str]:
    """ "-qf" is "-q -f", and "-l5" is "-l 5"."""
    words: list[str] = []
    for argument in arguments:
        letters = argument[1:] if argument.startswith("-") and argument[:2] != "--" else ""
        if len(letters) < 2:
            words.append(argument)
            continue
        while letters:
            words.append("-" + letters[0])
            letters = letters[1:]
            if words[-1] in _VALUES and letters:
                words.append(letters)
                break
    return words
