# SPDX-License-Identifier: MIT
"""The limits of instructions and allocations per operation, which are committed beside this folder."""

import json
from pathlib import Path

PATH = Path(__file__).parent.parent / "limits.json"

ADVICE = """\
More work than {path} allows. If the change is not meant to cost this, make it cheaper; callgrind's files in {folder}
show where the work is (callgrind_annotate). If it is meant, or the compiler, Qt or cJSON have changed, write the new
limits with "scripts/benchmark --gate --update" and commit the file, with the reason."""


def load():
    return json.loads(PATH.read_text(encoding="utf-8"))


def violations(counts, limits):
    """A line for each count that is above its limit, or that has none."""
    margin = 1 + limits["margin"]
    lines = [f"{name}: there is a limit, but nothing was measured" for name in limits["operations"]
             if name not in counts]
    for name, figures in counts.items():
        limit = limits["operations"].get(name)
        if limit is None:
            lines.append(f"{name}: no limit")
            continue
        lines += [f"{name}: {figures[what]:.1f} {what}, allowed are {limit[what]:.1f} and {limits['margin']:.0%}"
                  for what in limit if figures[what] > limit[what] * margin]
    return lines


def of_the_library(counts):
    """What is limited: not the other contestants, and no instructions of less than a handful."""
    return {name: figures for name, figures in counts.items() if not name.endswith("raw Qt")}


def update(counts):
    limits = load() if PATH.exists() else {"margin": 0.03}
    limits["operations"] = {name: {what: round(value, 1) for what, value in figures.items()}
                            for name, figures in sorted(counts.items())}
    PATH.write_text(json.dumps(limits, indent=4, ensure_ascii=False) + "\n", encoding="utf-8")
