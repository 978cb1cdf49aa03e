#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lets requests and calls run by the million and judges how memory grows; scripts/soak builds all and calls this."""

import argparse
import sys
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "benchmarks" / "driver"))

from surroundings import ProgramFailed, bus_with_service, run_json  # noqa: E402 (where the benchmarks have it)

FLAT, GROWS, WRONG_USE, FAILED = 0, 1, 2, 3

EXIT_CODES = """exit codes:
  0  memory is flat
  1  a bound is broken, or a leak that was planted is not noticed
  2  wrong usage
  3  something could not be built or run
"""

SLICES = 20
WARM_UP = 2  # slices
BOUND = 256  # KiB
LEAST = 20000  # operations, for sense
PLANTED = 32  # bytes that the planted leak loses at each operation


@dataclass(frozen=True)
class Growth:
    """By how much memory in use was more after the last slice than after the warm-up, in KiB."""
    resident: float
    heap: float

    @classmethod
    def of(cls, result):
        return cls(*(result[what][-1] - result[what][WARM_UP - 1] for what in ("resident", "heap")))

    def is_within(self, bound):
        return self.resident <= bound.resident and self.heap <= bound.heap


FIXED = Growth(BOUND, BOUND)


def soak(folder, work, count, *options):
    """Slices of a work, and how memory has grown meanwhile."""
    print(f"… {count} × {work}", file=sys.stderr, flush=True)
    with bus_with_service(folder / "benchmarks"):
        return Growth.of(run_json([folder / "tests" / "soak" / "kiv-soak", work, "--slices", SLICES, "--operations",
                                   -(-count // SLICES), *options], timeout=3600))


def row(work, growth, bound, verdict):
    def cell(value):
        return f"{value:.0f} KiB" if value is not None else "–"
    limits = (bound.resident, bound.heap) if bound else (None, None)
    cells = (work, cell(growth.resident), cell(limits[0]), cell(growth.heap), cell(limits[1]), verdict)
    print("| " + " | ".join(cells) + " |", flush=True)


def judge(work, growth, bound=FIXED):
    """Prints a row of the table. @return whether memory is flat"""
    is_flat = growth.is_within(bound)
    row(work, growth, bound, "flat" if is_flat else "**grows**")
    return is_flat


def notices_a_leak(folder):
    """Whether a small leak, planted, would break a bound: by a few operations more than it takes."""
    count = LEAST
    while count * PLANTED * (SLICES - WARM_UP) // SLICES // 1024 < 2 * BOUND:
        count += LEAST
    growth = soak(folder, "blocking", count, "--leak", PLANTED)
    is_noticed = growth.heap > BOUND and growth.resident > BOUND
    row(f"a planted leak of {PLANTED} bytes, {count} times", growth, FIXED, "noticed" if is_noticed else "**missed**")
    return is_noticed


def run(folder, count):
    print(f"{count} operations each; growth after the first {100 * WARM_UP // SLICES} %\n\n"
          "| Work | Resident memory | Bound | Heap in use | Bound | |\n|---|---|---|---|---|---|", flush=True)
    verdicts = [notices_a_leak(folder),
                judge("blocking requests", soak(folder, "blocking", count)),
                judge("inbound calls", soak(folder, "inbound", count))]
    raw = soak(folder, "async-raw", count)
    row("asynchronous requests, bare Qt", raw, None, "for comparison")
    more = Growth(max(raw.resident, 0) + BOUND, max(raw.heap, 0) + BOUND)
    verdicts.append(judge("asynchronous requests", soak(folder, "async", count), more))
    return FLAT if all(verdicts) else GROWS


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/soak", description=__doc__.split(";", maxsplit=1)[0] + ".",
                                     epilog=EXIT_CODES, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--folder", type=Path, help=argparse.SUPPRESS)
    parser.add_argument("--count", type=int, default=1000000, help="operations of each kind (1000000)")
    options = parser.parse_args()
    if options.count < LEAST:
        parser.error(f"--count: expected {LEAST} or more, got {options.count}")
    return options


def main():
    options = arguments()
    if options.folder is None:
        return FLAT  # the arguments are right
    try:
        return run(options.folder, options.count)
    except (ProgramFailed, OSError) as error:
        print(f"soak: {error}", file=sys.stderr)
        return FAILED


if __name__ == "__main__":
    sys.exit(main())
