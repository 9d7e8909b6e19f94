// Automatic options: the class of the model and the choices made for the
// options left on automatic. Only the resolved twins change; the user's
// option slots stay as set (xtol_iters aside, whose slot takes the rule).
#include <algorithm>

#include "driver/print.h"
#include "driver/solve.h"
#include "interface/context.h"
#include "interface/structures.h"
#include "options/options.h"

namespace {

bool mx_has_callbacks(const MXL_context *ctx) { return ctx->model && !ctx->model->callbacks.empty(); }

void mx_count_bounds(MXL_context *ctx, MxProblemClass &c) {
  const double range = ctx->opt.bndrange;
  for (int j = 0; j < ctx->n; ++j) {
    const double lo = ctx->var.lo[j], up = ctx->var.up[j];
    if (lo == up) { ++c.numFixed; continue; }
    c.numFiniteBounds += (lo > -range) + (up < range);
  }
  for (int i = 0; i < ctx->m; ++i) {
    const double lo = ctx->con.lo[i], up = ctx->con.up[i];
    if (lo == up) ++c.numEqualities;
    else if (lo > -range || up < range) ++c.numIneqCons;
  }
}

int mx_worst_con_type(const MXL_context *ctx) {
  int worst = MX_CONTYPE_LINEAR;
  for (int i = 0; i < ctx->m; ++i) {
    const int t = ctx->con.type[i];
    if (t == MX_CONTYPE_GENERAL) return MX_CONTYPE_GENERAL;
    if (t == MX_CONTYPE_QUADRATIC || t == MX_CONTYPE_CONIC) worst = MX_CONTYPE_QUADRATIC;
  }
  return worst;
}

// A node subproblem of the tree search (the root is the top node).
bool mx_node(const MXL_context *ctx) { return mxIsNodeSubproblem(ctx); }

void mx_pick_algorithm(MXL_context *ctx) {
  if (ctx->resolvedAlgorithm != 0) return;
  const int h = ctx->resolvedHessopt;
  ctx->resolvedAlgorithm = (h == 4 || h == 5) ? 2 : 1;
}

void mx_switch_rule(MXL_context *ctx) {
  MxDriverState &d = ctx->drv;
  const MxProblemClass &c = d.cls;
  if (d.resolvedSwitchRule != -1) return;
  if (mx_node(ctx)) {
    d.resolvedSwitchRule = (c.isUnconstrained || ctx->resolvedPenaltyCons > 1) ? 0 : 3;
    return;
  }
  const bool zero = c.isUnconstrained || c.isBoundConstrained || c.inequalities() == 0 ||
                    (c.isOverdetermined && ctx->resolvedPenaltyCons == -1) || ctx->resolvedFeasible == 2 ||
                    ctx->resolvedFeasible == 3 || ctx->resolvedPenaltyCons == 2 || ctx->resolvedPenaltyCons == 3;
  d.resolvedSwitchRule = zero ? 0 : 2;
}

// Rules by model class: convex, bound constrained, LP or QP, QCQP, MPEC.
void mx_class_rules(MXL_context *ctx) {
  MxDriverState &d = ctx->drv;
  const MxProblemClass &c = d.cls;
  const bool ineq = c.inequalities() > 0;
  const bool lpqp = c.isLP || c.isQP;
  if (c.convexity == 1 || c.isBoundConstrained || lpqp || c.isQCQP || c.isMPEC) mx_pick_algorithm(ctx);
  const int alg = ctx->resolvedAlgorithm;
  if (c.convexity == 1 && alg == 1) {
    if (ctx->resolvedInitpt == 0) ctx->resolvedInitpt = lpqp && ineq ? 1 : 3;
    if (ctx->resolvedMurule == 0) ctx->resolvedMurule = 4;
    if (lpqp && d.resolvedDirectInterval == -1) d.resolvedDirectInterval = 0;
    if (ineq && d.resolvedCorrectors == -1) d.resolvedCorrectors = 5;
    d.barConvexMode = 3;
  } else if ((lpqp || c.isMPEC) && (alg == 1 || alg == 2)) {
    if (ctx->resolvedMurule == 0) ctx->resolvedMurule = alg == 1 ? 4 : 1;
    if (ctx->resolvedInitpt == 0) ctx->resolvedInitpt = (lpqp && alg == 1 && ineq && c.convexity == 1) ? 1 : 3;
  }
  if (alg == 1 && ineq && d.resolvedCorrectors == -1 && (c.isBoundConstrained || lpqp || c.isQCQP))
    d.resolvedCorrectors = 5;
}

void mx_general_rules(MXL_context *ctx) {
  MxDriverState &d = ctx->drv;
  const MxProblemClass &c = d.cls;
  if (d.resolvedInitMu <= 0.0) d.resolvedInitMu = 0.1;
  if (d.resolvedSlackPush <= 0.0) d.resolvedSlackPush = 0.1;
  if (d.resolvedDirectInterval == -1) d.resolvedDirectInterval = 10;
  if (d.resolvedLinsys == -1) d.resolvedLinsys = 1;
  if (d.resolvedRestarts == -1) d.resolvedRestarts = (!mx_node(ctx) && c.convexity != 1) ? 3 : 0;
  if (ctx->resolvedQcqpInit == -1) ctx->resolvedQcqpInit = 0;
  if (d.resolvedInitStrategy == -1) {
    const bool cheap = !mx_has_callbacks(ctx) || ctx->opt.eval_cost == 1;
    d.resolvedInitStrategy = (ctx->opt.ncvx_qcqp_init <= 0 && ctx->noInitialX && cheap) ? 2 : 1;
  }
  mx_pick_algorithm(ctx);
  const int alg = ctx->resolvedAlgorithm;
  if (alg == 1 || alg == 2) {
    if (ctx->resolvedMurule == 0) ctx->resolvedMurule = alg == 1 ? 4 : 1;
    if (ctx->resolvedInitpt == 0) ctx->resolvedInitpt = 3;
    if (d.resolvedPenaltyRule == 0) d.resolvedPenaltyRule = 2;
    if (ctx->resolvedPenaltyCons == -1) {
      const bool pen = ctx->resolvedFeasible == 2 || ctx->resolvedFeasible == 3 || c.isOverdetermined;
      ctx->resolvedPenaltyCons = pen && d.resolvedSwitchRule != 2 && d.resolvedSwitchRule != 3 ? 2 : 0;
    }
  }
  if (d.resolvedCorrectors == -1) {
    const int r = ctx->resolvedMurule;
    d.resolvedCorrectors = (ctx->opt.bar_maxcorrectors < 0 && (r == 1 || r == 2 || r == 6 || r == 7)) ? 0 : 1;
  }
}

void mx_solver_rules(MXL_context *ctx) {
  MxDriverState &d = ctx->drv;
  const int alg = ctx->resolvedAlgorithm, n = ctx->n, m = ctx->m;
  if (ctx->hooks.linsolver != nullptr && alg != 1 && alg != 2) {
    mxl_printf(ctx, "WARNING: linear solver callback option not yet available for this algorithm choice.\n");
    mxl_printf(ctx, "         Using internal linear solver.\n");
  }
  if (ctx->resolvedLinsolver < 2) {
    if (alg == 1) ctx->resolvedLinsolver = (mx_node(ctx) && n + m < 2000) ? 4 : (n + m >= 5000 ? 5 : 2);
    else ctx->resolvedLinsolver = (alg >= 2 && alg <= 4) ? 4 : 5;
  }
  if (d.resolvedQpAlg == 0) {
    const int h = ctx->resolvedHessopt;
    d.resolvedQpAlg = h == 6 ? (n >= 2000 ? 2 : 3) : (h == 2 && n < 2000) ? 3 : 1;
  }
  if (d.resolvedLinesearch == 0) d.resolvedLinesearch = (d.cls.isUnconstrained || d.cls.isBoundConstrained) ? 2 : 1;
  if (d.resolvedBlas == -1) d.resolvedBlas = 1;
}

}  // namespace

