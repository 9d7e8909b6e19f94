// The single-solve stage: resolves the automatic options, evaluates the
// start with its first derivatives, ends early where asked, and runs the
// algorithm mains.
#include <cmath>

#include "barrier/barrier.h"
#include "driver/print.h"
#include "driver/report.h"
#include "driver/solve.h"
#include "interface/evaluation.h"
#include "interface/frame.h"
#include "options/option_files.h"

void mxMeasureStart(MXL_context *ctx, bool evaluated) {
  MxDriverState &d = ctx->drv;
  errPrepareApp(ctx);
  d.absFeasError = evaluated ? getFeasErrApp(ctx, ctx->var.x.data(), ctx->con.c.data(), nullptr, nullptr, nullptr)
                             : MX_INF;
  if (!d.feasScaleFixed) {
    d.feasErrorScale = evaluated ? std::max(1.0, d.absFeasError) : 1.0;
    d.feasScaleFixed = true;
  }
  d.feasTolEffective = ctx->opt.feastol * d.feasErrorScale;
  if (ctx->opt.feastol_abs > 0.0) d.feasTolEffective = std::min(d.feasTolEffective, ctx->opt.feastol_abs);
  d.isFeasibleFlag = evaluated && isFeasible(ctx, errModelApp(ctx), ctx->var.x.data(), ctx->con.c.data(),
                                             d.absFeasError, d.feasTolEffective);
  ctx->eval.pointFeasible = d.isFeasibleFlag;
  ctx->errState.feasScale = d.feasErrorScale;
}

bool mxObjectiveTargetReached(MXL_context *ctx) {
  const double target = ctx->opt.fstopval;
  if (!ctx->drv.isFeasibleFlag || !(ctx->opt.objrange > std::fabs(target))) return false;
  const double f = ctx->drv.objValue;
  const bool reached = ctx->obj.goal == MX_OBJGOAL_MAXIMIZE ? f >= target : f <= target;
  if (reached) ctx->drv.fstopSatisfied = 1;
  return reached;
}

namespace {

// A routine that reported failure without a non-finite value leaves no
// single culprit: the objective is then taken as undefined.
void mx_report_undefined_start(MXL_context *ctx, double *obj) {
  mxl_printf(ctx, "ERROR: Could not evaluate objective or constraints at the initial point.\n");
  bool someConstraint = false;
  for (int i = 0; i < ctx->m; ++i) someConstraint = someConstraint || !std::isfinite(ctx->con.c[i]);
  if (!std::isfinite(*obj) || !someConstraint) {
    mxl_printf(ctx, "       Objective function undefined at the initial point.\n");
    *obj = ctx->obj.goal == MX_OBJGOAL_MAXIMIZE ? -MX_INF : MX_INF;
  }
  for (int i = 0; i < ctx->m; ++i) {
    if (std::isfinite(ctx->con.c[i])) continue;
    if (ctx->con.name.exists() && ctx->con.hasName[i])
      mxl_printf(ctx, "       Constraint %s is undefined at the initial point.\n", ctx->con.name.v[i].c_str());
    else
      mxl_printf(ctx, "       Constraint c[%d] is undefined at the initial point.\n", i);
    ctx->drv.absFeasError = MX_INF;
  }
  mxl_printf(ctx, "       Please try a different initial point.\n");
}

// f, c and first derivatives at the start. Returns 0, or the code that
// ends the solve (returnCode set).
int mx_evaluate_start(MXL_context *ctx) {
  if (ctx->initialEvalState == 3) return 0;  // evaluated for the presolve at this point
  int evalRc = 0;
  double obj = ctx->drv.objValue;
  int rc = 0;
  if (ctx->initialEvalState == 0) {
    evalRc = callbackForFC(ctx, 1, ctx->var.x.data(), &obj, ctx->con.c.data(), nullptr, nullptr);
    if (evalRc != 0) rc = -2;
  }
  if (rc == 0) rc = callbackEvalFCGAatX0(ctx, &evalRc, 0, nullptr);
  if (rc == 0) {
    ctx->initialEvalState = 3;
    ctx->drv.objValue = obj;
    return 0;
  }
  if (rc == -2 && evalRc == MX_RC_EVAL_ERR) {
    mxl_printf(ctx, "WARNING: Could not evaluate objective or constraints at the initial point.\n");
    mx_report_undefined_start(ctx, &obj);
    ctx->drv.objValue = obj;
    ctx->returnCode = MX_RC_EVAL_ERR;
    return MX_RC_EVAL_ERR;
  }
  if (rc == -2) {
    ctx->returnCode = evalRc;
    return evalRc;
  }
  if (evalRc == MX_RC_EVAL_ERR) {
    mxl_printf(ctx, "WARNING: Could not evaluate first derivatives at the initial point.\n");
    ctx->returnCode = MX_RC_EVAL_ERR;
    return MX_RC_EVAL_ERR;
  }
  ctx->returnCode = evalRc;
  return evalRc;
}

const char *mx_algorithm_line(int algorithm) {
  switch (algorithm) {
    case 1: return "Interior-Point/Barrier Direct algorithm.\n";
    case 2: return "Interior-Point/Barrier Conjugate Gradient algorithm.\n";
    case 3: return "Active-Set Conjugate Gradient algorithm.\n";
    case 4: return "Sequential Quadratic Programming (SQP) algorithm.\n";
    case 5: return "Multi-Algorithm approach.\n";
    default: return "AUTO algorithm option.\n";
  }
}

// The early ends after the start point. Returns 1 to go on, 0 when the
// solve ends normally, -1 when it ends on a failure.
int mx_early_end(MXL_context *ctx, int evalCode) {
  if (evalCode == 0 && mxObjectiveTargetReached(ctx)) {
    ctx->returnCode = 0;
    return 0;
  }
  const int limit = ctx->opt.maxfevals;
  if (limit >= 1 && ctx->eval.counters.numFCevals >= limit) {
    ctx->returnCode = ctx->drv.isFeasibleFlag ? MX_RC_FEVAL_LIMIT_FEAS : MX_RC_FEVAL_LIMIT_INFEAS;
    return 0;
  }
  if (evalCode != 0) {
    ctx->status = MX_STATUS_FINISHED;
    // A user's stop leaves the context usable, like an undefined point.
    return evalCode == MX_RC_EVAL_ERR || evalCode == MX_RC_USER_TERMINATION ? 0 : -1;
  }
  if (ctx->opt.algorithm == -2) {
    if (ctx->returnCode > 0) ctx->returnCode = 0;
    printHead(ctx, ctx->quietSubsolve, ctx->opt.outlev, mxCountProblem(ctx), nullptr);
    return 0;
  }
  return 1;
}

}  // namespace

