// The dispatch stage of a solve: bound checks, the start point and its
// evaluation, the early ends, and the choice between the meta-solvers and a
// single solve. The context lock is held for the whole stage.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "driver/print.h"
#include "driver/report.h"
#include "driver/solve.h"
#include "interface/evaluation.h"
#include "interface/frame.h"

double mxWallSeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double mxCpuSeconds() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         1e-6 * static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

int mxNotBuilt(MXL_context *ctx, const char *what) {
  mx_internal_error(ctx, what);
  return MX_RC_INTERNAL_ERROR;
}

void mxFinishSolve(MXL_context *ctx, int code, int printStats) {
  MxDriverState &d = ctx->drv;
  d.realTotal = mxWallSeconds() - d.realStart;
  d.cpuTotal = mxCpuSeconds() - d.cpuStart;
  MxExitInfo info;
  info.msEnable = ctx->opt.ms_enable;
  info.fstopvalInForce = ctx->opt.objrange > std::fabs(ctx->opt.fstopval);
  info.fstopvalStopped = d.fstopSatisfied;
  info.maximize = ctx->obj.goal == MX_OBJGOAL_MAXIMIZE;
  info.fstopval = ctx->opt.fstopval;
  info.algorithm = ctx->opt.algorithm;
  info.xtolIters = d.xtolIters;
  info.ftol = ctx->opt.ftol;
  info.ftolIters = ctx->opt.ftol_iters;
  info.convex = d.cls.convexity;
  MxSolveStats s;
  s.objective = d.objValue;
  s.absFeasError = d.absFeasError;
  s.feasScale = d.feasErrorScale;
  s.absOptError = d.absOptError;
  s.optScale = d.optErrorScale;
  s.iterations = d.numIters;
  s.cgIterations = d.numCGIters;
  const MxEvalCounters &e = ctx->eval.counters;
  s.fevals = ctx->isLeastSquares ? e.numRsdEvals : e.numFCevals;
  s.gevals = ctx->isLeastSquares ? e.numRsdJacEvals : e.numGAevals;
  s.hevals = e.numHevals;
  s.hvevals = e.numHVevals;
  s.realTime = d.realTotal;
  s.cpuTime = d.cpuTotal;
  s.evalTime = e.evalTime;
  s.feasible = d.isFeasibleFlag;
  s.exactHessian = ctx->resolvedHessopt == 1;
  s.hessianVectorProducts = ctx->resolvedHessopt == 5;
  printFinal(ctx, ctx->opt.out_csvinfo == 1, code, info, s, printStats);
}

