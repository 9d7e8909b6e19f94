// The final report: exit message, hints, statistics and solution vectors.
#include <cmath>

#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"
#include "interface/structures.h"

namespace {

void mx_print_multistart_line(MXL_context *ctx, int code, const MxSolveStats &stats) {
  if (code == 0)
    mxl_printf(ctx, ctx->opt.objrange > std::fabs(ctx->opt.fstopval)
                        ? "MULTISTART: Best optimal or satisfactory solution is returned.\n"
                        : "MULTISTART: Best locally optimal solution is returned.\n");
  else
    mxl_printf(ctx, stats.feasible ? "MULTISTART: Best feasible solution estimate is returned.\n"
                                   : "MULTISTART: Least infeasible point is returned.\n");
}

double mx_relative(double abs, double scale) { return scale > 0.0 ? abs / scale : abs; }

void mx_print_statistics(MXL_context *ctx, const MxSolveStats &s) {
  mxl_printf(ctx, "\nFinal Statistics\n");
  mxl_printf(ctx, "----------------\n");
  mxl_printf(ctx, "Final objective value               = %22.14e\n", s.objective);
  mxl_printf(ctx, "Final feasibility error (abs / rel) =   %8.2e / %8.2e\n", s.absFeasError,
             mx_relative(s.absFeasError, s.feasScale));
  mxl_printf(ctx, "Final optimality error  (abs / rel) =   %8.2e / %8.2e\n", s.absOptError,
             mx_relative(s.absOptError, s.optScale));
  mxl_printf(ctx, "# of iterations                     = %10d \n", s.iterations);
  mxl_printf(ctx, "# of CG iterations                  = %10d \n", s.cgIterations);
  if (ctx->isLeastSquares) {
    mxl_printf(ctx, "# of residual evaluations           = %10d\n", s.fevals);
    mxl_printf(ctx, "# of Jacobian evaluations           = %10d\n", s.gevals);
  } else {
    mxl_printf(ctx, "# of function evaluations           = %10d\n", s.fevals);
    mxl_printf(ctx, "# of gradient evaluations           = %10d\n", s.gevals);
  }
  if (s.exactHessian) mxl_printf(ctx, "# of Hessian evaluations            = %10d\n", s.hevals);
  if (s.hessianVectorProducts) mxl_printf(ctx, "# of Hessian-vector product evals   = %10d\n", s.hvevals);
  mxl_printf(ctx, "Total program time (secs)           =  %12.5f (%10.3f CPU time)\n", s.realTime, s.cpuTime);
  if (!ctx->opt.ms_enable && ctx->opt.algorithm != 5)
    mxl_printf(ctx, "Time spent in evaluations (secs)    =  %12.5f\n", s.evalTime);
}

void mx_print_vectors(MXL_context *ctx) {
  const int level = ctx->opt.outlev;
  const size_t m = static_cast<size_t>(ctx->m);
  const bool varNames = ctx->var.name.exists(), conNames = ctx->con.name.exists();
  if (level >= 6) {
    mxl_printf(ctx, "Constraint Vector \t\t     Lagrange Multipliers\n");
    mxl_printf(ctx, "----------------- \t\t     ---------------------\n");
    for (size_t j = 0; j < m; ++j) {
      if (conNames)
        mxl_printf(ctx, "%15s = %19.11e,  lambda[%8zu] = %19.11e\n", ctx->con.name.v[j].c_str(), ctx->con.c[j], j, ctx->lambda[j]);
      else
        mxl_printf(ctx, "c[%8zu] = %19.11e,   lambda[%8zu] = %19.11e\n", j, ctx->con.c[j], j, ctx->lambda[j]);
    }
  }
  mxl_printf(ctx, "Solution Vector\n");
  mxl_printf(ctx, "---------------\n");
  for (size_t i = 0; i < static_cast<size_t>(ctx->n); ++i) {
    const char *name = varNames ? ctx->var.name.v[i].c_str() : nullptr;
    const double x = ctx->var.x[i], l = ctx->lambda[m + i];
    if (level >= 6 && name != nullptr)
      mxl_printf(ctx, "%15s = %19.11e,  lambda[%8zu] = %19.11e\n", name, x, m + i, l);
    else if (level >= 6)
      mxl_printf(ctx, "x[%8zu] = %19.11e,   lambda[%8zu] = %19.11e\n", i, x, m + i, l);
    else if (name != nullptr)
      mxl_printf(ctx, "%15s = %19.11e\n", name, x);
    else
      mxl_printf(ctx, "x[%8zu] = %19.11e\n", i, x);
  }
}

// Hints about quadratic and mixed-integer models.
void mx_print_model_class_hints(MXL_context *ctx, int code, const MxProblemCounts &c,
                                const MxSolveStats &s) {
  const double share = s.realTime > 0.0 ? 100.0 * s.convexityCheckTime / s.realTime : 0.0;
  if (s.quadraticModel && ctx->opt.convex == -1 && share >= 1.0) {
    mxl_printf(ctx, "\nHINT: Morvex spent %5.1f%% of solution time (%f secs) checking model\n", share,
               s.convexityCheckTime);
    mxl_printf(ctx, "      convexity. To skip the automatic convexity checker for QPs and QCQPs,\n");
    mxl_printf(ctx, "      explicity set the user option convex=0 or convex=1.\n");
  }
  if (s.quadraticModel && s.convexity == 0 && ctx->resolvedQcqpInit == 0 && code != 0) {
    mxl_printf(ctx, "\nHINT: The problem appears to be a non-convex QP or QCQP.  It is advised to\n");
    mxl_printf(ctx, "      experiment with different initialization strategies via the user option\n");
    mxl_printf(ctx, "      ncvx_qcqp_init to try to improve performance or the solution quality.\n");
  }
  const bool integers = c.binary + c.integer > 0;
  if (integers && ctx->opt.mip_method == 1 && s.convexity != 1 && ctx->opt.mip_multistart == 0) {
    mxl_printf(ctx, "\nHINT: The problem may be a non-convex mixed-integer problem.  Set\n");
    mxl_printf(ctx, "      mip_multistart=1 to enable a mixed-integer multistart heuristic,\n");
    mxl_printf(ctx, "      which may improve the chances of finding the global solution.\n");
  }
  if (ctx->opt.mip_method == 3 && ctx->opt.ms_enable == 0 && ctx->opt.mip_multistart == 0) {
    mxl_printf(ctx, "\nHINT: The MISQP algorithm is just a heuristic for mixed-integer problems.\n");
    mxl_printf(ctx, "      Use mip_multistart=1 to enable a mixed-integer multistart heuristic,\n");
    mxl_printf(ctx, "      which may improve the chances of finding the global solution.\n");
  }
}

}  // namespace

