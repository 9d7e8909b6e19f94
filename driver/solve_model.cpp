// The model stage of a solve: checks the model, merges the structure into
// the inner context, resolves the callback and Hessian modes, then hands the
// prepared context to the dispatch stage.
#include <cjson/cJSON.h>

#include <memory>

#include "driver/debug_options.h"
#include "driver/print.h"
#include "driver/report.h"
#include "driver/solve.h"
#include "interface/constants.h"
#include "interface/frame.h"
#include "interface/structures.h"
#include "options/option_files.h"

namespace {

struct JsonDeleter {
  void operator()(cJSON *p) const { cJSON_Delete(p); }
};
using JsonRoot = std::unique_ptr<cJSON, JsonDeleter>;

void mx_clear_last_solve(MXL_context *ctx) {
  ctx->solveInProgress = 0;
  ctx->quietSubsolve = 0;
  ctx->drv.fstopSatisfied = 0;
  ctx->status = MX_STATUS_IDLE;
  if (ctx->warmStartMode != 2) ctx->warmStartMode = 1;
  ctx->isMixedInteger = 0;
  for (int t : ctx->var.type)
    if (t == MX_VARTYPE_INTEGER || t == MX_VARTYPE_BINARY) ctx->isMixedInteger = 1;
  if (ctx->isMixedInteger && ctx->subproblemKind != 5) {
    const MxOptionBlock &o = ctx->opt;
    if (o.mip_multistart == 1 && (o.mip_method == 3 || (o.mip_method == 0 && o.mip_relaxable == 0)))
      ctx->opt.ms_enable = 1;
  }
  ctx->drv.cpuStart = mxCpuSeconds();
  ctx->drv.realStart = mxWallSeconds();
}

bool mx_lacks_hessian(const MXCB &cb) { return cb.hessCallback == nullptr; }

void mx_resolve_hessopt(MXL_context *ctx) {
  if (ctx->warmStartMode != 2) ctx->resolvedHessopt = ctx->opt.hessopt;
  int &h = ctx->resolvedHessopt;
  if (h >= 8 || (h == 7 && ctx->r == 0)) {
    mxl_printf(ctx, "WARNING:  Detected an illegal value for a user option.\n");
    mxl_printf(ctx, "          Changing 'hessopt' from %d to auto.\n", h);
    h = 0;
  }
  if (ctx->r > 0 && (h == 0 || h == 1)) h = 7;
}

// Callbacks without a Hessian routine need a quasi-Newton Hessian; the
// limited-memory form above 1000 variables keeps the memory linear in n.
void mx_choose_callback_hessian(MXL_context *ctx) {
  int &h = ctx->resolvedHessopt;
  if (h >= 2 || ctx->isLeastSquares) return;
  for (const auto &cb : ctx->model->callbacks) {
    if (!mx_lacks_hessian(*cb)) continue;
    const int choice = ctx->n > 1000 ? 6 : 2;
    if (h == 1) {
      mxl_printf(ctx, "WARNING: Hessian option is hessopt=MX_HESSOPT_EXACT, but not all Hessian\n");
      mxl_printf(ctx, "         callbacks have been set.  Switching to hessopt=%s.\n",
                 choice == 6 ? "MX_HESSOPT_LBFGS" : "MX_HESSOPT_BFGS");
    }
    h = choice;
    return;
  }
  if (h == 0) h = 1;
}

void mx_check_l2_norms(MXL_context *ctx) {
  const MXQUAD *quad = ctx->model->quadratic.get();
  for (const auto &cone : ctx->model->conics) {
    const int i = cone->indexCon;
    const bool quadratic = quad != nullptr && static_cast<size_t>(i) < quad->consWithQuadratic.size() &&
                           quad->consWithQuadratic[i];
    if (ctx->con.type[i] == MX_CONTYPE_GENERAL || quadratic) {
      if (ctx->con.name.exists() && ctx->con.hasName[i])
        mxl_printf(ctx, "ERROR: Constraint %s has L2 norm structure, but also has\n", ctx->con.name.v[i].c_str());
      else
        mxl_printf(ctx, "ERROR: Constraint c[%d] has L2 norm structure, but also has\n", i);
      mx_fatal(ctx, MX_RC_BAD_CONSTRAINT,
               "       quadratic structure or is involved in a callback. Only additional\n"
               "       linear structure is allowed in constraints with L2 norm structure.\n");
    }
    if (!(ctx->con.lo[i] <= -ctx->opt.bndrange && ctx->con.up[i] < ctx->opt.bndrange))
      mx_fatal(ctx, MX_RC_BAD_CONSTRAINT,
               "ERROR: Currently L2 norm structure may only be added to one-sided\n"
               "       inequality constraints with a finite upper bound.\n");
  }
}

void mx_check_residuals(MXL_context *ctx) {
  ctx->isLeastSquares = ctx->r >= 1;
  if (!ctx->isLeastSquares) return;
  if (ctx->m > 0)
    mx_fatal(ctx, MX_RC_BAD_CONSTRAINT,
             "ERROR: Both residuals and constraints have been added to the model.\n"
             "       The current version of Morvex does not support this.\n");
  if (ctx->obj.type != MX_OBJTYPE_NONE && ctx->subproblemKind == 0)
    mx_fatal(ctx, MX_RC_BAD_OBJECTIVE,
             "ERROR: Both residuals and an objective function have been added to the model.\n"
             "       The current version of Morvex does not support this.\n");
  ctx->obj.type = MX_OBJTYPE_GENERAL;
}

void mx_resolve_gradient_modes(MXL_context *ctx) {
  MXMOD &mod = *ctx->model;
  mod.numericGradModes = 0;
  mod.someGradExact = mod.callbacks.empty() ? 1 : 0;
  const bool fcga = ctx->opt.eval_fcga == 1;
  for (auto &cbp : mod.callbacks) {
    MXCB &cb = *cbp;
    const bool lsq = ctx->isLeastSquares != 0;
    MX_cb_routine *deriv = lsq ? cb.rsdJacCallback : cb.gradCallback;
    if (cb.gradopt == 0) {
      if (ctx->opt.gradopt == 2 || ctx->opt.gradopt == 3) cb.gradopt = ctx->opt.gradopt;
      else cb.gradopt = (deriv != nullptr || (fcga && !lsq)) ? 1 : 2;
    }
    const int g = cb.gradopt;
    if ((g == 1 || g == 4 || g == 5) && deriv == nullptr && !(fcga && !lsq))
      mx_fatal(ctx, MX_RC_BAD_PARAMINPUT,
               lsq ? "ERROR: A callback was added with gradopt=%d, but user routine rsdJacCallback is undefined.\n"
                   : "ERROR: A callback was added with gradopt=%d, but user routine gradCallback is undefined.\n",
               g);
    if (g == 2) mod.numericGradModes |= 1;
    else if (g == 3) mod.numericGradModes |= 2;
    else mod.someGradExact = 1;
  }
}

// Structure merge and the checks that leave the context usable (constant
// constraints, crossed bounds). Returns 0 or the code of the solve.
int mx_merge_and_check(MXL_context *ctx) {
  if (ctx->changeLevel != 0) mxLoadConstants(ctx);
  if (const int rc = mxMergeStructure(ctx)) {
    if (rc != MX_RC_INFEAS_CON_BOUNDS) ctx->fatalError = 1;
    return rc;
  }
  if (const int rc = mxCheckConstantCons(ctx)) return rc;
  mx_resolve_gradient_modes(ctx);
  chkspecs(ctx);
  if (ctx->resolvedHessopt == 5) {
    std::fill(ctx->var.scaleFactor.v.begin(), ctx->var.scaleFactor.v.end(), 1.0);
    std::fill(ctx->var.scaleCenter.begin(), ctx->var.scaleCenter.end(), 0.0);
  }
  if (const int rc = checkProblemDefinition(ctx, ctx->isMixedInteger)) {
    ctx->returnCode = rc;
    ctx->status = MX_STATUS_FINISHED;
    if (rc <= -500) ctx->fatalError = 1;
    return rc;
  }
  ctx->var.origLo = ctx->var.lo;
  ctx->var.origUp = ctx->var.up;
  return 0;
}

// Steps under the lock, before the driver runs. Returns 0 or the code.
int mx_prepare(MXL_context *ctx) {
  mx_clear_last_solve(ctx);
  mx_resolve_hessopt(ctx);
  const int kind = ctx->subproblemKind;
  const bool copied = kind == 3 || kind == 4 || kind == 11;
  const bool warmUnchanged = ctx->warmStartMode == 2 && (ctx->changeLevel == 0 || ctx->changeLevel == -1);
  if (!copied && !warmUnchanged) {
    const size_t m = static_cast<size_t>(ctx->m), n = static_cast<size_t>(ctx->n);
    if (static_cast<unsigned>(ctx->changeLevel) < 2u && ctx->var.savedBoundLambda.size() == n &&
        ctx->lambda.size() >= m + n)
      std::copy(ctx->var.savedBoundLambda.begin(), ctx->var.savedBoundLambda.end(), ctx->lambda.begin() + m);
    mxWarnHugeBounds(ctx);
    mx_check_l2_norms(ctx);
    mx_check_residuals(ctx);
    mx_choose_callback_hessian(ctx);
    if (const int rc = mx_merge_and_check(ctx)) return rc;
  }
  ctx->drv.randomSeed = ctx->opt.ms_seed < 0 ? 0 : ctx->opt.ms_seed;
  return 0;
}

void mx_after_driver(MXL_context *ctx, int updateOnly, cJSON *json) {
  ctx->changeLevel = -1;
  ctx->drv.lastN = ctx->n;
  ctx->drv.lastM = ctx->m;
  ctx->drv.lastNnzJ = ctx->pat.jac.nnz;
  if (updateOnly) {
    mxRefillLinearValues(ctx);
    return;
  }
  const size_t m = static_cast<size_t>(ctx->m), n = static_cast<size_t>(ctx->n);
  if (ctx->lambda.size() >= m + n) ctx->var.savedBoundLambda.assign(ctx->lambda.begin() + m, ctx->lambda.begin() + m + n);
  const bool mipSkips = ctx->isMixedInteger && ctx->opt.mip_intvar_strategy == 1;
  if (json != nullptr && !mipSkips) {
    MxSolveStats stats;
    stats.objective = ctx->drv.objValue;
    stats.absFeasError = ctx->drv.absFeasError;
    stats.feasScale = ctx->drv.feasErrorScale;
    stats.fevals = ctx->eval.counters.numFCevals;
    stats.gevals = ctx->eval.counters.numGAevals;
    stats.feasible = ctx->drv.isFeasibleFlag;
    mxWriteJSON(ctx, json, ctx->returnCode, mxCountProblem(ctx), stats, MxPresolveCounts());
  }
}

}  // namespace