void mxAnalyzeProblem(MXL_context *ctx) {
  MxProblemClass c;
  mx_count_bounds(ctx, c);
  c.hasCones = ctx->model && !ctx->model->conics.empty();
  c.isMPEC = !ctx->comp.index1.empty();
  const int cons = mx_worst_con_type(ctx);
  const int obj = ctx->obj.type;
  const bool cb = mx_has_callbacks(ctx) || ctx->isLeastSquares;
  const bool linObj = obj == MX_OBJTYPE_NONE || obj == MX_OBJTYPE_LINEAR;
  c.isLP = !cb && !c.isMPEC && linObj && cons == MX_CONTYPE_LINEAR && !c.hasCones;
  c.isQP = !cb && !c.isMPEC && obj == MX_OBJTYPE_QUADRATIC && cons == MX_CONTYPE_LINEAR && !c.hasCones;
  c.isQCQP = !cb && !c.isMPEC && !c.isLP && !c.isQP && cons != MX_CONTYPE_GENERAL && obj != MX_OBJTYPE_GENERAL;
  c.isBoundConstrained = ctx->m == 0 && !c.isMPEC;
  c.isUnconstrained = c.isBoundConstrained && c.numFiniteBounds == 0 && c.numFixed == 0;
  c.isOverdetermined = c.numEqualities + c.numFixed > ctx->n;
  c.convexity = ctx->opt.convex == 1 ? 1 : c.isLP ? 1 : 0;
  ctx->isLP = c.isLP;
  ctx->drv.cls = c;
}

