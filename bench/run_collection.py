#!/usr/bin/env python3
"""Solves every model of a collection folder with the morvex tool.

Usage: bench/run_collection.py FOLDER [--tool PATH] [--time-limit SECONDS]
                               [--csv OUT.csv] [--options "name=value ..."]

FOLDER holds .nl, .nl.gz, .mps or .mps.gz models and a *reference.tsv table
(columns name, n, m, nint, optimal_or_best_known_value, ...). Writes a CSV
with one row per model (name, n, m, status, objective, reference, relative
error, iterations, evaluations, wall seconds) and prints a summary: models
solved (status 0), models agreeing with the reference value, and the shifted
geometric mean of the wall time (shift 10 ms).
"""
import argparse
import csv
import glob
import math
import os
import re
import subprocess
import sys
import time

SUMMARY = re.compile(r"^morvex: .* status=(-?\d+) objective=(\S+) feaserror=\S+ "
                     r"iterations=(\d+) evaluations=(\d+) time=(\S+)$", re.M)
MODEL_SUFFIXES = (".nl", ".nl.gz", ".mps", ".mps.gz")


def model_name(path):
    base = os.path.basename(path)
    for suffix in sorted(MODEL_SUFFIXES, key=len, reverse=True):
        if base.endswith(suffix):
            return base[: -len(suffix)]
    return base


def read_reference(folder):
    tables = glob.glob(os.path.join(folder, "*reference.tsv"))
    ref = {}
    for table in tables:
        with open(table, newline="") as f:
            for row in csv.DictReader(f, delimiter="\t"):
                ref[row["name"]] = row
    return ref


def relative_error(value, reference):
    return abs(value - reference) / max(1.0, abs(reference))


def shifted_geometric_mean(times, shift=0.01):
    if not times:
        return float("nan")
    return math.exp(sum(math.log(t + shift) for t in times) / len(times)) - shift


def solve(tool, path, time_limit, options):
    cmd = [tool, path, "outlev=0", f"maxtime_real={time_limit}"] + options
    start = time.monotonic()
    try:
        out = subprocess.run(cmd, capture_output=True, text=True, timeout=time_limit * 2 + 5).stdout
    except subprocess.TimeoutExpired:
        return {"status": "timeout", "seconds": time.monotonic() - start}
    seconds = time.monotonic() - start
    match = SUMMARY.search(out)
    if not match:
        return {"status": "failed", "seconds": seconds}
    return {"status": int(match.group(1)), "objective": float(match.group(2)),
            "iterations": int(match.group(3)), "evaluations": int(match.group(4)), "seconds": seconds}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder")
    parser.add_argument("--tool", default=os.path.join(os.path.dirname(__file__), "..", "build", "release",
                                                       "apps", "morvex"))
    parser.add_argument("--time-limit", type=float, default=60.0)
    parser.add_argument("--csv", default=None)
    parser.add_argument("--options", default="")
    parser.add_argument("--tolerance", type=float, default=1e-5)
    args = parser.parse_args()

    if not os.path.isdir(args.folder):
        print(f"run_collection: {args.folder} not found; skipping")
        return 0
    models = sorted(p for p in glob.glob(os.path.join(args.folder, "*")) if p.endswith(MODEL_SUFFIXES))
    reference = read_reference(args.folder)
    rows, solved_times, solved, agreeing = [], [], 0, 0
    for path in models:
        name = model_name(path)
        ref_row = reference.get(name, {})
        result = solve(args.tool, path, args.time_limit, args.options.split())
        ref_text = ref_row.get("optimal_or_best_known_value", "")
        ref_value = float(ref_text) if ref_text else None
        objective = result.get("objective")
        rel = relative_error(objective, ref_value) if objective is not None and ref_value is not None else None
        if result["status"] == 0:
            solved += 1
            solved_times.append(result["seconds"])
            if rel is not None and rel <= args.tolerance:
                agreeing += 1
        rows.append([name, ref_row.get("n", ""), ref_row.get("m", ""), result["status"],
                     "" if objective is None else repr(objective), ref_text,
                     "" if rel is None else f"{rel:.3e}", result.get("iterations", ""),
                     result.get("evaluations", ""), f"{result['seconds']:.6f}"])
    out = open(args.csv, "w", newline="") if args.csv else sys.stdout
    writer = csv.writer(out)
    writer.writerow(["name", "n", "m", "status", "objective", "reference", "relative_error", "iterations",
                     "evaluations", "wall_seconds"])
    writer.writerows(rows)
    if args.csv:
        out.close()
    print(f"models: {len(models)}  solved: {solved}  agreeing with reference: {agreeing}  "
          f"shifted geometric mean time (10 ms shift, solved models): {shifted_geometric_mean(solved_times):.6f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