int mxSolveModel(MXL_context *ctx, int updateOnly) {
  const char *fn = updateOnly ? "MX_update" : "MX_solve";
  if (const int rc = mx_enter(ctx, fn)) return rc;
  if (ctx->n < 1)
    mx_fatal(ctx, MX_RC_ILLEGAL_CALL, "ERROR: Specify at least 1 variable before calling %s.\n", fn);
  {
    std::lock_guard<std::mutex> lock(ctx->mutex);
    if (const int rc = mx_prepare(ctx)) return rc;
  }
  JsonRoot json;
  if (ctx->opt.out_jsoninfo == 1 && !updateOnly) {
    json.reset(cJSON_CreateObject());
    printJSONapplicationModelInfo(json.get(), mxCountProblem(ctx));
  }
  MxJson debugOptions;
  if (!ctx->opt.debugoptionsname.empty()) debugOptions = mxReadDebugOptions(ctx, ctx->opt.debugoptionsname);
  ctx->drv.debugOptions = debugOptions.get();
  mxInitForResolve(ctx);
  int result = 0;
  try {
    if (!updateOnly) result = ctx->isMixedInteger ? MXL_mip_solve(ctx) : MXL_solve(ctx);
  } catch (...) {
    ctx->drv.debugOptions = nullptr;
    throw;
  }
  std::lock_guard<std::mutex> lock(ctx->mutex);
  mx_after_driver(ctx, updateOnly, json.get());
  ctx->drv.debugOptions = nullptr;
  return result;
}

extern "C" {

MX_EXPORT int MX_solve(MX_context_ptr ctx) {
  return mx_guard(ctx, [&]() { return mxSolveModel(ctx, 0); });
}

MX_EXPORT int MX_update(MX_context_ptr ctx) {
  return mx_guard(ctx, [&]() { return mxSolveModel(ctx, 1); });
}

}  // extern "C"
