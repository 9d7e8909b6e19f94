#include "driver/exit_messages.h"

#include "driver/print.h"

#define MX_SUPPORT "support@morvex.dev"

static const MxExitMessage mxContinuousExits[] = {
    {0, MX_EXIT_MS_FSTOPVAL, "EXIT: Optimal or satisfactory solution found.\n"},
    {0, MX_EXIT_FSTOP_MIN, "EXIT: Satisfactory solution found.\n"
                           "      The solution estimate is feasible with objective <= %e\n"},
    {0, MX_EXIT_FSTOP_MAX, "EXIT: Satisfactory solution found.\n"
                           "      The solution estimate is feasible with objective >= %e\n"},
    {0, MX_EXIT_CONVEX, "EXIT: Optimal solution found.\n"},
    {0, MX_EXIT_NONCONVEX, "EXIT: Locally optimal solution found.\n"},
    {0, MX_EXIT_PRESOLVE_STOP, "EXIT: Termination after presolve.\n"},
    {0, MX_EXIT_INITPT_STOP, "EXIT: Termination after initial point.\n"},
    {0, MX_EXIT_UNKNOWN, "EXIT: Unknown termination.\n"},
    {-100, MX_EXIT_ANY, "EXIT: Primal feasible solution estimate cannot be improved. It appears to be\n"
                        "      optimal, but desired accuracy in dual feasibility could not be achieved.\n"},
    {-101, MX_EXIT_ITERS_ONE, "EXIT: Primal feasible solution; terminate because the relative change in\n"
                              "      solution estimate < xtol.\n"},
    {-101, MX_EXIT_ITERS_MANY, "EXIT: Primal feasible solution; terminate because the relative change in\n"
                               "      solution estimate < xtol for %d consecutive iterations.\n"},
    {-102, MX_EXIT_ANY, "EXIT: Primal feasible solution estimate cannot be improved; desired accuracy\n"
                        "      in dual feasibility could not be achieved.\n"},
    {-103, MX_EXIT_ANY, "EXIT: Primal feasible solution; terminate because the relative change in\n"
                        "      the objective function < %e for %d consecutive feasible iterations.\n"
                        "      Decrease ftol or increase ftol_iters to try for more accuracy.\n"},
    {-200, MX_EXIT_PROVEN, "EXIT: The problem is determined to be infeasible.\n"},
    {-200, MX_EXIT_CONVEX, "EXIT: Convergence to an infeasible point. The problem is determined\n"
                           "      to be infeasible.\n"},
    {-200, MX_EXIT_NONCONVEX, "EXIT: Convergence to an infeasible point. Problem appears to be locally\n"
                              "      infeasible. If problem is believed to be feasible, try multistart \n"
                              "      to search for feasible points, or decrease infeastol.\n"},
    {-201, MX_EXIT_ITERS_ONE, "EXIT: Terminate at infeasible point because the relative change in solution\n"
                              "      estimate < xtol.\n"},
    {-201, MX_EXIT_ITERS_MANY, "EXIT: Terminate at infeasible point because the relative change in solution\n"
                               "      estimate < xtol for %d consecutive iterations.\n"},
    {-202, MX_EXIT_CONVEX, "EXIT: Current infeasible solution estimate cannot be improved.\n"},
    {-202, MX_EXIT_NONCONVEX, "EXIT: Current infeasible solution estimate cannot be improved. Problem may\n"
                              "      be locally infeasible. If problem is believed to be feasible, try\n"
                              "      multistart to search for feasible points.\n"},
    {-203, MX_EXIT_ANY, "MULTISTART: No primal feasible point found.\n"},
    {-204, MX_EXIT_ANY, "EXIT: Problem determined to be infeasible with respect to constraint bounds.\n"},
    {-205, MX_EXIT_ANY, "EXIT: Problem determined to be infeasible with respect to variable bounds.\n"},
    {-300, MX_EXIT_LP_ACTIVE, "EXIT: Problem appears to be unbounded.\n"},
    {-300, MX_EXIT_ANY, "EXIT: Problem appears to be unbounded. Iterate is feasible and objective\n"
                        "      magnitude > objrange.\n"},
    {-301, MX_EXIT_ANY, "EXIT: Problem is unbounded or infeasible.\n"},
    {-400, MX_EXIT_ANY, "EXIT: Iteration limit reached. Current point is feasible.\n"},
    {-401, MX_EXIT_ANY, "EXIT: Time limit reached. Current point is feasible.\n"},
    {-402, MX_EXIT_ANY, "EXIT: Function evaluation limit reached. Current point is feasible.\n"},
    {-410, MX_EXIT_ANY, "EXIT: Iteration limit reached. Current point is infeasible.\n"},
    {-411, MX_EXIT_ANY, "EXIT: Time limit reached. Current point is infeasible.\n"},
    {-412, MX_EXIT_ANY, "EXIT: Function evaluation limit reached. Current point is infeasible.\n"},
    {-500, MX_EXIT_ANY, "EXIT: Callback function error.\n"},
    {-501, MX_EXIT_ANY, "EXIT: LP solver error.\n"},
    {-502, MX_EXIT_ANY, "EXIT: Evaluation error.\n"},
    {-503, MX_EXIT_ANY, "EXIT: Not enough memory available to solve problem.\n"},
    {-504, MX_EXIT_ANY, "EXIT: Termination by user.\n"},
    {-600, MX_EXIT_ANY, "EXIT: Internal Error.  Please notify " MX_SUPPORT "\n"},
};

