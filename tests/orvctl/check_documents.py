#!/usr/bin/python3
"""Checks what orvctl says to programs: every JSON document of its tests against the schema, and
the metrics with promtool and a parser of OpenMetrics.

The tests run once more, with --json on every command line, and write down what they get. Every
command has to have succeeded at least once, so that no document is without a check.
"""

import json
import os
import subprocess
import sys
import tempfile
from typing import Any, Iterator, NamedTuple

import jsonschema
from prometheus_client.openmetrics import parser

PROGRAM = {"status", "report", "metrics"}


class Said(NamedTuple):
    """A command line of a test and what it came to."""

    words: list[str]
    status: int
    out: str

    def command(self, known: set[str]) -> str:
        """The command that the words begin with, such as "raid list"; empty when there is none."""
        plain = [word for word in self.words if word != "--json"]
        for length in (2, 1):
            if " ".join(plain[:length]) in known:
                return " ".join(plain[:length])
        return ""

    def is_document(self) -> bool:
        """Whether the output is one JSON document."""
        asked = "--json" in self.words and "--help" not in self.words and "-h" not in self.words
        return asked and self.words[0] != "complete"


def said_by(tests: str, wanted: str = "*") -> list[Said]:
    """Runs the tests and returns what they wrote down; they expect tables, and so many fail."""
    with tempfile.TemporaryDirectory() as folder:
        record = os.path.join(folder, "record")
        subprocess.run(
            [tests, "--gtest_brief=1", f"--gtest_filter={wanted}"],
            env={**os.environ, "ORVCTL_RECORD": record},
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            check=False,
        )
        with open(record, encoding="utf-8") as lines:
            return [Said(**json.loads(line)) for line in lines]


def completions(orvctl: str, *words: str) -> list[str]:
    """What could come after these words."""
    asked = [orvctl, "complete", *words, ""]
    return subprocess.run(asked, capture_output=True, text=True, check=True).stdout.split()


def commands_of(orvctl: str) -> set[str]:
    """Every command there is, as "noun verb"."""
    nouns = set(completions(orvctl))
    verbs = {f"{noun} {verb}" for noun in nouns - PROGRAM for verb in completions(orvctl, noun)}
    return verbs | (nouns & PROGRAM)


def complaints_about(said: list[Said], schema: dict[str, Any], known: set[str]) -> Iterator[str]:
    """What is wrong with the documents."""
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    untested = set(known)
    for each in said:
        if not each.is_document():
            continue
        document = json.loads(each.out)
        if each.status == 0 and "error" not in document:
            untested.discard(each.command(known))
        if "--columns" in each.words:  # not all properties are there
            continue
        for error in validator.iter_errors(document):
            yield f"{' '.join(each.words)}: {error.json_path}: {error.message}"
    for command in sorted(untested):
        yield f"{command}: no test succeeds with --json"


def complaints_about_metrics(said: list[Said], promtool: str) -> Iterator[str]:
    """What promtool and the parser say to every metrics output."""
    texts = {each.out for each in said if each.words == ["metrics"] and each.status == 0}
    if not texts:
        yield "no test asks for metrics"
    for text in texts:
        try:
            if not list(parser.text_string_to_metric_families(text)):
                yield "metrics: no family"
        except ValueError as error:
            yield f"metrics: no OpenMetrics: {error}"
        checked = subprocess.run(
            [promtool, "check", "metrics"], input=text, capture_output=True, text=True, check=False
        )
        if checked.returncode != 0 or checked.stderr.strip():
            yield f"metrics: promtool says: {checked.stderr}{checked.stdout}"


def self_test(schema: dict[str, Any]) -> None:
    """The schema refuses what it has to refuse."""
    validator = jsonschema.Draft202012Validator(schema)
    wrong = (
        {},
        {"format_version": 1, "disks": []},
        {"format_version": 2},
        {"format_version": 2, "disks": [{"channel": 1}]},
        {"format_version": 2, "unheard_of": []},
        {"format_version": 2, "host_name": 7},
    )
    for document in wrong:
        assert not validator.is_valid(document), document
    assert validator.is_valid({"format_version": 2, "host_name": None})


def main() -> int:
    """Prints what is wrong; succeeds when nothing is."""
    tests, change_tests, orvctl, schema_path, find_promtool = sys.argv[1:]
    promtool = subprocess.run(
        [find_promtool], stdout=subprocess.PIPE, text=True, check=True
    ).stdout.strip()
    with open(schema_path, encoding="utf-8") as file:
        schema = json.load(file)
    self_test(schema)
    # Those that look for passwords in memory take long and say nothing new.
    said = said_by(tests, "-password_lines.*") + said_by(
        change_tests, "watch.*:dry_run.makes*:*raid_create*"
    )
    known = commands_of(orvctl)
    complaints = [*complaints_about(said, schema, known), *complaints_about_metrics(said, promtool)]
    print("\n".join(sorted(set(complaints))))
    documents = sum(each.is_document() for each in said)
    print(f"{documents} documents of {len(known)} commands, {len(complaints)} complaints")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
