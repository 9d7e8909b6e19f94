// One solve of a .nl model by the peer solver, and its report.
#pragma once

#include <cstdio>
#include <string>

// Ends of a run, in Morvex's return-code classes so that both CSVs read the
// same way: 0 optimal, -1xx feasible but not proven optimal, -2xx infeasible,
// -3xx unbounded, -4xx limit reached (-40x feasible, -41x infeasible point),
// -5xx errors.
constexpr int PEER_RC_OPTIMAL = 0;
constexpr int PEER_RC_ACCEPTABLE = -100;        // met the peer's looser "acceptable" test
constexpr int PEER_RC_FEAS_SMALL_STEP = -101;   // stopped on a tiny step at a feasible point
constexpr int PEER_RC_FEAS_NO_PROGRESS = -102;  // restoration failed at a feasible point
constexpr int PEER_RC_FEAS_POINT = -103;        // stopped at a feasible point, optimality not checked
constexpr int PEER_RC_INFEASIBLE = -200;        // local infeasibility detected
constexpr int PEER_RC_INFEAS_SMALL_STEP = -201;
constexpr int PEER_RC_INFEAS_NO_PROGRESS = -202;
constexpr int PEER_RC_UNBOUNDED = -300;         // iterates diverging
constexpr int PEER_RC_ITER_LIMIT_FEAS = -400;
constexpr int PEER_RC_TIME_LIMIT_FEAS = -401;
constexpr int PEER_RC_ITER_LIMIT_INFEAS = -410;
constexpr int PEER_RC_TIME_LIMIT_INFEAS = -411;
constexpr int PEER_RC_EVAL_ERROR = -502;        // invalid number from the model's functions
constexpr int PEER_RC_OUT_OF_MEMORY = -503;
constexpr int PEER_RC_STOPPED = -504;
constexpr int PEER_RC_READ_ERROR = -505;        // the .nl file could not be read
constexpr int PEER_RC_DEGREES_OF_FREEDOM = -506;  // more equalities than variables
constexpr int PEER_RC_BAD_PROBLEM = -507;
constexpr int PEER_RC_BAD_OPTION = -521;
constexpr int PEER_RC_STEP_ERROR = -522;        // the linear solver failed on the step
constexpr int PEER_RC_INTERNAL = -600;

struct PeerResult {
  int status = PEER_RC_INTERNAL;
  int n = -1, m = -1;
  double objective = 0.0;
  bool haveObjective = false;
  double feasError = 0.0;
  int iterations = 0, evaluations = 0;
  double seconds = 0.0;
  std::string notes;  // no commas: it is one CSV field
};

// Maps the peer's final status (its ApplicationReturnStatus value) to a code
// above, given whether the last point meets the bounds within 1e-6.
int peer_map_status(int peerStatus, bool feasible);

// Reads and solves; throws only what the peer's library throws.
PeerResult peer_solve_file(const std::string &path, double timeLimit);

std::string peer_model_name(const std::string &path);
void peer_print_line(std::FILE *out, const std::string &name, const PeerResult &r);
// Appends one row (with the header first when the file is new or empty).
bool peer_append_csv(const std::string &path, const std::string &name, const PeerResult &r);