namespace {

void mx_warn_zero_tolerances(MXL_context *ctx) {
  const struct { double value; const char *name; const char *what; } tols[] = {
      {ctx->opt.feastol, "feastol", "feasibility"},
      {ctx->opt.feastol_abs, "feastol_abs", "feasibility"},
      {ctx->opt.opttol, "opttol", "optimality"},
      {ctx->opt.opttol_abs, "opttol_abs", "optimality"}};
  for (const auto &t : tols) {
    if (t.value != 0.0) continue;
    mxl_printf(ctx, "WARNING: Morvex termination test changed in version 9.0.\n");
    mxl_printf(ctx, "         Setting %s=0, enforces a zero %s error tolerance.\n\n", t.name, t.what);
  }
}

// Without a start point the origin is projected onto the bounds.
void mx_default_start(MXL_context *ctx) {
  if (ctx->opt.outlev > 1) mxl_printf(ctx, "No start point provided -- Morvex computing one.\n");
  for (int j = 0; j < ctx->n; ++j)
    if (!ctx->var.hasInitial[j]) ctx->var.x[j] = std::min(std::max(0.0, ctx->var.lo[j]), ctx->var.up[j]);
}

void mx_clamp_honored(MXL_context *ctx) {
  const std::vector<int> &flags = ctx->var.honorBnds.v;
  for (int j = 0; j < ctx->n; ++j) {
    const int f = static_cast<size_t>(j) < flags.size() ? flags[j] : ctx->resolvedHonorbnds;
    if (f == 1) ctx->var.x[j] = std::min(std::max(ctx->var.x[j], ctx->var.lo[j]), ctx->var.up[j]);
  }
}

// Ends a solve before any algorithm ran: code in returnCode, final report.
int mx_end_early(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  ctx->status = MX_STATUS_FINISHED;
  ctx->solveInProgress = 0;
  if (ctx->opt.algorithm == -1 && !ctx->isMixedInteger)
    printHead(ctx, ctx->quietSubsolve, ctx->opt.outlev, mxCountProblem(ctx), nullptr);
  if (!ctx->isMixedInteger) mxFinishSolve(ctx, code, 1);
  return code;
}

// Steps of a fresh run up to the start point's feasibility. Returns 1 to go
// on, otherwise the code the solve ends with.
int mx_fresh_start(MXL_context *ctx) {
  if (ctx->opt.outlev >= 1 && !ctx->isMixedInteger && ctx->subproblemKind == 0) printBanner(ctx);
  mxEvalStartSolve(ctx);
  if (const int rc = checkVarConBounds(ctx)) return rc;
  mx_warn_zero_tolerances(ctx);
  setHonorBnds(ctx);
  if (ctx->noInitialX && !ctx->isMixedInteger) mx_default_start(ctx);
  mx_clamp_honored(ctx);
  if (ctx->opt.derivcheck != 0) return mxNotBuilt(ctx, "the derivative check is not built in this version.");
  ctx->drv.startX = ctx->var.x;
  ctx->initialEvalState = 0;
  double obj = 0.0;
  // The evaluation limit is tested below, once the point is complete and its
  // feasibility known: -402 and -412 differ by it.
  const int limit = ctx->opt.maxfevals;
  ctx->opt.maxfevals = -1;
  int rc = 0;
  try {
    rc = callbackForFC(ctx, 1, ctx->var.x.data(), &obj, ctx->con.c.data(), nullptr, nullptr);
  } catch (...) {
    ctx->opt.maxfevals = limit;
    throw;
  }
  ctx->opt.maxfevals = limit;
  if (rc == 0) {
    ctx->initialEvalState = 1;
    ctx->drv.objValue = obj;
  }
  mxMeasureStart(ctx, rc == 0);
  if (rc != 0 && rc != MX_RC_EVAL_ERR) return ctx->returnCode;
  if (rc == 0 && mxObjectiveTargetReached(ctx)) return 0;
  if (limit >= 1 && ctx->eval.counters.numFCevals >= limit)
    return ctx->drv.isFeasibleFlag ? MX_RC_FEVAL_LIMIT_FEAS : MX_RC_FEVAL_LIMIT_INFEAS;
  return 1;
}

void mx_auto_presolve_options(MXL_context *ctx) {
  MxOptionBlock &o = ctx->opt;
  if (o.presolve_level == -1) o.presolve_level = o.presolve ? 2 : 0;
  if (!o.presolve) o.presolve_level = 0;
}

bool mx_has_linear_cons(const MXL_context *ctx) {
  for (int t : ctx->con.type)
    if (t == MX_CONTYPE_LINEAR) return true;
  return false;
}

// f, c and first derivatives at the start for the presolve. Returns 1 to go
// on, or the code that ends the solve (evaluation limit, user stop).
int mx_presolve_evaluation(MXL_context *ctx) {
  const bool noComp = ctx->comp.index1.empty();
  if (ctx->isMixedInteger || (ctx->opt.presolve_level <= 1 && (noComp || !mx_has_linear_cons(ctx)))) return 1;
  ctx->drv.presolveStage = 2;
  const int status = ctx->status, code = ctx->returnCode;
  int evalRc = 0;
  double obj = ctx->drv.objValue;
  const int rc = callbackEvalFCGAatX0(ctx, &evalRc, ctx->initialEvalState == 0, &obj);
  if (rc == 0) {
    ctx->initialEvalState = 3;
    ctx->drv.objValue = obj;
    return 1;
  }
  if (evalRc == MX_RC_FEVAL_LIMIT_FEAS || evalRc == MX_RC_FEVAL_LIMIT_INFEAS || evalRc == MX_RC_USER_TERMINATION)
    return evalRc;
  // The solve goes on without presolve; the start is evaluated again later.
  ctx->status = status;
  ctx->returnCode = code;
  mxl_printf(ctx, "WARNING: Evaluation error in Morvex presolver.\n");
  mxl_printf(ctx, "         No presolve will be applied.\n");
  ctx->drv.presolveOff = 1;
  ctx->resolvedHonorbnds = 1;
  ctx->initialEvalState = 0;
  return 1;
}

int mx_dispatch(MXL_context *ctx) {
  const MxOptionBlock &o = ctx->opt;
  if (o.tuner == 1) return mxNotBuilt(ctx, "the tuner is not built in this version.");
  if (o.algorithm == 5) return mxNotBuilt(ctx, "the multi-algorithm solve is not built in this version.");
  if (o.ms_enable == 1 && ctx->subproblemKind != 5)
    return mxNotBuilt(ctx, "the multi-start solve is not built in this version.");
  const int result = mxlSolveInternals(ctx);
  if (result < 0) ctx->fatalError = 1;
  ctx->status = MX_STATUS_FINISHED;
  if (!ctx->isMixedInteger) mxFinishSolve(ctx, ctx->returnCode, 1);
  return ctx->returnCode;
}

int mx_run_locked(MXL_context *ctx) {
  if (ctx->warmStartMode == 1 && !ctx->solveInProgress) ctx->drv.startX.clear();
  ctx->solveInProgress = 1;
  if (ctx->isLeastSquares) {
    ctx->solveInProgress = 0;
    const int rc = mxNotBuilt(ctx, "the least-squares solve is not built in this version.");
    return rc;
  }
  if (ctx->status == MX_STATUS_IDLE) {
    const int start = mx_fresh_start(ctx);
    if (start != 1) return mx_end_early(ctx, start);
    mx_auto_presolve_options(ctx);
    ctx->drv.presolveOff = 0;
    const int evaluated = mx_presolve_evaluation(ctx);
    if (evaluated != 1) return mx_end_early(ctx, evaluated);
    ctx->drv.presolveStage = 4;
    storeBestSolution(ctx, ctx->var.x.data(), nullptr, ctx->con.c.data(), nullptr, nullptr, 0,
                      ctx->drv.absFeasError, MX_INF, ctx->drv.objValue);
    // The presolve reduces nothing yet: the presolved model is the model.
    ctx->drv.presolveStage = 5;
    if (ctx->opt.algorithm == -1) return mx_end_early(ctx, 0);
    ctx->drv.presolveStage = 7;
    ctx->status = MX_STATUS_IDLE;
  }
  const int rc = mx_dispatch(ctx);
  ctx->solveInProgress = 0;
  return rc;
}

}  // namespace

int MXL_solve(MXL_context *ctx) {
  if (ctx->fatalError || !ctx->problemLoaded || ctx->status != MX_STATUS_IDLE) {
    ctx->returnCode = MX_RC_ILLEGAL_CALL;
    return MX_RC_ILLEGAL_CALL;
  }
  std::lock_guard<std::mutex> lock(ctx->mutex);
  try {
    return mx_run_locked(ctx);
  } catch (...) {
    ctx->solveInProgress = 0;
    throw;
  }
}

int MXL_mip_solve(MXL_context *ctx) {
  if (ctx->fatalError || !ctx->problemLoaded || ctx->status != MX_STATUS_IDLE) {
    ctx->returnCode = MX_RC_ILLEGAL_CALL;
    return MX_RC_ILLEGAL_CALL;
  }
  if (!ctx->isMixedInteger) return MXL_solve(ctx);
  std::lock_guard<std::mutex> lock(ctx->mutex);
  return mxNotBuilt(ctx, "the mixed-integer solver is not built in this version.");
}