void determineAutoOptions(MXL_context *ctx) {
  MxDriverState &d = ctx->drv;
  const bool node = mx_node(ctx);
  if (ctx->opt.xtol_iters == 0) ctx->opt.xtol_iters = ctx->isMixedInteger ? 1 : 3;
  d.xtolIters = ctx->opt.xtol_iters;
  if (d.cls.hasCones && ctx->resolvedAlgorithm == 0) ctx->resolvedAlgorithm = 1;
  if (d.resolvedMaxit == 0) d.resolvedMaxit = node ? 3000 : 10000;
  if (node && ctx->resolvedAlgorithm == 0) ctx->resolvedAlgorithm = 1;
  mx_switch_rule(ctx);
  mx_class_rules(ctx);
  mx_general_rules(ctx);
  mx_solver_rules(ctx);
}

namespace {

void mx_print_auto(MXL_context *ctx, const char *name, int option, int autoValue, int resolved) {
  if (option == autoValue) mxl_printf(ctx, "Morvex changing %s from AUTO to %d.\n", name, resolved);
}

// Corrections of the choices that the model or another option rules out.
void mx_correct_choices(MXL_context *ctx) {
  MxDriverState &d = ctx->drv;
  const int alg = ctx->resolvedAlgorithm;
  if (ctx->resolvedMurule != 1) {
    if (d.cls.inequalities() == 0) {
      ctx->resolvedMurule = 1;
    } else if (alg == 2 && ctx->resolvedMurule >= 3) {
      mxl_printf(ctx, "WARNING: Option bar_murule=%d not valid for Interior/CG algorithm.\n", ctx->resolvedMurule);
      mxl_printf(ctx, "         Switching to bar_murule=%d.\n", 1);
      ctx->resolvedMurule = 1;
    }
  }
  if (d.resolvedLinesearch == 3 && !d.cls.isUnconstrained) {
    mxl_printf(ctx, "WARNING:  The weak Wolfe linesearch option is currently only available for\n");
    mxl_printf(ctx, "          unconstrained models. Changing 'linesearch' from %d to AUTO.\n", 3);
    d.resolvedLinesearch = 0;
  } else if (d.resolvedLinesearch == 3 && alg != 1) {
    mxl_printf(ctx, "WARNING:  The weak Wolfe linesearch option is currently only available for\n");
    mxl_printf(ctx, "          the Interior/Direct algorithm. Changing 'linesearch' from %d to AUTO.\n", 3);
    d.resolvedLinesearch = 0;
  }
  int &conic = ctx->opt.bar_conic_enable;
  if (conic == -1) {
    conic = d.cls.hasCones && alg == 1 ? 1 : 0;
  } else if (conic == 1 && alg != 1) {
    mxl_printf(ctx, "WARNING: Option bar_conic_enable=1 not valid for algorithm=%d.\n         Switching to bar_conic_enable=0.\n", alg);
    conic = 0;
  }
  if (ctx->opt.cg_precond != 0 && alg != 1 && alg != 2) {
    mxl_printf(ctx, "WARNING: Preconditioner only available for Interior-Point algorithms.\n");
    mxl_printf(ctx, "         Turning off preconditioner (precond=0).\n");
    ctx->opt.cg_precond = 0;
  }
}

// Honoring of bounds once the algorithm is known: nothing to honor without
// bounds, and the automatic value follows the start's feasibility.
void mx_resolve_honor_bounds(MXL_context *ctx) {
  int &value = ctx->resolvedHonorbnds;
  std::vector<int> &flags = ctx->var.honorBnds.v;
  const MxProblemClass &c = ctx->drv.cls;
  if (value != 0 && c.numFixed == 0 && c.numFiniteBounds == 0 && ctx->resolvedPenaltyCons == 0) {
    value = 0;
    std::fill(flags.begin(), flags.end(), 0);
  }
  if (value == -1) value = ctx->drv.isFeasibleFlag ? 0 : 2;
  for (int &f : flags)
    if (f == -1) f = value;
}

}  // namespace

