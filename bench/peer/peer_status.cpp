// Status mapping and the report of a peer run.
#include <IpReturnCodes.hpp>

#include <sys/stat.h>

#include <cstdio>

#include "bench/peer/peer_run.h"

int peer_map_status(int peerStatus, bool feasible) {
  switch (static_cast<Ipopt::ApplicationReturnStatus>(peerStatus)) {
    case Ipopt::Solve_Succeeded: return PEER_RC_OPTIMAL;
    case Ipopt::Solved_To_Acceptable_Level: return PEER_RC_ACCEPTABLE;
    case Ipopt::Feasible_Point_Found: return PEER_RC_FEAS_POINT;
    case Ipopt::Infeasible_Problem_Detected: return PEER_RC_INFEASIBLE;
    case Ipopt::Search_Direction_Becomes_Too_Small:
      return feasible ? PEER_RC_FEAS_SMALL_STEP : PEER_RC_INFEAS_SMALL_STEP;
    case Ipopt::Restoration_Failed: return feasible ? PEER_RC_FEAS_NO_PROGRESS : PEER_RC_INFEAS_NO_PROGRESS;
    case Ipopt::Diverging_Iterates: return PEER_RC_UNBOUNDED;
    case Ipopt::Maximum_Iterations_Exceeded: return feasible ? PEER_RC_ITER_LIMIT_FEAS : PEER_RC_ITER_LIMIT_INFEAS;
    case Ipopt::Maximum_CpuTime_Exceeded: return feasible ? PEER_RC_TIME_LIMIT_FEAS : PEER_RC_TIME_LIMIT_INFEAS;
    case Ipopt::User_Requested_Stop: return PEER_RC_STOPPED;
    case Ipopt::Invalid_Number_Detected: return PEER_RC_EVAL_ERROR;
    case Ipopt::Insufficient_Memory: return PEER_RC_OUT_OF_MEMORY;
    case Ipopt::Not_Enough_Degrees_Of_Freedom: return PEER_RC_DEGREES_OF_FREEDOM;
    case Ipopt::Invalid_Problem_Definition: return PEER_RC_BAD_PROBLEM;
    case Ipopt::Invalid_Option: return PEER_RC_BAD_OPTION;
    case Ipopt::Error_In_Step_Computation: return PEER_RC_STEP_ERROR;
    default: return PEER_RC_INTERNAL;
  }
}

std::string peer_model_name(const std::string &path) {
  std::string base = path.substr(path.find_last_of('/') + 1);
  for (const char *suffix : {".nl.gz", ".nl"}) {
    const std::string s(suffix);
    if (base.size() > s.size() && base.compare(base.size() - s.size(), s.size(), s) == 0)
      return base.substr(0, base.size() - s.size());
  }
  return base;
}

void peer_print_line(std::FILE *out, const std::string &name, const PeerResult &r) {
  // "-" stands for no objective value: the solve ended before a final point.
  char objective[32] = "-";
  if (r.haveObjective) std::snprintf(objective, sizeof objective, "%.17g", r.objective);
  std::fprintf(out, "morvex_peer: %s status=%d objective=%s feaserror=%.3e iterations=%d evaluations=%d time=%.6f",
               name.c_str(), r.status, objective, r.feasError, r.iterations, r.evaluations, r.seconds);
  if (!r.notes.empty()) std::fprintf(out, " notes=%s", r.notes.c_str());
  std::fputc('\n', out);
}

bool peer_append_csv(const std::string &path, const std::string &name, const PeerResult &r) {
  struct stat st {};
  const bool fresh = stat(path.c_str(), &st) != 0 || st.st_size == 0;
  std::FILE *f = std::fopen(path.c_str(), "a");
  if (f == nullptr) return false;
  if (fresh)
    std::fprintf(f, "name,n,m,status,objective,reference,relative_error,iterations,evaluations,wall_seconds,notes\n");
  std::string n = r.n >= 0 ? std::to_string(r.n) : "", m = r.m >= 0 ? std::to_string(r.m) : "";
  std::fprintf(f, "%s,%s,%s,%d,", name.c_str(), n.c_str(), m.c_str(), r.status);
  if (r.haveObjective) std::fprintf(f, "%.17g", r.objective);
  std::fprintf(f, ",,,%d,%d,%.6f,%s\n", r.iterations, r.evaluations, r.seconds, r.notes.c_str());
  return std::fclose(f) == 0;
}
