#!/usr/bin/env python3
"""usage: generate.py [SERVICES] > FILE

Writes a typical configuration of services, 830 bytes for each; the same every time."""

import json
import random
import sys

WORDS = ("primary backup gateway storage ingest archive metrics session timeout retry upstream cache "
         "queue worker region policy endpoint balance window journal replica tenant quota "
         "schedule").split()
choose = random.Random(20240)


def word():
    return choose.choice(WORDS)


def scalar():
    return choose.choice((
        lambda: choose.randrange(10**7) / 100, lambda: choose.random() < 0.5,
        lambda: choose.randrange(100000), lambda: choose.randrange(100000),
        lambda: f"{word()}-{word()}"))()


def options(levels):
    # Numbered, so that no name is repeated.
    return {f"{word()}_{i}": options(levels - 1) if levels and choose.random() < 0.2 else scalar()
            for i in range(choose.randrange(3, 9))}


def service():
    return {
        "description": f"the {word()} {word()} of the {word()} {word()}",
        "enabled": True,
        "port": choose.randrange(100000),
        "weight": choose.randrange(10**7) / 100,
        "addresses": [".".join(["10"] + [str(choose.randrange(256)) for _ in range(3)])
                      for _ in range(choose.randrange(1, 5))],
        "thresholds": [scalar() for _ in range(choose.randrange(5))],
        "options": options(2),
    }


count = int(sys.argv[1]) if len(sys.argv) > 1 else 1200
json.dump({"version": 3, "services": {f"{word()}-{i}": service() for i in range(count)}},
          sys.stdout, indent=2)
