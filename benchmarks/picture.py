#!/usr/bin/env python3
"""Draws the results as bars: picture.py RESULTS.json PICTURE.svg"""

import json
import sys
from html import escape

WIDTH = 760
LEFT = 250
LINE = 20
OURS, OTHER = "#ffa828", "#8e8e93"
LONGEST = 8.0  # times as long as ours: longer bars are cut, and their number says it


def bars(work):
    """Ours, and the other tools from the fastest on; the limits are not tools."""
    tools = [tool for tool in work["tools"] if tool["kind"] != "limit"]
    return sorted(tools, key=lambda tool: (tool["kind"] != "ours", tool["seconds"]))


def text(x, y, words, **attributes):
    extra = "".join(f' {name.replace("_", "-")}="{value}"' for name, value in attributes.items())
    return f'<text x="{x}" y="{y}"{extra}>{escape(words)}</text>'


def bar(tool, y):
    room = WIDTH - LEFT - 70
    width = max(1, room * min(tool["ratio"], LONGEST) / LONGEST)
    colour = OURS if tool["kind"] == "ours" else OTHER
    return [
        text(LEFT - 8, y + 13, tool["name"], text_anchor="end"),
        f'<rect x="{LEFT}" y="{y + 2}" width="{width:.1f}" height="{LINE - 6}" rx="2" fill="{colour}"/>',
        text(round(LEFT + width + 6, 1), y + 13, f'{tool["ratio"]:.2f}'),
    ]


def draw(results):
    parts = []
    y = 34
    for work in results["works"]:
        parts.append(text(16, y + 14, work["work"], font_weight="bold"))
        y += LINE
        for tool in bars(work):
            parts += bar(tool, y)
            y += LINE
        y += 8
    head = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{y + 8}" '
        'font-family="Inter, Helvetica, Arial, sans-serif" font-size="12" fill="#13131b">',
        f'<rect width="{WIDTH}" height="{y + 8}" fill="#ffffff"/>',
        text(16, 22, f'Time over that of Vellomir, {results["cores"]} cores. Shorter is faster.', font_size="13"),
    ]
    return "\n".join([*head, *parts, "</svg>", ""])


def write(results, path):
    with open(path, "w", encoding="utf-8") as file:
        file.write(draw(results))


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as source:
        write(json.load(source), sys.argv[2])
