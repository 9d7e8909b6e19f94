// morvex_peer: solves one .nl model with the open interior-point peer solver
// (exact Hessians, default options plus a CPU-time limit), prints one result
// line and optionally appends a row to a CSV in bench/run_collection.py's
// format.
//
//   morvex_peer MODEL.nl[.gz] [--time-limit SECONDS] [--csv FILE]
//
// status: the peer's end mapped onto Morvex's return-code classes (see
// peer_status.cpp); time: wall seconds from before the .nl read to the end
// of the solve.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "bench/peer/peer_run.h"

namespace {

struct PeerArgs {
  std::string model, csv;
  double timeLimit = 60.0;
};

bool peer_parse_args(int argc, char **argv, PeerArgs &args) {
  for (int i = 1; i < argc; ++i) {
    const bool hasValue = i + 1 < argc;
    if (std::strcmp(argv[i], "--time-limit") == 0 && hasValue) {
      char *end = nullptr;
      args.timeLimit = std::strtod(argv[++i], &end);
      if (*end != '\0' || !(args.timeLimit > 0.0)) return false;
    } else if (std::strcmp(argv[i], "--csv") == 0 && hasValue) {
      args.csv = argv[++i];
    } else if (argv[i][0] != '-' && args.model.empty()) {
      args.model = argv[i];
    } else {
      return false;
    }
  }
  return !args.model.empty();
}

}  // namespace

int main(int argc, char **argv) {
  PeerArgs args;
  if (!peer_parse_args(argc, argv, args)) {
    std::fprintf(stderr, "usage: morvex_peer MODEL.nl[.gz] [--time-limit SECONDS] [--csv FILE]\n");
    return 1;
  }
  const auto start = std::chrono::steady_clock::now();
  PeerResult result;
  try {
    result = peer_solve_file(args.model, args.timeLimit);
  } catch (const std::exception &e) {
    result.status = PEER_RC_INTERNAL;
    result.notes = std::string("exception: ") + e.what();
  }
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const std::string name = peer_model_name(args.model);
  peer_print_line(stdout, name, result);
  if (!args.csv.empty() && !peer_append_csv(args.csv, name, result)) {
    std::fprintf(stderr, "morvex_peer: could not append to '%s'\n", args.csv.c_str());
    return 1;
  }
  return result.status == 0 ? 0 : 2;
}