void mxAfterAutoOptions(MXL_context *ctx) {
  const MxOptionBlock &o = ctx->opt;
  const MxDriverState &d = ctx->drv;
  const int alg = ctx->resolvedAlgorithm;
  if (o.outlev >= 4) {
    mx_print_auto(ctx, "algorithm", o.algorithm, 0, alg);
    if (alg == 3 || alg == 4) mx_print_auto(ctx, "act_qpalg", o.act_qpalg, 0, d.resolvedQpAlg);
    mx_print_auto(ctx, "blasoption", o.blasoption, -1, d.resolvedBlas);
    if (alg == 1 || alg == 2) {
      mx_print_auto(ctx, "bar_initpt", o.bar_initpt, 0, ctx->resolvedInitpt);
      mx_print_auto(ctx, "bar_murule", o.bar_murule, 0, ctx->resolvedMurule);
      mx_print_auto(ctx, "bar_penaltycons", o.bar_penaltycons, -1, ctx->resolvedPenaltyCons);
      mx_print_auto(ctx, "bar_penaltyrule", o.bar_penaltyrule, 0, d.resolvedPenaltyRule);
      mx_print_auto(ctx, "bar_switchrule", o.bar_switchrule, -1, d.resolvedSwitchRule);
    }
    mx_print_auto(ctx, "hessopt", o.hessopt, 0, ctx->resolvedHessopt);
    mx_print_auto(ctx, "initpt_strategy", o.initpt_strategy, -1, d.resolvedInitStrategy);
    mx_print_auto(ctx, "linesearch", o.linesearch, 0, d.resolvedLinesearch);
    if (o.linsolver == 0) mx_print_auto(ctx, "linsolver", 0, 0, ctx->resolvedLinsolver);
    if (o.linsolver == 1) mxl_printf(ctx, "Morvex changing linsolver from INTERNAL to %d.\n", ctx->resolvedLinsolver);
  }
  mx_correct_choices(ctx);
  mx_resolve_honor_bounds(ctx);
}
