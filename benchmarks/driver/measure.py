# SPDX-License-Identifier: MIT
"""The measurements: each runs programs and gives numbers, without judging them."""

import os
import re
import statistics
import subprocess
import time
from pathlib import Path

from surroundings import CLIENT_CORE, ProgramFailed, bus_with_service, run, run_json, this_process_on

LIBRARY, RAW, RAW_LOG = "library", "raw Qt", "raw Qt with a log line"
PAYLOADS = ("small", "medium", "list")
FLIGHTS = (1, 10, 100, 1000, 10000)
SAMPLES = ("2 entries", "6 strings", "list of 50")


def median_ratio(results, what, contestant=LIBRARY, base=RAW):
    """The median over the slices of what a contestant needed, over what the base needed in the slice beside it."""
    pairs = zip(results[contestant][what], results[base][what])
    return statistics.median(one / other for one, other in pairs)


def medians(results):
    """Each contestant's figures, with lists reduced to their medians."""
    return {name: {what: statistics.median(value) if isinstance(value, list) else value
                   for what, value in figures.items()} for name, figures in results.items()}


class Measurements:
    """Measures in a build folder; brief measurements show only that everything works."""

    def __init__(self, folder, brief):
        self.programs = Path(folder) / "benchmarks"
        self.library = Path(folder) / "src" / "libkiv-qtdbus-lib.so"
        self.brief = brief

    def _compete(self, work, slices, operations, *options, at_least=1):
        if self.brief:
            slices, operations = 2, max(operations // 10, at_least)
        return run_json([self.programs / "kiv-benchmark-bus", work, "--slices", slices, "--operations",
                         operations, *options])

    # A: blocking requests.
    def blocking(self):
        with bus_with_service(self.programs):
            return {payload: self._compete("blocking", 20, 500, "--payload", payload) for payload in PAYLOADS}

    # B: asynchronous requests.
    def asynchronous(self):
        with bus_with_service(self.programs):
            return {payload: self._compete("async", 20, 1000, "--payload", payload, "--flight", 100)
                    for payload in PAYLOADS}

    def flights(self, flights, *options):
        with bus_with_service(self.programs):
            return {flight: self._compete("async", 6 if flight >= 1000 else 10, max(2 * flight, 1000),
                                          "--flight", flight, *options, at_least=flight) for flight in flights}

    # C: inbound calls and broadcasts.
    def inbound(self):
        with bus_with_service(self.programs):
            return {work: self._compete(work, 20, 2000) for work in ("calls", "broadcasts")}

    # D and E: codec and log, interleaved by Google Benchmark.
    def micro(self, pattern):
        seconds, repetitions = (0.005, 2) if self.brief else (0.05, 9)
        output = run_json([self.programs / "kiv-benchmarks", f"--benchmark_filter={pattern}",
                           f"--benchmark_repetitions={repetitions}", f"--benchmark_min_time={seconds}",
                           "--benchmark_enable_random_interleaving=true", "--benchmark_format=json"])
        results = {}
        for entry in output["benchmarks"]:
            if entry["run_type"] == "iteration":
                figures = results.setdefault(entry["run_name"], {"times": []})
                figures["times"].append(entry["cpu_time"])
                figures["allocations"] = entry.get("allocs_per_iter", figures.get("allocations"))
        return {name: {"ns": statistics.median(figures["times"]), "allocations": figures["allocations"]}
                for name, figures in results.items()}

    # F: load and start.
    def load(self):
        names = {LIBRARY: "kiv-qtdbus-lib", "constants": "kiv-benchmark-constants", "empty": "kiv-benchmark-empty"}
        runs = {name: [] for name in names}
        for _ in range(5 if self.brief else 60):
            for name, measured in names.items():
                path = self.programs / f"libkiv-benchmark-around-{measured}.so"
                runs[name].append(run_json([self.programs / "kiv-benchmark-load", path]))
        results = {name: {what: statistics.median(one[what] for one in runs[name])
                          for what in ("load", "initialisers", "allocations")} for name in names}
        results[LIBRARY]["relocations"] = self._relocations()
        return results

    def _relocations(self):
        text = subprocess.run(["readelf", "--wide", "--relocs", self.library], stdout=subprocess.PIPE, text=True,
                              check=True).stdout
        return sum(int(count) for count in re.findall(r"contains (\d+) entr", text))

    def start(self):
        programs = {LIBRARY: "kiv-benchmark-start-library", RAW: "kiv-benchmark-start-raw",
                    RAW_LOG: "kiv-benchmark-start-raw-log"}
        results = {name: {"wall": [], "cpu": [], "resident": [], "anonymous": []} for name in programs}
        with bus_with_service(self.programs), this_process_on(CLIENT_CORE):
            for turn in range(-2, 4 if self.brief else 60):
                for name, program in programs.items():
                    figures = self._start_once(self.programs / program)
                    if turn >= 0:  # the first turns bring the files into memory
                        for what, value in figures.items():
                            results[name][what].append(value)
        return results

    @staticmethod
    def _start_once(program):
        read_end, write_end = os.pipe()
        begin = time.perf_counter_ns()
        pid = os.posix_spawn(program, [str(program)], os.environ, file_actions=[
            (os.POSIX_SPAWN_DUP2, write_end, 1), (os.POSIX_SPAWN_CLOSE, read_end)])
        os.close(write_end)
        with os.fdopen(read_end, encoding="utf-8") as output:
            first = output.readline()
            wall = time.perf_counter_ns() - begin
            rest = output.read()
        _, status, usage = os.wait4(pid, 0)
        if first != "answered\n" or status != 0:
            raise ProgramFailed(f"{program} has not come to its first answer")
        resident, anonymous = (int(number) for number in re.findall(r"(\d+) kB", rest))
        return {"wall": wall, "cpu": (usage.ru_utime + usage.ru_stime) * 1e9, "resident": resident,
                "anonymous": anonymous}

    # G: requests that are started from another thread.
    def foreign(self):
        with bus_with_service(self.programs):
            return self._compete("foreign", 20, 500)

    # H: endurance.
    def endurance(self, nightly):
        slices, operations = (10, 100000) if nightly else (10, 200 if self.brief else 5000)
        with bus_with_service(self.programs):
            return run_json([self.programs / "kiv-benchmark-bus", "endurance", "--slices", slices, "--operations",
                             operations], timeout=3600)

    # Counts, which do not depend on how busy the machine is.
    def counts(self, folder):
        """Instructions (callgrind) and allocations per operation, by operation."""
        counts = self._counts_of("codec", [self.programs / "kiv-benchmark-counts"], [], 1000, folder)
        with bus_with_service(self.programs):
            for work in ("blocking", "async"):
                command = [self.programs / "kiv-benchmark-bus", work, "--only-qt", "--slices", 1, "--operations", 500]
                for name, figures in self._counts_of(work, command, [], 500, folder).items():
                    counts[f"{work} request, {name}"] = figures
        return counts

    @staticmethod
    def _counts_of(title, command, options, operations, folder):
        allocations = run_json([*command, *options])
        for old in folder.glob(f"callgrind.{title}*"):
            old.unlink()
        run(["valgrind", "--tool=callgrind", "--instr-atstart=no", "-q",
             f"--callgrind-out-file={folder}/callgrind.{title}", *command, *options, "--instructions"])
        counts = {}
        for path in folder.glob(f"callgrind.{title}.*"):
            text = path.read_text(encoding="utf-8", errors="replace")
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
            total = re.search(r"^totals: (\d+)", text, re.MULTILINE)
            if name and total:
                counts[name[1]] = {"instructions": round(int(total[1]) / operations),
                                   "allocations": allocations[name[1]]["allocations"]}
        if set(counts) != set(allocations):
            raise ProgramFailed(f"callgrind has counted {sorted(counts)} instead of {sorted(allocations)}")
        return counts