static const MxExitMessage mxMixedIntegerExits[] = {
    {0, MX_EXIT_CONVEX, "EXIT: Optimal solution found.\n"},
    {0, MX_EXIT_CONVEXITY_UNKNOWN, "EXIT: Optimal solution found (assuming convexity).\n"},
    {0, MX_EXIT_NONCONVEX, "EXIT: Satisfactory solution found.\n"},
    {-200, MX_EXIT_ANY, "EXIT: Problem appears to be infeasible.\n"},
    {-300, MX_EXIT_ANY, "EXIT: Problem appears to be unbounded.\n"},
    {-400, MX_EXIT_ANY, "EXIT: Iteration limit reached. Integer feasible point found.\n"},
    {-401, MX_EXIT_ANY, "EXIT: Time limit reached. Integer feasible point found.\n"},
    {-402, MX_EXIT_ANY, "EXIT: Function evaluation limit reached. Integer feasible point found.\n"},
    {-403, MX_EXIT_MISQP, "EXIT: MISQP algorithm completed. Integer feasible point found.\n"},
    {-403, MX_EXIT_ANY, "EXIT: All nodes have been explored. Integer feasible point found.\n"},
    {-404, MX_EXIT_ANY, "EXIT: Terminating at first integer feasible point.\n"},
    {-405, MX_EXIT_ANY, "EXIT: Subproblem solve limit reached. Integer feasible point found.\n"},
    {-406, MX_EXIT_ANY, "EXIT: Node limit reached. Integer feasible point found.\n"},
    {-410, MX_EXIT_ANY, "EXIT: Iteration limit reached. No integer feasible point found.\n"},
    {-411, MX_EXIT_ANY, "EXIT: Time limit reached. No integer feasible point found.\n"},
    {-412, MX_EXIT_ANY, "EXIT: Function evaluation limit reached. No integer feasible point found.\n"},
    {-413, MX_EXIT_MISQP, "EXIT: MISQP algorithm completed. No integer feasible point found.\n"},
    {-413, MX_EXIT_ANY, "EXIT: All nodes have been explored. No integer feasible point found.\n"},
    {-415, MX_EXIT_ANY, "EXIT: Subproblem solve limit reached. No integer feasible point found.\n"},
    {-416, MX_EXIT_ANY, "EXIT: Node limit reached. No integer feasible point found.\n"},
};

const MxExitMessage *mxl_exit_messages(int mixedInteger, int *count) {
  if (mixedInteger) {
    *count = static_cast<int>(sizeof mxMixedIntegerExits / sizeof mxMixedIntegerExits[0]);
    return mxMixedIntegerExits;
  }
  *count = static_cast<int>(sizeof mxContinuousExits / sizeof mxContinuousExits[0]);
  return mxContinuousExits;
}

