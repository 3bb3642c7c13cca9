"""Draws the screen that a command leaves: terminal.py COMMAND FILE.svg < OUTPUT"""

import io
import sys

import pyte
from rich.console import Console
from rich.text import Text

WIDTH, HEIGHT = 110, 40


def screen_of(output: str) -> pyte.Screen:
    screen = pyte.Screen(WIDTH, HEIGHT)
    pyte.Stream(screen).feed(output)
    return screen


def style_of(cell: pyte.screens.Char) -> str:
    colour = "" if cell.fg == "default" else {"brown": "yellow"}.get(cell.fg, cell.fg)
    return " ".join(filter(None, ["bold" if cell.bold else "", colour]))


def line_of(screen: pyte.Screen, number: int) -> Text:
    """A line of the screen. A blank has the style before it, so that no run begins with one."""
    line, style = Text(), ""
    for column in range(WIDTH):
        cell = screen.buffer[number][column]
        style = style if cell.data == " " else style_of(cell)
        line.append(cell.data, style)
    line.rstrip()
    return line


def main() -> None:
    command, path = sys.argv[1:]
    screen = screen_of(sys.stdin.read())
    lines = [line_of(screen, number) for number in range(HEIGHT)]
    while lines and not lines[-1].plain:
        lines.pop()
    console = Console(record=True, width=WIDTH, file=io.StringIO(), force_terminal=True)
    for line in [Text("$ " + command, style="bold"), *lines]:
        console.print(line)
    console.save_svg(path, title=command)


main()
