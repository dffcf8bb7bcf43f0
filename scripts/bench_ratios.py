#!/usr/bin/env python3
"""Runs a benchmark program and prints how each operation of ours compares with its peers.

usage: bench_ratios.py <program> [--repetitions N] [--corpus folder] [options of Google Benchmark]

Repetitions of all benchmarks are shuffled into one run; the median counts. A ratio is peer time / our time. Benchmarks named
<operation>/Growth/<n> are told as a factor: the time of an item at each n / the time of one at the smallest n.
"""

import argparse
import json
import os
import re
import subprocess
import sys
import tempfile

OURS = "ours"


def medians(program, repetitions, rest):
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        done = subprocess.run([program, f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
                               "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.1",
                               f"--benchmark_out={out.name}", "--benchmark_out_format=json", *rest],
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if done.returncode:
            sys.exit(done.stderr + f"{program} failed")
        runs = json.load(open(out.name))["benchmarks"]
    failed = [f"{run['run_name']}: {run['error_message']}" for run in runs if run.get("error_occurred")]
    found = {run["run_name"]: run for run in runs if run.get("aggregate_name") == "median"}
    return found, sorted(set(failed))


def nanoseconds(run):
    clock = "real_time" if run["run_name"].endswith(("/real_time", "/manual_time")) else "cpu_time"
    return run[clock] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]


def per_item(run):
    """Nanoseconds of one item, where the benchmark counts its items, or else of one iteration."""
    return 1e9 / run["items_per_second"] if run.get("items_per_second") else nanoseconds(run)


def growth(found):
    """The benchmarks named .../Growth/<n>: {"operation": [(n, nanoseconds of an item)]}, by n."""
    series = {}
    for name, run in found.items():
        match = re.fullmatch(r"(.*)/Growth/(\d+)(.*)", name)
        if match:
            operation = match[1] + match[3].removesuffix("/real_time").removesuffix("/manual_time")
            series.setdefault(operation, []).append((int(match[2]), per_item(run)))
    return {operation: sorted(series[operation]) for operation in sorted(series)}


def growth_lines(series):
    for operation, points in series.items():
        base = points[0][1]
        yield f"{operation:44} {'growth':>12} {base:14.1f} ns at {points[0][0]}" + "".join(
            f", {time / base:.2f}x at {n}" for n, time in points[1:])


def rival(name, names):
    """("group/case/ours", "peer") of "group/case/peer", when there is such a benchmark of ours."""
    pieces = name.split("/")
    for at, piece in enumerate(pieces):
        ours = "/".join(pieces[:at] + [OURS] + pieces[at + 1:])
        if piece != OURS and ours in names:
            return ours, piece
    return None


def natural(name):
    return [(int(piece), "") if piece.isdigit() else (0, piece) for piece in re.split(r"(\d+)", name)]


def table(found):
    names = sorted(found, key=natural)
    peers = {name: [] for name in names if OURS in name.split("/")}
    others = []
    for name in names:
        pair = rival(name, peers)
        if pair:
            peers[pair[0]].append((pair[1], nanoseconds(found[name])))
        elif name not in peers:
            others.append(name)
    for ours, rows in peers.items():
        mine = nanoseconds(found[ours])
        yield f"{ours.replace('/' + OURS, ''):44} {'ours':>12} {mine:14.1f} ns"
        for peer, time in rows:
            yield f"{'':44} {peer:>12} {time:14.1f} ns {time / mine:8.2f}x"
    for name in others:
        yield f"{name:57} {nanoseconds(found[name]):14.1f} ns"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--corpus")
    known, rest = parser.parse_known_args()
    if known.corpus:
        os.environ["ZEB_BENCH_CORPUS"] = known.corpus
    found, failed = medians(known.program, known.repetitions, rest)
    compared = {name: run for name, run in found.items() if "/Growth/" not in name}
    print("\n".join([*table(compared), *growth_lines(growth(found))]))
    print("".join(f"left out: {line}\n" for line in failed), end="")
    sys.exit(0 if found or failed else 1)


main()
