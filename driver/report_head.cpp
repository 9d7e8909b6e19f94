// The banner and the problem characteristics printed before a solve.
#include <cstring>

#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"

namespace {

void mx_count_variables(const MXL_context *ctx, MxProblemCounts &c) {
  c.n = ctx->n;
  for (int i = 0; i < ctx->n; ++i) {
    const double lo = ctx->var.lo[i], up = ctx->var.up[i];
    const bool hasLo = lo > -MX_INF, hasUp = up < MX_INF;
    if (hasLo && hasUp && lo == up)
      ++c.fixed;
    else if (hasLo && hasUp)
      ++c.boundedBoth;
    else if (hasLo)
      ++c.boundedBelow;
    else if (hasUp)
      ++c.boundedAbove;
    else
      ++c.free;
    c.binary += ctx->var.type[i] == MX_VARTYPE_BINARY;
    c.integer += ctx->var.type[i] == MX_VARTYPE_INTEGER;
  }
}

void mx_count_constraints(const MXL_context *ctx, MxProblemCounts &c) {
  c.m = ctx->m;
  for (int j = 0; j < ctx->m; ++j) {
    const double lo = ctx->con.lo[j], up = ctx->con.up[j];
    const bool hasLo = lo > -MX_INF, hasUp = up < MX_INF;
    const int t = ctx->con.type[j];
    const int kind = t == MX_CONTYPE_LINEAR ? 0 : t == MX_CONTYPE_QUADRATIC ? 1 : 2;
    int *eq[3] = {&c.linEq, &c.quadEq, &c.nlEq};
    int *ineq[3] = {&c.linIneq, &c.quadIneq, &c.nlIneq};
    int *range[3] = {&c.linRange, &c.quadRange, &c.nlRange};
    if (hasLo && hasUp && lo == up)
      ++*eq[kind];
    else if (hasLo && hasUp)
      ++*range[kind];
    else
      ++*ineq[kind];
  }
}

void mx_print_row(MXL_context *ctx, const char *label, int value, const int *pre) {
  if (pre != nullptr)
    mxl_printf(ctx, "%s%12d (%12d)\n", label, value, *pre);
  else
    mxl_printf(ctx, "%s%12d\n", label, value);
}

const char *mx_objective_type_line(int type) {
  switch (type) {
    case MX_OBJTYPE_LINEAR: return "Objective type:  linear\n";
    case MX_OBJTYPE_QUADRATIC: return "Objective type:  quadratic\n";
    case MX_OBJTYPE_GENERAL: return "Objective type:  general\n";
    default: return "Objective type:  constant\n";
  }
}

}  // namespace

MxProblemCounts mxCountProblem(const MXL_context *ctx) {
  MxProblemCounts c;
  mx_count_variables(ctx, c);
  mx_count_constraints(ctx, c);
  c.comps = static_cast<int>(ctx->comp.index1.size());
  c.residuals = ctx->r;
  c.nnzJ = ctx->pat.jac.nnz;
  c.nnzResJ = ctx->pat.rsdJac.nnz;
  // The Hessian's size is shown only when the exact matrix is used.
  const int hess = ctx->resolvedHessopt != 0 ? ctx->resolvedHessopt : ctx->opt.hessopt;
  c.nnzH = hess == 1 || hess == 7 ? ctx->pat.hess.nnz : 0;
  c.objGoal = ctx->obj.goal;
  c.objType = ctx->obj.type;
  return c;
}

void printBanner(MXL_context *ctx) {
  char release[64];
  std::snprintf(release, sizeof release, "Morvex %s", MORVEX_VERSION_TEXT);
  mxl_printf(ctx, "\n=======================================\n");
  mxl_printf(ctx, "%s\n", release);
  mxl_printf(ctx, "=======================================\n\n");
}

