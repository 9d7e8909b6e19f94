#!/usr/bin/env bash
# The collection benchmarks in one command: Morvex's collection runner on the
# shared CUTE .nl models and netlib LPs, the peer solver beside it on the CUTE
# models, and one Markdown report per collection in
# bench/results/<date>-<collection>.md. The CSVs stay in build/bench-results/.
#
#   bench/run_all.sh [--reuse-peer]
#
# --reuse-peer keeps a peer CSV already in build/bench-results/ (the peer does
# not change between Morvex runs; its CUTE run takes a while).
# Environment: MORVEX_DATA_DIR (default ../shared/data beside the repository),
# TIME_LIMIT (seconds per model, default 60).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
data=${MORVEX_DATA_DIR:-$root/../shared/data}
csvs=$root/build/bench-results
time_limit=${TIME_LIMIT:-60}
reuse_peer=0
[ "${1:-}" = "--reuse-peer" ] && reuse_peer=1
day=$(date -u +%Y-%m-%d)
# One BLAS thread: the machine's cores are shared, and both solvers get the same.
export OPENBLAS_NUM_THREADS=${OPENBLAS_NUM_THREADS:-1} OMP_NUM_THREADS=${OMP_NUM_THREADS:-1}

if [ ! -d "$data" ]; then
  echo "run_all: $data not found; skipping the collection benchmarks"
  exit 0
fi
mkdir -p "$csvs" "$root/bench/results"
note="Time limit ${time_limit} s per model (Morvex: wall clock; peer: CPU time), one model at a time, one BLAS thread; wall time is that of the whole solver process."

run_collection() {  # name
  local name=$1
  if [ ! -d "$data/$name" ]; then
    echo "run_all: $data/$name not found; skipping"
    return 1
  fi
  echo "run_all: Morvex on $name"
  python3 "$root/bench/run_collection.py" "$data/$name" --time-limit "$time_limit" --csv "$csvs/morvex-$name.csv"
}

cute=nl-cute-pyomo-ampl
if run_collection $cute; then
  peer_csv=$csvs/peer-$cute.csv
  peer=$root/build/release/bench/peer/morvex_peer
  if [ $reuse_peer = 1 ] && [ -s "$peer_csv" ]; then
    echo "run_all: reusing $peer_csv"
  elif [ -x "$peer" ]; then
    echo "run_all: peer on $cute"
    python3 "$root/bench/run_peer.py" "$data/$cute" --peer "$peer" --time-limit "$time_limit" --csv "$peer_csv"
  else
    echo "run_all: morvex_peer not built (scripts/install-bench-deps.sh installs the peer); Morvex alone on $cute"
    peer_csv=""
  fi
  python3 "$root/bench/compare.py" "$csvs/morvex-$cute.csv" ${peer_csv:+"$peer_csv"} \
    --title "Morvex and the peer solver on $cute ($day)" --note "$note" \
    --no-peer "morvex_peer is not built" --collection "$data/$cute" \
    --out "$root/bench/results/$day-$cute.md" > /dev/null
  echo "run_all: wrote bench/results/$day-$cute.md"
fi

netlib=netlib-lp
if run_collection $netlib; then
  echo "run_all: peer skipped on $netlib: it reads .nl models only, and netlib's are MPS"
  python3 "$root/bench/compare.py" "$csvs/morvex-$netlib.csv" \
    --title "Morvex on $netlib ($day)" --note "$note" \
    --no-peer "it reads .nl models only, and these are MPS files" \
    --out "$root/bench/results/$day-$netlib.md" > /dev/null
  echo "run_all: wrote bench/results/$day-$netlib.md"
fi
