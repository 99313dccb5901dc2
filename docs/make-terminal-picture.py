#!/usr/bin/env python3
"""Runs a command in a terminal of its own and draws what it shows as an SVG picture.

    docs/make-terminal-picture.py PICTURE.svg PROMPT COMMAND [ARGUMENT...]

PROMPT is what the picture shows as the line that was typed.
"""
import html
import os
import pty
import re
import subprocess
import sys

CHARACTER_WIDTH, LINE_HEIGHT, MARGIN, TITLE_HEIGHT = 8.4, 19, 18, 30
STYLES = {"1": "b", "2": "d", "31": "r", "32": "g", "33": "y", "35": "m", "36": "c"}
STYLESHEET = """
text { font: 14px ui-monospace, 'DejaVu Sans Mono', Menlo, Consolas, monospace; fill: #d8dee9; white-space: pre }
.b { font-weight: bold; fill: #ffffff } .d { fill: #7b8494 } .r { fill: #f0787f } .g { fill: #8fd694 }
.y { fill: #f0c674 } .m { fill: #d6a4e8 } .c { fill: #7fd0e0 } .p { fill: #7fd0e0; font-weight: bold }
"""


def terminal_output(command):
    """What the command writes when its standard output is a terminal."""
    master, terminal = pty.openpty()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=terminal, stderr=terminal)
    os.close(terminal)
    output = b""
    try:
        while piece := os.read(master, 65536):
            output += piece
    except OSError:
        pass  # Linux reports the closed terminal so.
    if process.wait() != 0:
        sys.exit(f"{command[0]} failed:\n{output.decode()}")
    return output.decode().replace("\r\n", "\n")


def spans(line, style):
    """Splits a line at its colour sequences; gives SVG text and the style that goes on behind it."""
    drawn = ""
    for part in re.split(r"(\x1b\[[0-9;]*m)", line):
        if part.startswith("\x1b["):
            style = STYLES.get(part[2:-1], "")
        elif part:
            drawn += f'<tspan class="{style}">{html.escape(part)}</tspan>' if style else html.escape(part)
    return drawn, style


def picture(prompt, output):
    lines = output.rstrip("\n").split("\n")
    plain = [re.sub(r"\x1b\[[0-9;]*m", "", line) for line in lines]
    width = max(len(line) for line in plain + ["$ " + prompt]) * CHARACTER_WIDTH + 2 * MARGIN
    height = TITLE_HEIGHT + (len(lines) + 1) * LINE_HEIGHT + 2 * MARGIN
    rows = [f'<tspan class="p">$</tspan> <tspan class="b">{html.escape(prompt)}</tspan>']
    style = ""
    for line in lines:
        drawn, style = spans(line, style)
        rows.append(drawn)
    body = "\n".join(
        f'<text x="{MARGIN}" y="{TITLE_HEIGHT + MARGIN + index * LINE_HEIGHT:.0f}" xml:space="preserve">{row}</text>'
        for index, row in enumerate(rows) if row)
    dots = "".join(f'<circle cx="{20 + 20 * index}" cy="17" r="6" fill="{color}"/>'
                   for index, color in enumerate(("#f0787f", "#f0c674", "#8fd694")))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height:.0f}" '
            f'viewBox="0 0 {width:.0f} {height:.0f}">\n<style>{STYLESHEET}</style>\n'
            f'<rect width="100%" height="100%" rx="10" fill="#20242c"/>\n{dots}\n{body}\n</svg>\n')


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    with open(sys.argv[1], "w", encoding="utf-8") as file:
        file.write(picture(sys.argv[2], terminal_output(sys.argv[3:])))


if __name__ == "__main__":
    main()
