#!/usr/bin/env python3
"""usage: report.py RESULTS.json PICTURE.svg

Tables and a chart of what nodetree_bench has measured: medians of the processor time as
ratios to the base of each row, and whether nodetree reaches what it is meant to.
"""

import collections
import json
import math
import sys
from xml.sax.saxutils import escape

# Of each row the column that stands for 1, what nodetree is meant to reach of it, and what is
# measured; "best" is the fastest of the other libraries.
AIMS = {
    "parse": ("floor", 1.3, "a JSON text into a tree"),
    "release": ("floor", 1.2, "all nodes of a tree"),
    "stringify": ("floor", 1.05, "a tree into a JSON text"),
    "lookup": ("json-c", 0.6, "the leaf at a path"),
    "copy": ("floor", 1.6, "a whole tree"),
    "equality": ("best", 1, "two equal trees"),
    "decode": ("floor", 1.25, "MessagePack into a tree"),
    "encode": ("msgpack-c", 1, "a tree into MessagePack"),
    "JSON in pieces": ("events", 2, "read 1500 bytes at a time"),
    "parse and release": ("events", 2.5, "a request of 250 bytes"),
    "answer": ("best", 1, "parse a request, build and write the answer"),
    "rule": ("by hand", 3, "an expression, evaluated"),
    "merge": ("jansson", 1.5, "two trees of 1 MB"),
    "diff": ("jansson", 1, "two trees that differ in a leaf"),
    "hashes": ("diff", 2, "of two trees, for the next difference"),
    "filter": ("copy", 2.5, "a tree by patterns"),
}
LIBRARIES = {"nodetree": "#1f5f8b", "jansson": "#e07b00", "json-c": "#2e9e3f", "cJSON": "#cc2f2f",
             "nlohmann": "#8a63c2", "msgpack-c": "#7d4f43", "libjq": "#c2559d"}
FLOORS = {
    "floor": "the cheapest tree of the parser's events: a zeroed record for each value, no index, no checks",
    "events": "the parser's events alone, without a tree",
    "in pieces": "the same message, 1500 bytes at a time",
    "by hand": "the rule written as code",
    "copy": "a copy of the tree by nodetree",
    "diff": "the difference by nodetree",
    "with hashes": "the difference when both trees have their hashes",
}
COLUMNS = [*LIBRARIES, *FLOORS]


def read(path):
    """The median times as {document: {row: {column: seconds}}}."""
    documents = collections.defaultdict(lambda: collections.defaultdict(dict))
    with open(path, encoding="utf-8") as file:
        for entry in json.load(file)["benchmarks"]:
            if entry.get("error_occurred"):
                sys.exit(f"{entry['name']}: {entry['error_message']}")
            if entry.get("aggregate_name", "median") == "median":
                document, row, column = entry["run_name"].removesuffix("/manual_time").split("|")
                documents[document][row][column] = entry["real_time"]
    return documents


def ratios(row, times):
    base = AIMS[row][0]
    if base == "best":
        base = min(set(times) - {"nodetree", *FLOORS}, key=times.get)
    return {column: times[column] / times[base] for column in COLUMNS if column in times}


def table(document, rows, columns):
    print(f"\n{document}\n{'':22}" + "".join(f"{column:>12}" for column in columns) + "   aim")
    for row in AIMS:
        if row in rows:
            found = ratios(row, rows[row])
            cells = (f"{found[c]:12.2f}" if c in found else f"{'-':>12}" for c in columns)
            aim = AIMS[row][1]
            verdict = "met" if found["nodetree"] <= aim else "MISSED"
            print(f"{row:22}" + "".join(cells) + f"   {aim:<5} {verdict}")


LEFT, WIDTH, ROW = 310, 560, 30  # of the labels, of the plot, of a row's height


