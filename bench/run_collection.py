#!/usr/bin/env python3
"""Solves every model of a collection folder with the morvex tool.

Usage: bench/run_collection.py FOLDER [--tool PATH] [--time-limit SECONDS]
                               [--csv OUT.csv] [--options "name=value ..."]

FOLDER holds .nl, .nl.gz, .mps or .mps.gz models (in it or in its subfolders)
and a *reference.tsv table (columns name, n, m, nint,
optimal_or_best_known_value, ...). Writes a CSV with one row per model (name,
n, m, status, objective, reference, relative error, iterations, evaluations,
wall seconds, notes) and prints a summary: models solved (status 0), models
agreeing with the reference value, and the shifted geometric mean of the wall
time (shift 10 ms). Wall seconds are those of the whole tool process: start,
model read, solve and exit.

The functions below are shared with bench/run_peer.py, which runs the peer
solver over the same folders into the same CSV format.
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
COLUMNS = ["name", "n", "m", "status", "objective", "reference", "relative_error", "iterations",
           "evaluations", "wall_seconds", "notes"]
TIME_SHIFT = 0.01


def model_name(path):
    base = os.path.basename(path)
    for suffix in sorted(MODEL_SUFFIXES, key=len, reverse=True):
        if base.endswith(suffix):
            return base[: -len(suffix)]
    return base


def list_models(folder, suffixes=MODEL_SUFFIXES):
    """Model files of the folder and its subfolders (netlib keeps them in mps/)."""
    found = []
    for root, _, files in os.walk(folder):
        found.extend(os.path.join(root, f) for f in files if f.endswith(suffixes))
    return sorted(found, key=lambda p: (model_name(p), p))


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


def shifted_geometric_mean(values, shift=TIME_SHIFT):
    if not values:
        return float("nan")
    return math.exp(sum(math.log(v + shift) for v in values) / len(values)) - shift


def run_timed(cmd, time_limit):
    """Runs a solver process; returns (stdout or None on a time-out, wall seconds)."""
    start = time.monotonic()
    try:
        out = subprocess.run(cmd, capture_output=True, text=True, timeout=time_limit * 2 + 5).stdout
    except subprocess.TimeoutExpired:
        return None, time.monotonic() - start
    return out, time.monotonic() - start


def solve(tool, path, time_limit, options):
    out, seconds = run_timed([tool, path, "outlev=0", f"maxtime_real={time_limit}"] + options, time_limit)
    if out is None:
        return {"status": "timeout", "seconds": seconds}
    match = SUMMARY.search(out)
    if not match:
        return {"status": "failed", "seconds": seconds}
    return {"status": int(match.group(1)), "objective": float(match.group(2)),
            "iterations": int(match.group(3)), "evaluations": int(match.group(4)), "seconds": seconds}


def result_row(name, ref_row, result, tolerance):
    """The CSV row of one model, and whether it was solved and agrees with the reference."""
    ref_text = ref_row.get("optimal_or_best_known_value", "")
    ref_value = float(ref_text) if ref_text else None
    objective = result.get("objective")
    rel = relative_error(objective, ref_value) if objective is not None and ref_value is not None else None
    solved = result["status"] == 0
    agrees = solved and rel is not None and rel <= tolerance
    row = [name, ref_row.get("n", result.get("n", "")), ref_row.get("m", result.get("m", "")), result["status"],
           "" if objective is None else repr(objective), ref_text, "" if rel is None else f"{rel:.3e}",
           result.get("iterations", ""), result.get("evaluations", ""), f"{result['seconds']:.6f}",
           result.get("notes", "")]
    return row, solved, agrees


def run_models(models, reference, solve_one, tolerance):
    """Solves each model with solve_one(path); returns the rows and the summary."""
    rows, solved_times, solved, agreeing = [], [], 0, 0
    for path in models:
        name = model_name(path)
        result = solve_one(path)
        row, ok, agrees = result_row(name, reference.get(name, {}), result, tolerance)
        rows.append(row)
        if ok:
            solved += 1
            solved_times.append(result["seconds"])
        agreeing += agrees
    summary = {"models": len(models), "solved": solved, "agreeing": agreeing,
               "sgm_time": shifted_geometric_mean(solved_times)}
    return rows, summary


def write_csv(path, rows):
    out = open(path, "w", newline="") if path else sys.stdout
    writer = csv.writer(out)
    writer.writerow(COLUMNS)
    writer.writerows(rows)
    if path:
        out.close()


def summary_line(summary):
    return (f"models: {summary['models']}  solved: {summary['solved']}  "
            f"agreeing with reference: {summary['agreeing']}  "
            f"shifted geometric mean time (10 ms shift, solved models): {summary['sgm_time']:.6f} s")


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
    options = args.options.split()
    rows, summary = run_models(list_models(args.folder), read_reference(args.folder),
                               lambda path: solve(args.tool, path, args.time_limit, options), args.tolerance)
    write_csv(args.csv, rows)
    print(summary_line(summary))
    return 0


if __name__ == "__main__":
    sys.exit(main())
