#!/usr/bin/env python3
"""Solves every .nl model of a collection folder with the peer solver.

Usage: bench/run_peer.py FOLDER [--peer PATH] [--time-limit SECONDS]
                         [--csv OUT.csv] [--tolerance TOL]

Runs build/release/bench/peer/morvex_peer (see bench/peer/) on every .nl and
.nl.gz model of FOLDER, one at a time, with the time limit as the peer's CPU
time limit. Writes the CSV and prints the summary of bench/run_collection.py
(same columns, same reference table, same wall-time measure: the whole
process), so that bench/compare.py can set the two side by side. The peer
reads .nl models only: a folder without any is reported and skipped.
"""
import argparse
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import run_collection as rc  # noqa: E402

PEER_LINE = re.compile(r"^morvex_peer: \S+ status=(-?\d+) objective=(\S+) feaserror=\S+ "
                       r"iterations=(\d+) evaluations=(\d+) time=\S+(?: notes=(.*))?$", re.M)
NL_SUFFIXES = (".nl", ".nl.gz")


def parse_peer(out):
    match = PEER_LINE.search(out)
    if not match:
        return None
    result = {"status": int(match.group(1)), "iterations": int(match.group(3)),
              "evaluations": int(match.group(4)), "notes": match.group(5) or ""}
    if match.group(2) != "-":
        result["objective"] = float(match.group(2))
    return result


def solve_peer(peer, path, time_limit):
    out, seconds = rc.run_timed([peer, path, "--time-limit", str(time_limit)], time_limit)
    if out is None:
        return {"status": "timeout", "seconds": seconds}
    result = parse_peer(out)
    if result is None:
        return {"status": "failed", "seconds": seconds}
    result["seconds"] = seconds
    return result


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder")
    parser.add_argument("--peer", default=os.path.join(os.path.dirname(__file__), "..", "build", "release",
                                                       "bench", "peer", "morvex_peer"))
    parser.add_argument("--time-limit", type=float, default=60.0)
    parser.add_argument("--csv", default=None)
    parser.add_argument("--tolerance", type=float, default=1e-5)
    args = parser.parse_args()

    if not os.path.isdir(args.folder):
        print(f"run_peer: {args.folder} not found; skipping")
        return 0
    if not os.access(args.peer, os.X_OK):
        print(f"run_peer: {args.peer} not built (scripts/install-bench-deps.sh installs the peer); skipping")
        return 0
    models = rc.list_models(args.folder, NL_SUFFIXES)
    if not models:
        print(f"run_peer: no .nl models in {args.folder} (the peer reads .nl only); skipping")
        return 0
    rows, summary = rc.run_models(models, rc.read_reference(args.folder),
                                  lambda path: solve_peer(args.peer, path, args.time_limit), args.tolerance)
    rc.write_csv(args.csv, rows)
    print(rc.summary_line(summary))
    return 0


if __name__ == "__main__":
    sys.exit(main())