int mxlSolveInternals(MXL_context *ctx) {
  if (ctx->status == MX_STATUS_IDLE) {
    ctx->drv.numIters = ctx->drv.numCGIters = 0;
    mxlInitialize(ctx);
    ctx->status = MX_STATUS_ITERATING;
  }
  const int evalCode = mx_evaluate_start(ctx);
  if (evalCode == 0) mxMeasureStart(ctx, true);
  const int early = mx_early_end(ctx, evalCode);
  if (early != 1) return early;
  printHead(ctx, ctx->quietSubsolve, ctx->opt.outlev, mxCountProblem(ctx), nullptr);
  if (ctx->opt.outlev > 0 && !ctx->quietSubsolve) {
    mxl_printf(ctx, "\nMorvex using the ");
    mxl_printf(ctx, "%s", mx_algorithm_line(ctx->resolvedAlgorithm));
  }
  if (mxlSolveProblem(ctx) != 0) return -1;
  return 0;
}

void mxlInitialize(MXL_context *ctx) {
  ctx->returnCode = 0;
  chkspecs(ctx);
  if (ctx->opt.outlev > 0 && !ctx->quietSubsolve) printOptions(ctx, ctx->opt);
  ctx->resolvedAlgorithm = ctx->opt.algorithm;
  ctx->resolvedInitpt = ctx->opt.bar_initpt;
  ctx->resolvedMurule = ctx->opt.bar_murule;
  ctx->resolvedLinsolver = ctx->opt.linsolver;
  ctx->resolvedFeasible = ctx->opt.bar_feasible;
  ctx->resolvedQcqpInit = ctx->opt.ncvx_qcqp_init;
  ctx->resolvedPenaltyCons = ctx->opt.bar_penaltycons;
  if (ctx->resolvedPenaltyCons == 2 && ctx->m == 0) ctx->resolvedPenaltyCons = 0;
  const MxOptionBlock &o = ctx->opt;
  MxDriverState &d = ctx->drv;
  mxAnalyzeProblem(ctx);
  if ((ctx->resolvedPenaltyCons == 3 && d.cls.numEqualities == 0)) ctx->resolvedPenaltyCons = 0;
  d.resolvedMaxit = o.maxit;
  d.resolvedInitMu = o.bar_initmu;
  d.resolvedSlackPush = o.bar_slackboundpush;
  d.resolvedSwitchRule = o.bar_switchrule;
  d.resolvedQpAlg = o.act_qpalg;
  d.resolvedLinesearch = o.linesearch;
  d.resolvedCorrectors = -1;
  d.resolvedDirectInterval = o.bar_directinterval;
  d.resolvedLinsys = o.bar_linsys;
  d.resolvedRestarts = o.restarts;
  d.resolvedInitStrategy = o.initpt_strategy;
  d.resolvedPenaltyRule = o.bar_penaltyrule;
  d.resolvedBlas = o.blasoption;
  if (d.cls.isLP && ctx->resolvedHessopt != 1) {
    ctx->resolvedHessopt = 1;
    mxl_printf(ctx, "Morvex changing hessopt to exact (because the problem is an LP).\n");
  }
  chkspecdependencies(ctx);
  determineAutoOptions(ctx);
  mxAfterAutoOptions(ctx);
}

int mxlSolveProblem(MXL_context *ctx) {
  const int alg = ctx->resolvedAlgorithm;
  if (alg == 3 || alg == 4) return mxNotBuilt(ctx, "the active-set algorithm is not built in this version.");
  if (alg == 1 || alg == 2) {
    const int pre = presolveAnalyze(ctx);
    if (pre < 0) {
      ctx->returnCode = pre;
      return 0;
    }
    barrierMain(ctx);
    return 0;
  }
  return mxNotBuilt(ctx, "the multi-algorithm approach is not built in this version.");
}
