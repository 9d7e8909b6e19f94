#!/usr/bin/env python3
"""Sets Morvex's collection CSV beside the peer solver's, as Markdown.

Usage: bench/compare.py OURS.csv [PEER.csv] [--title TITLE] [--note LINE ...]
                        [--no-peer REASON] [--tolerance TOL] [--out FILE.md]
                        [--collection FOLDER]

Both CSVs are those of bench/run_collection.py and bench/run_peer.py. Prints
one row per model that both solve (status 0): model, statuses, time ratio and
iteration ratio (Morvex / peer); then the solved counts, the counts agreeing
with the reference value, and the shifted geometric means (10 ms for times,
10 for iterations) over the models both solve, with their ratio Morvex / peer
(below 1: Morvex is faster). Without PEER.csv only Morvex's figures are given,
with the reason given by --no-peer.

With --collection, the folder's reference table says which models have
integer variables. A continuous peer drops integrality and solves their
relaxations, while Morvex refuses them until its mixed-integer solver
exists, so the solved counts are also given over the continuous models.
"""
import argparse
import csv
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import run_collection as rc  # noqa: E402

ITERATION_SHIFT = 10.0


def read_rows(path):
    with open(path, newline="") as f:
        return {row["name"]: row for row in csv.DictReader(f)}


def solved(row):
    return row.get("status", "").strip() == "0"


def agrees(row, tolerance):
    if not solved(row) or not row.get("objective") or not row.get("reference"):
        return False
    return rc.relative_error(float(row["objective"]), float(row["reference"])) <= tolerance


def both_solved(ours, peer):
    return sorted(name for name in ours if name in peer and solved(ours[name]) and solved(peer[name]))


def ratio(a, b):
    return a / b if b > 0 else float("inf") if a > 0 else float("nan")


def number(row, column):
    text = row.get(column, "")
    return float(text) if text not in ("", None) else 0.0


def compare(ours, peer, tolerance):
    """Counts and shifted geometric means; ratios only over the models both solve."""
    common = both_solved(ours, peer)
    result = {"common": common,
              "ours_solved": sum(solved(r) for r in ours.values()),
              "peer_solved": sum(solved(r) for r in peer.values()),
              "ours_agree": sum(agrees(r, tolerance) for r in ours.values()),
              "peer_agree": sum(agrees(r, tolerance) for r in peer.values())}
    for key, column, shift in (("time", "wall_seconds", rc.TIME_SHIFT), ("iterations", "iterations", ITERATION_SHIFT)):
        ours_mean = rc.shifted_geometric_mean([number(ours[n], column) for n in common], shift)
        peer_mean = rc.shifted_geometric_mean([number(peer[n], column) for n in common], shift)
        result[key] = (ours_mean, peer_mean, ratio(ours_mean, peer_mean))
    return result


def own_mean_time(rows):
    return rc.shifted_geometric_mean([number(r, "wall_seconds") for r in rows.values() if solved(r)])


def fmt(value, digits=3):
    return f"{value:.{digits}g}" if value == value else "-"


def model_table(ours, peer, common):
    lines = ["| model | Morvex status | peer status | time ratio | iteration ratio |",
             "|---|---:|---:|---:|---:|"]
    for name in common:
        o, p = ours[name], peer[name]
        lines.append(f"| {name} | {o['status']} | {p['status']} | "
                     f"{fmt(ratio(number(o, 'wall_seconds'), number(p, 'wall_seconds')))} | "
                     f"{fmt(ratio(number(o, 'iterations'), number(p, 'iterations')))} |")
    return lines


def integer_models(folder):
    if not folder:
        return set()
    return {name for name, row in rc.read_reference(folder).items() if int(row.get("nint") or 0) > 0}


def continuous_counts(ours, peer, integers):
    if not integers:
        return []
    keep = [n for n in ours if n not in integers]
    return [f"| solved, the {len(keep)} models without integer variables | "
            f"{sum(solved(ours[n]) for n in keep)} | {sum(solved(peer[n]) for n in keep if n in peer)} |"]


def report(ours, peer, title, tolerance, no_peer, notes=(), integers=frozenset()):
    lines = [f"# {title}", ""] + [f"{note}  " for note in notes] + ([""] if notes else [])
    if peer is None:
        summary = compare(ours, {}, tolerance)
        lines += [f"Peer: not run ({no_peer}).", "",
                  f"- models: {len(ours)}",
                  f"- Morvex solved: {summary['ours_solved']}",
                  f"- Morvex agreeing with the reference (relative error <= {tolerance:g}): {summary['ours_agree']}",
                  f"- Morvex shifted geometric mean time (10 ms shift, solved models): "
                  f"{fmt(own_mean_time(ours), 4)} s"]
        return "\n".join(lines) + "\n"
    s = compare(ours, peer, tolerance)
    lines += ["Ratios are Morvex / peer over the models both solve (status 0); below 1 Morvex is faster "
              "or needs fewer iterations.", ""]
    lines += model_table(ours, peer, s["common"]) if s["common"] else ["No model is solved by both."]
    lines += ["", "| | Morvex | peer |", "|---|---:|---:|",
              f"| models | {len(ours)} | {len(peer)} |",
              f"| solved | {s['ours_solved']} | {s['peer_solved']} |"] + continuous_counts(ours, peer, integers) + [
              f"| shifted geometric mean time of its own solved models, s (shift 10 ms) | "
              f"{fmt(own_mean_time(ours), 4)} | {fmt(own_mean_time(peer), 4)} |",
              f"| agreeing with the reference (relative error <= {tolerance:g}) | {s['ours_agree']} | {s['peer_agree']} |",
              "", f"Solved by both: {len(s['common'])}", "",
              "| shifted geometric mean (models both solve) | Morvex | peer | ratio |", "|---|---:|---:|---:|",
              f"| wall time, s (shift 10 ms) | {fmt(s['time'][0], 4)} | {fmt(s['time'][1], 4)} | {fmt(s['time'][2])} |",
              f"| iterations (shift 10) | {fmt(s['iterations'][0], 4)} | {fmt(s['iterations'][1], 4)} | "
              f"{fmt(s['iterations'][2])} |"]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("ours")
    parser.add_argument("peer", nargs="?")
    parser.add_argument("--title", default="Morvex and the peer solver")
    parser.add_argument("--no-peer", default="no peer CSV given")
    parser.add_argument("--tolerance", type=float, default=1e-5)
    parser.add_argument("--note", action="append", default=[], help="a line under the title (repeatable)")
    parser.add_argument("--out", default=None)
    parser.add_argument("--collection", default=None, help="the models' folder, for its reference table")
    args = parser.parse_args()
    text = report(read_rows(args.ours), read_rows(args.peer) if args.peer else None, args.title,
                  args.tolerance, args.no_peer, args.note, integer_models(args.collection))
    if args.out:
        with open(args.out, "w") as f:
            f.write(text)
    sys.stdout.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
