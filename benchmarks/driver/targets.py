# SPDX-License-Identifier: MIT
"""What the library has to reach, row by row, and how each figure follows from the measurements."""

import statistics
from dataclasses import dataclass
from typing import Callable

from measure import LIBRARY, PAYLOADS, RAW, RAW_LOG, SAMPLES, median_ratio

TOLERANCE = 0.02  # a target is met when the median of the runs is within it


@dataclass(frozen=True)
class Target:
    """One figure: from a measurement, at most (or at least) a limit."""
    row: int
    work: str
    measurement: str  # its name in MEASUREMENTS
    figure: Callable[[dict], float]
    limit: float
    unit: str = ""  # none for a ratio
    at_least: bool = False

    def is_met(self, value):
        if self.at_least:
            return value >= self.limit - TOLERANCE
        return value <= self.limit + TOLERANCE

    def limit_text(self):
        return f"{'≥' if self.at_least else '≤'} {self.limit:g}{self.unit and ' ' + self.unit}"

    def value_text(self, value):
        return f"{value:.2f}{self.unit and ' ' + self.unit}"


# How each measurement is made; the rows say which of them they need.
MEASUREMENTS = {
    "blocking": lambda measurements: measurements.blocking(),
    "async": lambda measurements: measurements.asynchronous(),
    "flights": lambda measurements: measurements.flights((100, 10000), "--only-qt"),
    "inbound": lambda measurements: measurements.inbound(),
    "codec": lambda measurements: measurements.micro("^(encode|decode)/.*/(library|cJSON)$"),
    "log": lambda measurements: measurements.micro("^log/"),
    "load": lambda measurements: measurements.load(),
    "start": lambda measurements: measurements.start(),
    "foreign": lambda measurements: measurements.foreign(),
}


def _cpu(*keys):
    def figure(results):
        for key in keys:
            results = results[key]
        return median_ratio(results, "cpu")
    return figure


def _wall(results):
    """Of a whole measurement; the medians first, since single slices are at the mercy of the machine."""
    return statistics.median(results[LIBRARY]["wall"]) / statistics.median(results[RAW]["wall"])


def _latency(payload):
    return lambda results: results[payload][LIBRARY]["latencyMedian"] / results[payload][RAW]["latencyMedian"]


def _growth(results):
    few, many = results[100], results[10000]

    def of(name):
        return statistics.median(many[name]["cpu"]) / statistics.median(few[name]["cpu"])
    return of(LIBRARY) / of(RAW)


def _rate(work):
    return lambda results: 1 / _wall(results[work])


def _codec(direction, sample):
    return lambda results: (results[f"{direction}/{sample}/library"]["ns"] /
                            results[f"{direction}/{sample}/cJSON"]["ns"])


def _allocations(name):
    return lambda results: float(round(results[name]["allocations"]))  # the first of some iterations may take more


def _over_empty(what, scale=1.0):
    return lambda results: (results["constants"][what] - results["empty"][what]) * scale


def _start(raw):
    return lambda results: statistics.median(results[LIBRARY]["wall"]) / statistics.median(results[raw]["wall"])


def _start_memory(raw):
    return lambda results: (statistics.median(results[LIBRARY]["resident"]) -
                            statistics.median(results[raw]["resident"])) / 1024


def _payload_rows(row, work, measurement, limits, figure):
    return [Target(row, f"{work}, {payload}", measurement, figure(payload), limit)
            for payload, limit in zip(PAYLOADS, limits)]


def _codec_rows(row, direction, limits):
    return [Target(row, f"{direction} {sample} / straightforward cJSON", "codec", _codec(direction, sample), limit)
            for sample, limit in zip(SAMPLES, limits)]


TARGETS = [
    *_payload_rows(1, "blocking request, CPU / raw", "blocking", (1.08, 1.15, 1.29), _cpu),
    *_payload_rows(1, "blocking request, latency / raw", "blocking", (1.10, 1.10, 1.10), _latency),
    *_payload_rows(2, "100 in flight, CPU / raw", "async", (1.07, 1.20, 1.38), _cpu),
    Target(3, "10000 in flight, CPU / raw", "flights", _cpu(10000), 1.10),
    Target(3, "10000 in flight, wall / raw", "flights", lambda results: _wall(results[10000]), 1.10),
    Target(3, "growth of CPU per request from 100 to 10000 / raw's", "flights", _growth, 1.00),
    Target(4, "inbound calls, CPU / bare adaptor", "inbound", _cpu("calls"), 1.21),
    Target(4, "inbound calls, rate / bare adaptor", "inbound", _rate("calls"), 0.92, at_least=True),
    Target(4, "broadcasts, CPU / bare connection", "inbound", _cpu("broadcasts"), 1.16),
    Target(4, "broadcasts, rate / bare connection", "inbound", _rate("broadcasts"), 0.93, at_least=True),
    *_codec_rows(5, "encode", (0.35, 0.55, 0.40)),
    *[Target(5, f"encode {sample}, allocations", "codec", _allocations(f"encode/{sample}/library"), 2, "allocations")
      for sample in SAMPLES],
    *_codec_rows(6, "decode", (0.92, 0.92, 0.71)),
    Target(7, "disabled log line", "log", lambda results: results["log/disabled/library"]["ns"], 3, "ns"),
    Target(7, "disabled log line, allocations", "log", _allocations("log/disabled/library"), 0, "allocations"),
    Target(7, "enabled ServiceRequest line / the way with QTime::toString", "log",
           lambda results: results["log/ServiceRequest/library"]["ns"] / results["log/ServiceRequest/QTime"]["ns"],
           0.5),
    Target(8, "constants at load, over an empty library", "load", _over_empty("initialisers", 1e-3), 15, "µs"),
    Target(8, "constants at load, allocations", "load", _over_empty("allocations"), 12, "allocations"),
    Target(9, "start to first answer / raw that has a log line", "start", _start(RAW_LOG), 1.05),
    Target(9, "start to first answer / raw that never logs", "start", _start(RAW), 1.05),
    Target(9, "resident memory, over raw that has a log line", "start", _start_memory(RAW_LOG), 0.7, "MB"),
    Target(9, "resident memory, over raw that never logs", "start", _start_memory(RAW), 0.7, "MB"),
    Target(10, "…Async from another thread, CPU / bare queued invocation", "foreign", _cpu(), 1.10),
    Target(10, "…Async from another thread, wall / bare queued invocation", "foreign", _wall, 1.10),
]
