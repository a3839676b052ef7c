#!/usr/bin/env python3
"""usage: report.py RESULTS.json PICTURE.svg

Tables and a chart of what nodetree_bench has measured: medians of the processor time as
ratios to the base of each row, and whether nodetree reaches what it is meant to.
"""

import collections
import json
import sys

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams["svg.fonttype"] = "none"  # keep text as text
from matplotlib import pyplot  # noqa: E402, after the choice of the backend

# For each row: the column that counts as 1, the ratio that nodetree should reach, and what
# is measured. "best" is the fastest of the other libraries.
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


def draw(documents, path):
    heights = [1 + 0.42 * len(rows) for rows in documents.values()]
    figure, panels = pyplot.subplots(len(documents), 1, squeeze=False, layout="constrained",
                                     figsize=(10, sum(heights) + 3), height_ratios=heights)
    for panel, (document, rows) in zip(panels[:, 0], documents.items()):
        names = [row for row in AIMS if row in rows][::-1]
        found = [ratios(row, rows[row]) for row in names]
        for column in COLUMNS:
            dots = [(values[column], at) for at, values in enumerate(found) if column in values]
            if dots:
                own, floor = column == "nodetree", column in FLOORS
                panel.scatter(*zip(*dots), s=70 if own else 200 if floor else 30, zorder=3 if own else 2,
                              marker="D" if own else "|" if floor else "o", label=column,
                              color=LIBRARIES.get(column) or f"C{list(FLOORS).index(column)}")
        aims = [AIMS[row][1] for row in names]
        panel.scatter(aims, range(len(names)), s=300, marker="|", color="black", label="our aim")
        panel.set(xscale="log", title=document)
        panel.set_yticks(range(len(names)), [label(row) for row in names], fontsize="small")
        panel.grid(axis="x", which="both", lw=0.3)
        panel.legend(loc="center left", bbox_to_anchor=(1, 0.5), fontsize="small")
    figure.suptitle("Processor time as a ratio, medians of runs in turn; less is faster\n\n" + "\n".join(
        f"{floor}: {about}" for floor, about in FLOORS.items()), fontsize="small")
    figure.savefig(path, metadata={"Date": None})


def label(row):
    base, _, about = AIMS[row]
    return f"{row}: {about}\n1 is {'the fastest other library' if base == 'best' else base}"


if __name__ == "__main__":
    results = read(sys.argv[1])
    for name, measured in results.items():
        table(name, measured, [c for c in COLUMNS if any(c in times for times in measured.values())])
    draw(results, sys.argv[2])
