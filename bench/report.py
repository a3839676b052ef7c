#!/usr/bin/env python3
"""usage: report.py RESULTS.json PICTURE.svg

Tables and a picture of what nodetree_bench has measured: medians of the processor time as
ratios to the base of each row, and how they stand to what nodetree is meant to reach.
"""

import collections
import json
import sys

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot  # noqa: E402, after the choice of what it draws with

# Of each row the column that stands for 1, and what nodetree is meant to reach of it; "best"
# is the fastest of the other libraries.
AIMS = {
    "parse": ("floor", 1.3), "release": ("floor", 1.2), "stringify": ("floor", 1.05),
    "lookup": ("json-c", 0.6), "copy": ("floor", 1.6), "equality": ("best", 1),
    "decode": ("floor", 1.25), "encode": ("msgpack-c", 1), "JSON in pieces": ("events", 2),
    "parse and release": ("events", 2.5),
    "answer": ("best", 1), "rule": ("by hand", 3), "merge": ("jansson", 1.5),
    "diff": ("jansson", 1), "hashes": ("diff", 2), "filter": ("copy", 2.5),
}
COLUMNS = ["nodetree", "jansson", "json-c", "cJSON", "nlohmann", "msgpack-c", "libjq"]
FLOORS = ["floor", "events", "in pieces", "by hand", "with hashes", "copy", "diff"]
COLUMNS += FLOORS


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
    figure, panels = pyplot.subplots(
        len(documents), 1, squeeze=False, layout="constrained",
        figsize=(9, sum(1 + 0.3 * len(rows) for rows in documents.values())),
        height_ratios=[1 + 0.3 * len(rows) for rows in documents.values()])
    for panel, (document, rows) in zip(panels[:, 0], documents.items()):
        names = [row for row in AIMS if row in rows][::-1]
        for column in COLUMNS:
            dots = [(ratios(row, rows[row])[column], at) for at, row in enumerate(names)
                    if column in rows[row]]
            if dots:
                own = column == "nodetree"
                panel.scatter(*zip(*dots), label=column, s=60 if own else 25, zorder=3 if own else 2,
                              marker="D" if own else "|" if column in FLOORS else "o")
        for at, row in enumerate(names):
            panel.plot([AIMS[row][1]] * 2, [at - 0.35, at + 0.35], color="black", lw=1)
        panel.set(xscale="log", title=f"{document}: time as a ratio to the base of the row")
        panel.set_yticks(range(len(names)), [f"{row} / {AIMS[row][0]}" for row in names])
        panel.grid(axis="x", which="both", lw=0.3)
        panel.legend(loc="center left", bbox_to_anchor=(1, 0.5), fontsize="small")
    figure.suptitle("Less is faster; a black line is the aim of nodetree")
    figure.savefig(path)


results = read(sys.argv[1])
for name, measured in results.items():
    table(name, measured, [c for c in COLUMNS if any(c in times for times in measured.values())])
draw(results, sys.argv[2])