class Chart:
    """The parts of an SVG picture, from the top down."""

    def __init__(self):
        self.parts, self.y = [], 20

    def text(self, x, y, text, style=""):
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" {style}>{escape(text)}</text>')

    def mark(self, column, x, y):
        if column == "nodetree":
            self.parts.append(f'<path d="M{x - 8:.1f} {y}l8-8l8 8l-8 8z" fill="{LIBRARIES[column]}"/>')
        elif column in LIBRARIES:
            self.parts.append(f'<circle cx="{x:.1f}" cy="{y}" r="4.5" fill="{LIBRARIES[column]}"/>')
        else:
            self.parts.append(f'<rect x="{x - 2.5:.1f}" y="{y - 9}" width="5" height="18" fill="#aab"/>')

    def legend(self):
        self.text(10, self.y, "Processor time as a ratio; less is faster", 'class="title"')
        self.y += 26
        entries = [(column, "nodetree: medians of runs in turn with all others" if column == "nodetree" else column)
                   for column in LIBRARIES]
        x = 20
        for column, words in entries:
            self.mark(column, x, self.y - 4)
            self.text(x + 12, self.y, words)
            x += 30 + 6.6 * len(words)
        for column, words in FLOORS.items():
            self.y += 20
            self.mark(column, 20, self.y - 4)
            self.text(32, self.y, f"{column}: {words}")
        self.y += 20
        self.parts.append(f'<path d="M20 {self.y - 13}v18" class="aim"/>')
        self.text(32, self.y, "black line: what nodetree is meant to reach, or less")

    def panel(self, document, rows):
        names = [row for row in AIMS if row in rows]
        found = {row: ratios(row, rows[row]) for row in names}
        values = [value for row in names for value in (*found[row].values(), AIMS[row][1])]
        low, high = (math.log10(bound) for bound in (min(values) / 1.3, max(values) * 1.3))

        def at(value):
            return LEFT + WIDTH * (math.log10(value) - low) / (high - low)

        self.y += 40
        self.text(10, self.y, document, 'class="title"')
        top, bottom = self.y + 10, self.y + 10 + ROW * len(names)
        for exponent in range(math.floor(low), math.ceil(high)):
            for digit in (1, 2, 5):
                tick = digit * 10.0 ** exponent
                if low <= math.log10(tick) <= high:
                    kind = "one" if tick == 1 else "grid"
                    self.parts.append(f'<path d="M{at(tick):.1f} {top}V{bottom}" class="{kind}"/>')
                    self.text(at(tick), bottom + 14, f"{tick:g}", 'text-anchor="middle"')
        for number, row in enumerate(names):
            base, aim, about = AIMS[row]
            y = top + ROW * number + ROW // 2
            self.text(10, y - 2, row, 'class="row"')
            unit = "the fastest other library" if base == "best" else base
            self.text(10, y + 11, f"{about}; 1 is {unit}", 'class="small"')
            for column in FLOORS:
                if column in found[row]:
                    self.mark(column, at(found[row][column]), y)
                    if column != base:
                        self.text(at(found[row][column]) + 5, y - 3, column, 'class="small"')
            self.parts.append(f'<path d="M{at(aim):.1f} {y - 13}v26" class="aim"/>')
            for column in [*LIBRARIES][::-1]:  # nodetree above all others
                if column in found[row]:
                    self.mark(column, at(found[row][column]), y)
        self.y = bottom + 20

    def save(self, path):
        height = self.y + 10
        with open(path, "w", encoding="utf-8") as file:
            file.write(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 900 {height}" width="900" '
                       f'height="{height}">\n<style>text {{ font: 12px "DejaVu Sans", sans-serif; fill: #223 }}\n'
                       ".title { font-size: 15px; font-weight: bold } .row { font-weight: bold }\n"
                       ".small { font-size: 9.5px; fill: #556 } .grid { stroke: #dde } .one { stroke: #889 }\n"
                       ".aim { stroke: #000; stroke-width: 1.5 }</style>\n"
                       '<rect width="100%" height="100%" fill="#fff"/>\n' + "\n".join(self.parts) + "\n</svg>\n")


def draw(documents, path):
    chart = Chart()
    chart.legend()
    for document, rows in documents.items():
        chart.panel(document, rows)
    chart.save(path)


if __name__ == "__main__":
    results = read(sys.argv[1])
    for name, measured in results.items():
        table(name, measured, [c for c in COLUMNS if any(c in times for times in measured.values())])
    draw(results, sys.argv[2])