// The circumstance that decides among the messages of a continuous code.
static MxExitVariant mx_continuous_variant(int code, const MxExitInfo &info) {
  switch (code) {
    case 0:
      if (info.msEnable && info.fstopvalInForce) return MX_EXIT_MS_FSTOPVAL;
      if (info.fstopvalStopped) return info.maximize ? MX_EXIT_FSTOP_MAX : MX_EXIT_FSTOP_MIN;
      if (info.algorithm >= 0) return info.convex == 1 ? MX_EXIT_CONVEX : MX_EXIT_NONCONVEX;
      if (info.algorithm == -1) return MX_EXIT_PRESOLVE_STOP;
      if (info.algorithm == -2) return MX_EXIT_INITPT_STOP;
      return MX_EXIT_UNKNOWN;
    case -101:
    case -201:
      return info.xtolIters == 1 ? MX_EXIT_ITERS_ONE : MX_EXIT_ITERS_MANY;
    case -200:
      if (info.infeasibilityProven) return MX_EXIT_PROVEN;
      return info.convex == 1 ? MX_EXIT_CONVEX : MX_EXIT_NONCONVEX;
    case -202:
      return info.convex == 1 ? MX_EXIT_CONVEX : MX_EXIT_NONCONVEX;
    case -300:
      return info.lpOnActiveSet ? MX_EXIT_LP_ACTIVE : MX_EXIT_ANY;
    default:
      return MX_EXIT_ANY;
  }
}

static MxExitVariant mx_mixed_integer_variant(int code, const MxExitInfo &info) {
  if (code == 0)
    return info.convex == 1 ? MX_EXIT_CONVEX : info.convex == -1 ? MX_EXIT_CONVEXITY_UNKNOWN : MX_EXIT_NONCONVEX;
  if (code == -403 || code == -413) return info.misqp ? MX_EXIT_MISQP : MX_EXIT_ANY;
  return MX_EXIT_ANY;
}

const MxExitMessage *mxl_find_exit_message(int mixedInteger, int code, const MxExitInfo &info) {
  // The mixed-integer table reads all infeasibility codes alike.
  if (mixedInteger && code <= -200 && code >= -205) code = -200;
  const MxExitVariant variant =
      mixedInteger ? mx_mixed_integer_variant(code, info) : mx_continuous_variant(code, info);
  int count = 0;
  const MxExitMessage *rows = mxl_exit_messages(mixedInteger, &count);
  for (int i = 0; i < count; ++i)
    if (rows[i].code == code && rows[i].variant == variant) return &rows[i];
  return nullptr;
}

void printExitMessage(MXL_context *ctx, int mixedInteger, int code, const MxExitInfo &info) {
  const MxExitMessage *row = mxl_find_exit_message(mixedInteger, code, info);
  if (row == nullptr) {
    if (mixedInteger) {
      mxl_printf(ctx, "EXIT: Termination code %d.\n", code);
      mxl_printf(ctx, "      Morvex could not solve the problem.\n");
    } else if (code <= -505 && code >= -532) {
      mxl_printf(ctx, "EXIT: Fatal Error, MXL_RC = %d.  Please check the User Manual.\n", code);
    } else {
      mxl_printf(ctx, "EXIT: Unknown termination code %d.\n", code);
      mxl_printf(ctx, "      Please report it to " MX_SUPPORT ".\n");
    }
    return;
  }
  switch (row->variant) {
    case MX_EXIT_FSTOP_MIN:
    case MX_EXIT_FSTOP_MAX:
      mxl_printf(ctx, row->text, info.fstopval);
      break;
    case MX_EXIT_ITERS_MANY:
      mxl_printf(ctx, row->text, info.xtolIters);
      break;
    default:
      if (code == -103)
        mxl_printf(ctx, row->text, info.ftol, info.ftolIters);
      else
        mxl_printf(ctx, "%s", row->text);
  }
}