void printFinal(MXL_context *ctx, int writeCsv, int code, const MxExitInfo &info,
                const MxSolveStats &stats, int printStats) {
  if (writeCsv) printCSVsolveInfo(ctx, code, mxCountProblem(ctx), stats);
  if (ctx->opt.outlev == 0) return;
  mxl_printf(ctx, "\n");
  if (ctx->opt.ms_enable == 1) mx_print_multistart_line(ctx, code, stats);
  if (ctx->isMixedInteger) return;
  printExitMessage(ctx, 0, code, info);
  if (ctx->opt.out_hints == 1) printHints(ctx, code, mxCountProblem(ctx), stats);
  if (printStats && ctx->opt.algorithm >= -1) mx_print_statistics(ctx, stats);
  if (ctx->opt.outlev >= 5) mx_print_vectors(ctx);
  mxl_printf(ctx, "\n===============================================================================\n\n");
}

void printHints(MXL_context *ctx, int code, const MxProblemCounts &c, const MxSolveStats &stats) {
  if (stats.stoppedOnFindiffError) {
    mxl_printf(ctx, "\nHINT: Stopped because error in finite-difference gradient approximation exceeds\n");
    mxl_printf(ctx, "      optimality tolerance.  Use findiff_terminate option to control\n");
    mxl_printf(ctx, "      termination when using finite-differencing.\n");
  }
  if (stats.msRuleStopped) {
    mxl_printf(ctx, "\nHINT: Multi-start stopped because of a low estimated probability of finding\n");
    mxl_printf(ctx, "      an unobserved solution. Set ms_terminate=0 to disable multi-start rule-based\n");
    mxl_printf(ctx, "      termination procedure.\n");
  }
  const bool cones = ctx->model && !ctx->model->conics.empty();
  if (cones && ctx->opt.bar_conic_enable == 0) {
    mxl_printf(ctx, "\nHINT: Cone constraints were identified, but option bar_conic_enable=0.\n");
    mxl_printf(ctx, "      Setting bar_conic_enable=1 may improve performance.\n");
  }
  const int inequalities = c.linIneq + c.quadIneq + c.nlIneq + c.linRange + c.quadRange + c.nlRange;
  if (c.objType == MX_OBJTYPE_NONE && inequalities == 0 && c.equalities() > 0 && c.comps == 0 &&
      !cones) {
    mxl_printf(ctx, "\nHINT: The problem seems to be a least-squares model (i.e. the objective\n");
    mxl_printf(ctx, "      function is constant and there are no general inequality constraints).\n");
    mxl_printf(ctx, "      Using the Morvex least-squares interface may improve performance.\n");
  }
  if (ctx->resolvedLinsolver < 6 && static_cast<long>(c.n) + c.m >= 100000) {
    mxl_printf(ctx, "\nHINT: For large problems, one of the parallel linear solvers available in \n");
    mxl_printf(ctx, "      Morvex (e.g., linsolver=6, 7, or 8) may improve performance.\n");
  }
  mx_print_model_class_hints(ctx, code, c, stats);
}
