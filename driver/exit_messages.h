// Exit messages of a solve, one table per kind of run (continuous and
// mixed-integer), keyed by return code and the circumstance of the stop.
#pragma once

struct MXL_context;

// Circumstances that select among the messages of one code.
enum MxExitVariant {
  MX_EXIT_ANY = 0,
  MX_EXIT_MS_FSTOPVAL,     // 0: multi-start with an objective target in force
  MX_EXIT_FSTOP_MIN,       // 0: stopped by the objective target, minimizing
  MX_EXIT_FSTOP_MAX,       // 0: stopped by the objective target, maximizing
  MX_EXIT_CONVEX,          // proven or declared convex
  MX_EXIT_NONCONVEX,       // convexity unknown or not convex
  MX_EXIT_PRESOLVE_STOP,   // 0: algorithm -1
  MX_EXIT_INITPT_STOP,     // 0: algorithm -2
  MX_EXIT_UNKNOWN,         // 0: any other algorithm value
  MX_EXIT_ITERS_ONE,       // -101/-201 with xtol_iters 1
  MX_EXIT_ITERS_MANY,      // -101/-201 with xtol_iters other than 1
  MX_EXIT_PROVEN,          // -200: infeasibility proven (presolve or a proof)
  MX_EXIT_LP_ACTIVE,       // -300: an LP on an active-set algorithm
  MX_EXIT_CONVEXITY_UNKNOWN,  // mixed-integer 0: convexity not known
  MX_EXIT_MISQP,           // mixed-integer -403/-413 from the MISQP method
};

struct MxExitMessage {
  int code;
  MxExitVariant variant;
  const char *text;  // one or more lines; may hold one number format
};

// What the exit message of a continuous run depends on.
struct MxExitInfo {
  int msEnable = 0;
  int fstopvalInForce = 0;
  int fstopvalStopped = 0;
  int maximize = 0;
  double fstopval = 0.0;
  int algorithm = 0;
  int convex = 0;
  int infeasibilityProven = 0;
  int lpOnActiveSet = 0;
  int xtolIters = 0;
  double ftol = 0.0;
  int ftolIters = 0;
  int misqp = 0;
};

const MxExitMessage *mxl_exit_messages(int mixedInteger, int *count);
// The row that applies to a code in the given circumstances, or null.
const MxExitMessage *mxl_find_exit_message(int mixedInteger, int code, const MxExitInfo &info);
// Prints the exit message of a code (continuous or mixed-integer table).
void printExitMessage(MXL_context *ctx, int mixedInteger, int code, const MxExitInfo &info);
