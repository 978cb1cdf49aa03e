# SPDX-License-Identifier: MIT
"""The frames of the example program's panel beside the simulator: what happens, what is measured, and the bounds."""

import contextlib
import json
import os
import statistics
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Callable

from surroundings import ProgramFailed, bus_with, run_json

SIZES = ("1280x480", "480x800")
THEMES = ("day", "night")
MODES = [f"{kind} {number}" for number in range(1, 11)
         for kind in ("Radio", "Bluetooth", "USB", "Tape", "Podcast", "Line in", "Streaming", "Television", "Disc",
                      "Navigation announcements")]
STREAMS = ("Phone", "Navigation", "Alarm clock", "Assistant", "Parking aid", "Messages of the apartment above")
EVENTS_PER_SECOND = 50
PAUSE = 19  # ms; the rest goes by on the way
FRAME = 16.0  # ms
PARTS = ("polish", "sync", "render", "swap")
LOG_MARGIN = 1.0  # ms: Qt's log has whole ones, and begins when input has been handled


def scenario(events):
    """From the first setMode on, a stream of the device begins or ends at each step: one event of the focus each."""
    steps = []
    for number in range(events):
        name = STREAMS[number // 2 % len(STREAMS)]
        step = {"after": PAUSE, "do": "stopStream", "name": name}
        if number % 2 == 0:
            step.update({"do": "startStream", "type": "Media", "focusType": ("transient", "permanent")[number // 2 % 2]})
        steps.append(step)
    steps[0]["when"] = {"method": "setMode"}
    return {"modes": {"Cabin": MODES}, "steps": steps}


def _percentile(values, share):
    return sorted(values)[round((len(values) - 1) * share)]


def _frames(values):
    """@param values: times in ns. @return figures in ms."""
    times = [value / 1e6 for value in values] or [0.0]
    return {"count": len(values), "median": statistics.median(times), "p95": _percentile(times, 0.95),
            "p99": _percentile(times, 0.99), "longest": max(times), "late": sum(time > FRAME for time in times)}


def _check_log(load):
    """The scene graph's own log tells of the same frames; only what else runs on the machine makes some longer."""
    if -1 in load["logged"]:
        raise ProgramFailed("the scene graph does not log each frame")
    excess = _percentile([logged - total / 1e6 for logged, total in zip(load["logged"], load["total"])], 0.95)
    if excess > LOG_MARGIN:
        raise ProgramFailed(f"frames took {excess:.1f} ms more, says the scene graph's log")


def _figures(raw):
    _check_log(raw["load"])
    load = raw["load"]
    return {
        "frames": _frames(load["total"]), "frameCpu": _frames(load["frameCpu"]), "logged": max(load["logged"]),
        "turns": _frames(load["turns"]),
        "parts": {part: _frames(load[part]) for part in PARTS},
        "seconds": load["wall"] / 1e9, **raw["arrived"],
        **{f"{state}Cpu": raw[state]["cpu"] / raw[state]["wall"] for state in ("load", "idle", "pending")},
        **{f"{state}FramesPerSecond": len(raw[state]["total"]) * 1e9 / raw[state]["wall"]
           for state in ("load", "idle", "pending")}}


@contextlib.contextmanager
def _screen(folder, scratch):
    """Without a screen: the panel paints into memory."""
    before = dict(os.environ)
    os.environ.update(QT_QPA_PLATFORM="offscreen", QT_QUICK_BACKEND="software", QT_SCALE_FACTOR="1", LC_ALL="C.UTF-8",
                      QML2_IMPORT_PATH=str(folder / "qml" / "imports"), XDG_RUNTIME_DIR=scratch)
    os.environ.pop("QT_LOGGING_RULES", None)
    try:
        yield
    finally:
        os.environ.clear()
        os.environ.update(before)


def measure_once(folder, size, theme, seconds):
    """@return figures by name; times in ms, CPU as a share of one core."""
    events = seconds * EVENTS_PER_SECOND
    with tempfile.TemporaryDirectory(prefix="kiv-panel-") as scratch, _screen(folder, scratch):
        path = Path(scratch) / "scenario.json"
        path.write_text(json.dumps(scenario(events)), encoding="utf-8")
        with bus_with([folder / "bin" / "kiv-audio-simulator", "--scenario", path]):
            return _figures(run_json([
                folder / "benchmarks" / "kiv-benchmark-panel", "--size", size, *(["--night"] if theme == "night" else []),
                "--modes", len(MODES), "--events", events, "--seconds", seconds]))


def measure(folder, brief, count, say):
    """@return the figures of each run, by size and theme: all four, or briefly the first."""
    combinations = [(size, theme) for size in SIZES for theme in THEMES][:1 if brief else None]
    runs = {combination: [] for combination in combinations}
    for number in range(1, count + 1):
        for size, theme in combinations:
            say(f"run {number} of {count}: the panel, {size}, {theme}")
            runs[size, theme].append(measure_once(folder, size, theme, 3 if brief else 10))
    return runs


@dataclass(frozen=True)
class Column:
    """A figure of the panel; with a limit where it may be no more."""
    title: str
    figure: Callable[[dict], float]
    limit: float = None
    digits: int = 1

    def median(self, runs):
        return statistics.median(map(self.figure, runs))


def _of(*keys, factor=1):
    def figure(figures):
        for key in keys:
            figures = figures[key]
        return figures * factor
    return figure


COLUMNS = (
    Column("frames per s", _of("loadFramesPerSecond"), digits=0),
    Column("median ms", _of("frames", "median")),
    Column("p95 ms", _of("frames", "p95")),
    Column("p99 ms", _of("frames", "p99"), FRAME),
    Column("longest ms", _of("frames", "longest")),
    Column(f"above {FRAME:g} ms", _of("frames", "late"), digits=0),
    Column("longest, CPU ms", _of("frameCpu", "longest"), FRAME),
    Column("longest turn, CPU ms", _of("turns", "longest"), FRAME),
    Column("CPU %", _of("loadCpu", factor=100)),
    Column("idle CPU %", _of("idleCpu", factor=100), 0.5, 2),
    Column("waiting tile CPU %", _of("pendingCpu", factor=100)),
)


def judge(runs):
    """@return for each column with a limit: it, the worst median of runs, and whether that is within the limit."""
    judged = []
    for column in COLUMNS:
        if column.limit is not None:
            worst = max(column.median(figures) for figures in runs.values())
            judged.append((column, worst, worst <= column.limit))
    return judged


def rows(runs):
    """The medians of the runs, a row for each size and theme."""
    return [(size, theme, *(f"{column.median(figures):.{column.digits}f}" for column in COLUMNS))
            for (size, theme), figures in runs.items()]


def part_rows(runs):
    """What frames consist of, likewise: the 99th percentile and the longest."""
    return [(size, theme, *(" / ".join(f"{statistics.median(one['parts'][part][what] for one in figures):.1f}"
                                       for what in ("p99", "longest")) for part in PARTS))
            for (size, theme), figures in runs.items()]
