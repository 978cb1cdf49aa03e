#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the benchmarks of a build folder and judges them; scripts/benchmark builds the folder and calls this."""

import argparse
import json
import os
import statistics
import subprocess
import sys
from pathlib import Path

import gate
import panel
import report
from measure import FLIGHTS, Measurements, ProgramFailed, medians
from targets import MEASUREMENTS, TARGETS

MET, NOT_MET, WRONG_USE, FAILED = 0, 1, 2, 3

EXIT_CODES = """exit codes:
  0  everything was measured and every target is met (with --brief: everything works; with --gate: no limit is exceeded)
  1  a target is not met, a limit is exceeded, or the codec differs from the straightforward one
  2  wrong usage
  3  something could not be built or run, or gave no sensible figures
"""


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/benchmark", epilog=EXIT_CODES,
                                     description="Measures the library beside bare Qt and other libraries.",
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--folder", type=Path, required=True, help=argparse.SUPPRESS)
    rows = sorted({target.row for target in TARGETS})
    parser.add_argument("--row", type=int, choices=rows, action="append", help="only this row; may be repeated")
    parser.add_argument("--runs", type=int, default=3, help="the median of this many counts (3)")
    parser.add_argument("--brief", action="store_true", help="once and short: shows only that everything works")
    parser.add_argument("--nightly", action="store_true",
                        help="also a million requests and inbound calls, and a million random maps")
    parser.add_argument("--gate", action="store_true",
                        help="only counts instructions and allocations, and compares with benchmarks/limits.json")
    parser.add_argument("--update", action="store_true", help="with --gate: writes the limits instead")
    parser.add_argument("--panel", action="store_true",
                        help="only times the frames of the example program hmi-panel, beside the simulator")
    options = parser.parse_args()
    if options.runs < 1:
        parser.error("--runs: expected a number above 0")
    if options.update and not options.gate:
        parser.error("--update: only with --gate")
    if options.panel and (options.gate or options.nightly or options.row):
        parser.error("--panel: alone, or with --brief or --runs")
    return options


def say(text):
    print(f"… {text}", file=sys.stderr, flush=True)


def judge(targets, runs):
    judged = []
    for target in targets:
        values = [target.figure(run[target.measurement]) for run in runs]
        median = statistics.median(values)
        if not 0 <= median < 1e6 and target.row != 9:
            raise ProgramFailed(f"row {target.row}, {target.work}: {median} makes no sense")
        judged.append((target, {"runs": values, "median": median, "met": target.is_met(median)}))
    return judged


def measure_targets(measurements, targets, count):
    runs = []
    for number in range(1, count + 1):
        run = {}
        for name in dict.fromkeys(target.measurement for target in targets):
            say(f"run {number} of {count}: {name}")
            run[name] = MEASUREMENTS[name](measurements)
        runs.append(run)
    return runs


def contestants(measurements, last_run):
    """The medians of every contestant, for the bus's and the codec's tables."""
    works = {}
    for title, measurement in (("blocking", "blocking"), ("100 in flight", "async")):
        for payload, results in last_run[measurement].items():
            works[f"{title}, {payload}"] = medians(results)
    say("all contestants, 1 to 10000 in flight")
    for flight, results in measurements.flights(FLIGHTS).items():
        works[f"{flight} in flight"] = medians(results)
    for work, results in last_run["inbound"].items():
        works[work] = medians(results)
    works["from another thread"] = medians(last_run["foreign"])
    say("all codecs")
    return works, measurements.micro("^(encode|decode)/")


def endurance(measurements, nightly):
    say("endurance")
    lines = {}
    for name, figures in measurements.endurance(nightly).items():
        cpu, resident = figures["cpu"], figures["resident"]
        lines[name] = (f"{cpu[0] / 1000:.1f} µs of CPU each in the first tenth, {cpu[-1] / 1000:.1f} µs in the last; "
                       f"{resident[0]} KiB resident after the first tenth, {resident[-1]} KiB after the last")
    return lines


def compare_codecs(folder):
    """A million random maps and texts. @return whether the codecs agree."""
    say("a million random maps and texts")
    program = folder / "tests" / "unit" / "tst_CodecOracle"
    done = subprocess.run([program], env={**os.environ, "KIV_ORACLE_ROUNDS": "1000000"}, stdout=subprocess.PIPE,
                          text=True, check=False)
    if done.returncode != 0:
        print(done.stdout, file=sys.stderr)
    return done.returncode == 0


def run_gate(options, measurements, output):
    counts = gate.of_the_library(measurements.counts(output))
    print(report.counts_table(counts))
    if options.update:
        gate.update(counts)
        print(f"\nwrote {gate.PATH}")
        return MET
    excess = gate.violations(counts, gate.load())
    if excess:
        print("\n".join(["", *excess, "", gate.ADVICE.format(path=gate.PATH, folder=output)]), file=sys.stderr)
        return NOT_MET
    print("\nno limit is exceeded")
    return MET


def write(output, name, parts, result):
    """Prints the parts of a text, and writes them and the results into files."""
    text = "\n\n".join(parts) + "\n"
    (output / f"{name}.md").write_text(text, encoding="utf-8")
    (output / f"{name}.json").write_text(json.dumps(result, indent=1, ensure_ascii=False), encoding="utf-8")
    print(text)
    say(f"written: {output}/{name}.md, {output}/{name}.json")


def run_panel(options, _, output):
    runs = panel.measure(options.folder, options.brief, 1 if options.brief else options.runs, say)
    result = {"surroundings": report.surroundings(),
              "runs": [{"size": size, "theme": theme, "figures": figures} for (size, theme), figures in runs.items()]}
    write(output, "panel", [report.fields(result["surroundings"]), *report.panel_tables(runs)], result)
    return MET if options.brief or all(met for *_, met in panel.judge(runs)) else NOT_MET


def run_table(options, measurements, output):
    targets = [target for target in TARGETS if not options.row or target.row in options.row]
    runs = measure_targets(measurements, targets, 1 if options.brief else options.runs)
    judged = judge(targets, runs)
    result = {"surroundings": report.surroundings(), "runs": runs,
              "targets": [{"row": target.row, "work": target.work, "limit": target.limit_text(), **one}
                          for target, one in judged]}
    parts = [report.fields(result["surroundings"]), report.target_table(judged)]
    if not options.row:
        works, codecs = contestants(measurements, runs[-1])
        result.update(contestants=works, codecs=codecs, counts=measurements.counts(output),
                      endurance=endurance(measurements, options.nightly))
        parts += [report.contestant_table(works), report.codec_table(codecs), report.counts_table(result["counts"]),
                  report.fields(result["endurance"])]
    agrees = compare_codecs(options.folder) if options.nightly else True
    write(output, "benchmark", parts, result)
    if options.brief:
        return MET
    return MET if agrees and all(one["met"] for _, one in judged) else NOT_MET


def main():
    options = arguments()
    output = options.folder / "benchmark-results"
    output.mkdir(exist_ok=True)
    measurements = Measurements(options.folder, options.brief)
    try:
        action = run_gate if options.gate else run_panel if options.panel else run_table
        return action(options, measurements, output)
    except (ProgramFailed, OSError, KeyError, subprocess.SubprocessError) as error:
        print(f"benchmark: {error}", file=sys.stderr)
        return FAILED


if __name__ == "__main__":
    sys.exit(main())