void printHead(MXL_context *ctx, int quiet, int outlev, const MxProblemCounts &c,
               const MxProblemCounts *p) {
  if (quiet || outlev < 1) return;
  mxl_printf(ctx, p != nullptr ? "Problem Characteristics                                 (   Presolved)\n"
                               : "Problem Characteristics\n");
  mxl_printf(ctx, "-----------------------\n");
  mxl_printf(ctx, c.objGoal == MX_OBJGOAL_MAXIMIZE ? "Objective goal:  Maximize\n" : "Objective goal:  Minimize\n");
  mxl_printf(ctx, "%s", mx_objective_type_line(c.objType));
  const auto row = [&](const char *label, int MxProblemCounts::*field) {
    mx_print_row(ctx, label, c.*field, p != nullptr ? &(p->*field) : nullptr);
  };
  row("Number of variables:                       ", &MxProblemCounts::n);
  row("    bounded below only:                    ", &MxProblemCounts::boundedBelow);
  row("    bounded above only:                    ", &MxProblemCounts::boundedAbove);
  row("    bounded below and above:               ", &MxProblemCounts::boundedBoth);
  row("    fixed:                                 ", &MxProblemCounts::fixed);
  row("    free:                                  ", &MxProblemCounts::free);
  if (c.binary + c.integer > 0) {
    row("Number of binary variables:                ", &MxProblemCounts::binary);
    row("Number of integer variables:               ", &MxProblemCounts::integer);
  }
  row("Number of constraints:                     ", &MxProblemCounts::m);
  row("    linear equalities:                     ", &MxProblemCounts::linEq);
  row("    quadratic equalities:                  ", &MxProblemCounts::quadEq);
  row("    gen. nonlinear equalities:             ", &MxProblemCounts::nlEq);
  row("    linear one-sided inequalities:         ", &MxProblemCounts::linIneq);
  row("    quadratic one-sided inequalities:      ", &MxProblemCounts::quadIneq);
  row("    gen. nonlinear one-sided inequalities: ", &MxProblemCounts::nlIneq);
  row("    linear two-sided inequalities:         ", &MxProblemCounts::linRange);
  row("    quadratic two-sided inequalities:      ", &MxProblemCounts::quadRange);
  row("    gen. nonlinear two-sided inequalities: ", &MxProblemCounts::nlRange);
  row("Number of complementarities:               ", &MxProblemCounts::comps);
  mxl_printf(ctx, "Number of nonzeros in Jacobian:            %12lld\n", static_cast<long long>(c.nnzJ));
  row("Number of residuals:                       ", &MxProblemCounts::residuals);
  if (c.nnzH > 0)
    mxl_printf(ctx, "Number of nonzeros in Hessian:             %12lld\n", static_cast<long long>(c.nnzH));
  if (c.equalities() > c.n) mxl_printf(ctx, "\nWARNING: Problem has more equality constraints than variables.\n");
}

void printIterHead(MXL_context *ctx, int level, int iteration, int fCount, double obj, double feasError) {
  mxl_printf(ctx, "\n");
  if (level < 4) {
    mxl_printf(ctx, "  Iter      Objective      FeasError   OptError    ||Step||    CGits \n");
    mxl_printf(ctx, "--------  --------------  ----------  ----------  ----------  -------\n");
    mxl_printf(ctx, "%8d  %14.6e %11.3e\n", iteration, obj, feasError);
    return;
  }
  mxl_printf(ctx, "  Iter     fCount     Objective      FeasError   OptError    ||Step||    CGits \n");
  mxl_printf(ctx, "--------  --------  --------------  ----------  ----------  ----------  -------\n");
  mxl_printf(ctx, "%8d  %8d  %14.6e %11.3e\n", iteration, fCount, obj, feasError);
}

void printIter(MXL_context *ctx, int level, unsigned iteration, unsigned fCount, unsigned cgIts,
               int printNow, double obj, double feasError, double optError, double stepNorm) {
  const bool lastAtLevel2 = level == 2 && ctx->status == MX_STATUS_FINISHED;
  if (level < 2 || (level == 2 && printNow != 1 && printNow != 4 && !lastAtLevel2)) return;
  if (ctx->opt.scale != 0 && ctx->obj.scaleFactor != 0.0) obj /= ctx->obj.scaleFactor;
  if (level > 3)
    mxl_printf(ctx, "%8u  %8u  %14.6e %11.3e %11.3e %11.3e  %7u\n", iteration, fCount, obj, feasError,
               optError, stepNorm, cgIts);
  else
    mxl_printf(ctx, "%8u  %14.6e %11.3e %11.3e %11.3e  %7u\n", iteration, obj, feasError, optError,
               stepNorm, cgIts);
}
