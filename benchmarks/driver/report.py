# SPDX-License-Identifier: MIT
"""The table, in Markdown."""

import os
import platform
import subprocess
import time

import panel
from measure import LIBRARY


def _first_line(*command):
    try:
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    except FileNotFoundError:
        return "not found"
    return (done.stdout.splitlines() or ["unknown"])[0].strip()


def _processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return platform.machine()


def surroundings():
    """What the figures depend on."""
    return {
        "date": time.strftime("%Y-%m-%d"),
        "processor": f"{_processor()}, {os.cpu_count()} cores",
        "load": " ".join(f"{load:.1f}" for load in os.getloadavg()),
        "kernel": platform.release(),
        "compiler": _first_line("c++", "--version"),
        "Qt": _first_line("pkg-config", "--modversion", "Qt5Core"),
        "dbus-daemon": _first_line("dbus-daemon", "--version"),
        "cJSON": _first_line("pkg-config", "--modversion", "libcjson"),
    }


def _table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines)


def target_table(judged):
    """@param judged: of each target, the values of the runs, the median of them, and whether it is met."""
    return _table(("#", "Work", "Target", "Measured", "Runs", ""), [
        (str(target.row), target.work, target.limit_text(), target.value_text(one["median"]),
         " ".join(f"{value:.2f}" for value in one["runs"]), "met" if one["met"] else "**not met**")
        for target, one in judged])


def _microseconds(figures, what):
    return f"{figures[what] / 1000:.1f}" if what in figures else "–"


def contestant_table(works):
    """@param works: by the work's name, each contestant's medians."""
    rows = []
    for work, contestants in works.items():
        for name, figures in sorted(contestants.items(), key=lambda item: (item[0] != LIBRARY, item[1]["cpu"])):
            rows.append((work, name, *(_microseconds(figures, what) for what in (
                "cpu", "wall", "latencyMedian", "latencyP99")), f"{figures['allocations']:.0f}"))
    return _table(("Work", "Contestant", "CPU µs", "Wall µs", "Median µs", "p99 µs", "Allocations"), rows)


def codec_table(results):
    rows = [(*name.split("/"), f"{figures['ns']:.0f}", f"{figures['allocations']:.0f}")
            for name, figures in sorted(results.items())]
    return _table(("Work", "Sample", "Contestant", "ns", "Allocations"), rows)


def counts_table(counts):
    return _table(("Operation", "Instructions", "Allocations"),
                  [(name, str(figures["instructions"]), f"{figures['allocations']:.1f}")
                   for name, figures in sorted(counts.items())])


def panel_tables(runs):
    """@param runs: by size and theme, the figures of each run."""
    return [_table(("Size", "Theme", *(column.title for column in panel.COLUMNS)), panel.rows(runs)),
            _table(("Size", "Theme", *(f"{part} ms, p99 / longest" for part in panel.PARTS)), panel.part_rows(runs)),
            _table(("The worst", "Limit", "Measured", ""), [
                (column.title, f"≤ {column.limit:g}", f"{worst:.{column.digits}f}", "met" if met else "**not met**")
                for column, worst, met in panel.judge(runs)])]


def fields(values):
    return "\n".join(f"- {name}: {value}" for name, value in values.items())
