// The evaluation layer that algorithms call (parent stop checks, zeroing,
// the serialised call of the pipeline, counters and clocks, the evaluation
// limit, non-finite results, the structural terms, failure reports), and the
// single user hooks with the routine slots of the older family.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>

#include "driver/print.h"
#include "interface/evaluation.h"
#include "interface/frame.h"
#include "interface/structure_frame.h"

namespace {

// The critical section of user evaluations and the one of the statistics;
// both are process-wide, as user code may share state across contexts.
std::mutex gUserEvalSection;
std::mutex gEvalStatsSection;

bool mx_must_serialise(const MXL_context *ctx) {
  if (ctx->opt.concurrent_evals == 1) return false;
  return ctx->eval.numThreadsInUse > 1 || ctx->isMixedInteger;
}

template <class F>
int mx_run_user(MXL_context *ctx, double *seconds, F &&f) {
  const auto start = std::chrono::steady_clock::now();
  int rc;
  if (mx_must_serialise(ctx)) {
    std::lock_guard<std::mutex> section(gUserEvalSection);
    rc = f();
  } else {
    rc = f();
  }
  *seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return rc;
}

void mx_count(MXL_context *ctx, int MxEvalCounters::*counter, double seconds, bool alsoGA = false) {
  std::lock_guard<std::mutex> section(gEvalStatsSection);
  MxEvalCounters &c = ctx->eval.counters;
  ++(c.*counter);
  if (alsoGA) ++c.numGAevals;
  c.evalTime += seconds;
}

// In a child: the parent's stop, and a meta-solver child needs its parent.
int mx_parent_check(MXL_context *ctx) {
  const int kind = ctx->subproblemKind;
  if (kind == 0) return 0;
  int rc = 0;
  if ((kind == 3 || kind == 4 || kind == 11) && ctx->parentContext == nullptr)
    rc = MX_RC_CALLBACK_ERR;
  else if (ctx->parentContext != nullptr && ctx->parentContext->eval.stopRequested)
    rc = MX_RC_USER_TERMINATION;
  if (rc != 0) {
    ctx->returnCode = rc;
    ctx->status = MX_STATUS_FINISHED;
  }
  return rc;
}

bool mx_all_finite(const double *v, size_t len) {
  for (size_t k = 0; k < len; ++k)
    if (!std::isfinite(v[k])) return false;
  return true;
}

void mx_debug_request(MXL_context *ctx, const char *name) {
  if (ctx->opt.debug == 2) mxl_printf(ctx, "--- Debug: calling back, requesting %s\n", name);
}

bool mx_is_limit(int rc) {
  return rc == MX_RC_FEVAL_LIMIT_INFEAS || rc == MX_RC_TIME_LIMIT_INFEAS || rc == MX_RC_FEVAL_LIMIT_FEAS ||
         rc == MX_RC_TIME_LIMIT_FEAS;
}

// What a failed evaluation does to the solve. routine names the routine in
// the messages; lines are the explanation after the first line.
struct MxFailText {
  const char *routine;
  const char *lines;
};

int mx_handle_result(MXL_context *ctx, int rc, const MxFailText &text) {
  if (rc >= 0) return 0;
  if (rc == MX_RC_EVAL_ERR) {
    if (ctx->opt.debug >= 1)
      mxl_printf(ctx, "WARNING: Evaluation error occurred in user routine for %s.\n", text.routine);
    ctx->eval.pointEvaluated = 0;
    return rc;
  }
  if (rc == MX_RC_USER_TERMINATION || mx_is_limit(rc)) {
    ctx->returnCode = rc;
    if (rc == MX_RC_USER_TERMINATION) {
      ctx->status = MX_STATUS_FINISHED;
      ctx->eval.stopRequested = 1;
    }
    return rc;
  }
  mxl_printf(ctx, "ERROR: User routine for %s returned %d.\n", text.routine, rc);
  mxl_printf(ctx, "%s", text.lines);
  ctx->status = MX_STATUS_FINISHED;
  ctx->returnCode = MX_RC_CALLBACK_ERR;
  return MX_RC_CALLBACK_ERR;
}

const MxFailText kFcText{"func_callback", "       Could not evaluate objective or constraints at the current point.\n"};
const MxFailText kGaText{"grad_callback", "       Could not evaluate first derivatives at the current point.\n"};
const MxFailText kHText{"hess_callback",
                        "       Could not evaluate second derivatives at the current point.\n"
                        "       No further progress can be made.\n"};
const MxFailText kRText{"rsd_callback", "       Could not evaluate residuals at the current point.\n"};
const MxFailText kRJText{"rsdjac_callback", "       Could not evaluate first derivatives at the current point.\n"};

size_t mx_jac_size(const MXL_context *ctx) { return static_cast<size_t>(ctx->pat.jac.nnz); }

}  // namespace

void mxEvalStartSolve(MXL_context *ctx) {
  ctx->eval.counters.clear();
  ctx->eval.stopRequested = 0;
  ctx->eval.pointEvaluated = 0;
  ctx->eval.pointFeasible = 0;
}

void addFCstructures(MXL_context *ctx, const double *x, double *obj, double *c) {
  MXMOD &mod = *ctx->model;
  *obj += mod.constants.objConstant;
  for (int i = 0; i < ctx->m; ++i) c[i] += ctx->con.constant[i];
  if (mod.linear) MXLINevalFC(*mod.linear, x, obj, c);
  if (mod.quadratic) MXQUADevalFC(*mod.quadratic, x, obj, c);
  for (const auto &cone : mod.conics) MXCONICevalFC(*cone, x, c);
}

void addGAstructures(MXL_context *ctx, const double *x, double *objGrad, double *jac) {
  MXMOD &mod = *ctx->model;
  if (mod.linear) MXLINevalGA(*mod.linear, objGrad, jac);
  if (mod.quadratic) MXQUADevalGA(*mod.quadratic, x, objGrad, jac);
  for (const auto &cone : mod.conics) MXCONICevalGA(*cone, x, jac);
}

void addHstructures(MXL_context *ctx, int evalType, const double *x, double sigma, const double *lambda,
                    const double *vec, double *hess, double *hessVec) {
  MXMOD &mod = *ctx->model;
  if (mod.quadratic) MXQUADevalH(*mod.quadratic, evalType, x, sigma, lambda, vec, hess, hessVec);
  for (const auto &cone : mod.conics) MXCONICevalH(*cone, evalType, x, lambda, vec, hess, hessVec);
}

int callbackForFC(MXL_context *ctx, int wantStructures, const double *x, double *obj, double *c,
                  double *objGrad, double *jac) {
  if (const int rc = mx_parent_check(ctx)) return rc;
  MXMOD *model = ctx->model.get();
  const bool fcga = ctx->opt.eval_fcga == 1 && objGrad != nullptr && jac != nullptr;
  *obj = 0.0;
  std::fill(c, c + ctx->m, 0.0);
  if (fcga) {
    std::fill(objGrad, objGrad + ctx->n, 0.0);
    std::fill(jac, jac + mx_jac_size(ctx), 0.0);
  }
  int rc = 0;
  double seconds = 0.0;
  if (!model->callbacks.empty()) {
    mx_debug_request(ctx, "EVALFC");
    rc = mx_run_user(ctx, &seconds, [&] {
      return MXCBevalFC(ctx, model, x, obj, c, fcga ? objGrad : nullptr, fcga ? jac : nullptr);
    });
  }
  mx_count(ctx, &MxEvalCounters::numFCevals, seconds, fcga);
  const int limit = ctx->opt.maxfevals;
  if (limit >= 0 && ctx->eval.counters.numFCevals >= limit && (rc == 0 || rc == MX_RC_EVAL_ERR))
    rc = ctx->eval.pointFeasible ? MX_RC_FEVAL_LIMIT_FEAS : MX_RC_FEVAL_LIMIT_INFEAS;
  if (rc == 0 && !(std::isfinite(*obj) && mx_all_finite(c, static_cast<size_t>(ctx->m)))) rc = MX_RC_EVAL_ERR;
  if (rc == 0 && fcga && !(mx_all_finite(objGrad, ctx->n) && mx_all_finite(jac, mx_jac_size(ctx))))
    rc = MX_RC_EVAL_ERR;
  if (rc == 0 && wantStructures) {
    addFCstructures(ctx, x, obj, c);
    if (fcga) addGAstructures(ctx, x, objGrad, jac);
  }
  if (rc == 0) ctx->eval.pointEvaluated = 1;
  return mx_handle_result(ctx, rc, kFcText);
}

namespace {

bool mx_has_difference_gradients(const MXMOD &model) {
  for (const auto &cb : model.callbacks)
    if (cb->gradopt == MX_GRADOPT_FORWARD || cb->gradopt == MX_GRADOPT_CENTRAL) return true;
  return false;
}

int mx_eval_first(MXL_context *ctx, MXMOD *model, const double *x, double *objGrad, double *jac) {
  int rc = MXCBevalGA(ctx, model, x, objGrad, jac);
  if (rc != 0 || !mx_has_difference_gradients(*model)) return rc;
  if (ctx->eval.finDiffGA == nullptr) {
    mxl_printf(ctx, "ERROR: No finite-difference service for callbacks with gradopt=%d or gradopt=%d.\n",
               MX_GRADOPT_FORWARD, MX_GRADOPT_CENTRAL);
    return MX_RC_CALLBACK_ERR;
  }
  return ctx->eval.finDiffGA(ctx, x, objGrad, jac);
}

}  // namespace

int callbackForGA(MXL_context *ctx, const double *x, double *objGrad, double *jac) {
  if (const int rc = mx_parent_check(ctx)) return rc;
  MXMOD *model = ctx->model.get();
  std::fill(objGrad, objGrad + ctx->n, 0.0);
  std::fill(jac, jac + mx_jac_size(ctx), 0.0);
  int rc = 0;
  double seconds = 0.0;
  if (!model->callbacks.empty()) {
    mx_debug_request(ctx, "EVALGA");
    rc = mx_run_user(ctx, &seconds, [&] { return mx_eval_first(ctx, model, x, objGrad, jac); });
  }
  mx_count(ctx, &MxEvalCounters::numGAevals, seconds);
  if (rc == 0 && !(mx_all_finite(objGrad, ctx->n) && mx_all_finite(jac, mx_jac_size(ctx)))) rc = MX_RC_EVAL_ERR;
  if (rc == 0) addGAstructures(ctx, x, objGrad, jac);
  return mx_handle_result(ctx, rc, kGaText);
}

int callbackForFCGA(MXL_context *ctx, const double *x, double *obj, double *c, double *objGrad, double *jac) {
  if (ctx->opt.eval_fcga == 1) return callbackForFC(ctx, 1, x, obj, c, objGrad, jac);
  const int rc = callbackForFC(ctx, 1, x, obj, c, nullptr, nullptr);
  return rc != 0 ? rc : callbackForGA(ctx, x, objGrad, jac);
}

int callbackForH(MXL_context *ctx, int evalType, const double *x, double sigma, const double *lambda,
                 const double *vec, double *hess, double *hessVec) {
  if (const int rc = mx_parent_check(ctx)) return rc;
  MXMOD *model = ctx->model.get();
  const bool product = evalType == MX_EVALTYPE_HV || evalType == MX_EVALTYPE_HV_NO_F;
  const size_t len = product ? static_cast<size_t>(ctx->n) : static_cast<size_t>(ctx->pat.hess.nnz);
  double *out = product ? hessVec : hess;
  std::fill(out, out + len, 0.0);
  int rc = 0;
  double seconds = 0.0;
  if (!model->callbacks.empty()) {
    mx_debug_request(ctx, evalType == 3 ? "EVALH" : evalType == 7 ? "EVALHV" : evalType == 8 ? "EVALH_NO_F" : "EVALHV_NO_F");
    rc = mx_run_user(ctx, &seconds, [&] {
      return MXCBevalH(ctx, model, evalType, x, &sigma, lambda, vec, hess, hessVec);
    });
  } else if (evalType != 3 && evalType != 7 && evalType != 8 && evalType != 9) {
    rc = MX_RC_CALLBACK_ERR;
  }
  mx_count(ctx, product ? &MxEvalCounters::numHVevals : &MxEvalCounters::numHevals, seconds);
  if (rc == 0 && !mx_all_finite(out, len)) rc = MX_RC_EVAL_ERR;
  if (rc == 0) addHstructures(ctx, evalType, x, sigma, lambda, vec, hess, hessVec);
  return mx_handle_result(ctx, rc, kHText);
}

int callbackForNLSR(MXL_context *ctx, const double *x, double *rsd) {
  if (const int rc = mx_parent_check(ctx)) return rc;
  MXMOD *model = ctx->model.get();
  std::fill(rsd, rsd + ctx->r, 0.0);
  int rc = 0;
  double seconds = 0.0;
  if (!model->callbacks.empty()) {
    mx_debug_request(ctx, "EVALR");
    rc = mx_run_user(ctx, &seconds, [&] { return MXCBevalR(ctx, model, x, rsd); });
  }
  mx_count(ctx, &MxEvalCounters::numRsdEvals, seconds);
  if (rc == 0 && !mx_all_finite(rsd, static_cast<size_t>(ctx->r))) rc = MX_RC_EVAL_ERR;
  if (rc == 0) {
    for (int i = 0; i < ctx->r; ++i) rsd[i] += ctx->rsd.constant[i];
    if (model->linear) MXLINevalR(*model->linear, x, rsd);
  }
  return mx_handle_result(ctx, rc, kRText);
}

int callbackForNLSJ(MXL_context *ctx, const double *x, double *rsdJac) {
  if (const int rc = mx_parent_check(ctx)) return rc;
  MXMOD *model = ctx->model.get();
  const size_t len = static_cast<size_t>(ctx->pat.rsdJac.nnz);
  std::fill(rsdJac, rsdJac + len, 0.0);
  int rc = 0;
  double seconds = 0.0;
  if (!model->callbacks.empty()) {
    mx_debug_request(ctx, "EVALRJ");
    rc = mx_run_user(ctx, &seconds, [&] { return MXCBevalRJ(ctx, model, x, rsdJac); });
  }
  mx_count(ctx, &MxEvalCounters::numRsdJacEvals, seconds);
  if (rc == 0 && !mx_all_finite(rsdJac, len)) rc = MX_RC_EVAL_ERR;
  if (rc == 0 && model->linear) MXLINevalRJ(*model->linear, rsdJac);
  return mx_handle_result(ctx, rc, kRJText);
}

int callbackForFinDiffFC(MXL_context *ctx, MXCB *cb, const double *x, double *obj, double *c) {
  double seconds = 0.0;
  const int rc = mx_run_user(ctx, &seconds, [&] {
    return cb->isLsq ? MXCBevalR_one(ctx, cb, x, c) : MXCBevalFC_one(ctx, cb, x, obj, c);
  });
  mx_count(ctx, &MxEvalCounters::numFCevals, seconds);
  return rc;
}

int callbackEvalFCGAatX0(MXL_context *ctx, int *statusOut, int needFC, double *objOut) {
  const double *x = ctx->var.x.data();
  double obj = 0.0;
  if (needFC) {
    const int rc = callbackForFC(ctx, 1, x, &obj, ctx->con.c.data(), nullptr, nullptr);
    if (statusOut != nullptr) *statusOut = rc;
    if (rc != 0) return -2;
    if (objOut != nullptr) *objOut = obj;
  }
  const int status = ctx->status;
  const int rc = callbackForGA(ctx, x, ctx->var.objGrad.data(), ctx->pat.jac.values.data());
  if (statusOut != nullptr) *statusOut = rc;
  if (rc == 0) return 0;
  // Only the derivatives failed: the caller goes on without them.
  ctx->status = status;
  ctx->returnCode = MX_RC_EVAL_ERR;
  return rc;
}

namespace {

template <class F>
int mx_set_hook(MXL_context *ctx, const char *fn, F &&store) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_enter(ctx, fn)) return rc;
    MxLock lock(ctx->mutex);
    store();
    return 0;
  });
}

template <class F>
int mx_set_older(MXL_context *ctx, const char *fn, F &&store) {
  return mx_guard(ctx, [&]() {
    if (mxl_magic_check(ctx, 0, fn)) return int(MX_RC_BAD_KCPTR);
    if (ctx->fatalError) return int(MX_RC_ILLEGAL_CALL);
    MxLock lock(ctx->mutex);
    store();
    return 0;
  });
}

// A hook's negative return ends the solve: -504 as a user stop, anything
// else as a failure. Returns 1 to go on, 0 to end.
int mx_hook_result(MXL_context *ctx, int rc, const char *routine, bool exitOnlyAtDebug, const char *failLine) {
  if (rc >= 0) return 1;
  ctx->status = MX_STATUS_FINISHED;
  if (rc == MX_RC_USER_TERMINATION) {
    ctx->returnCode = rc;
    ctx->eval.stopRequested = 1;
    if (!exitOnlyAtDebug || ctx->opt.debug >= 1) mxl_printf(ctx, "\nEXIT: User routine for %s returned %d.\n", routine, rc);
    return 0;
  }
  mxl_printf(ctx, "ERROR: User routine for %s returned %d.\n", routine, rc);
  if (failLine != nullptr) mxl_printf(ctx, "%s", failLine);
  ctx->returnCode = MX_RC_CALLBACK_ERR;
  return 0;
}

}  // namespace

int callbackForNewPoint(MXL_context *ctx, const double *x, const double *lambda) {
  if (ctx->hooks.newpt == nullptr) return 1;
  if (ctx->opt.debug == 2) mxl_printf(ctx, "--- Debug: calling back, requesting user NEWPOINT routine\n");
  const int rc = ctx->hooks.newpt(ctx, x, lambda, ctx->hooks.newptParams);
  return mx_hook_result(ctx, rc, "newptCallback", true, "       User's newpoint operation failed.\n");
}

int callbackForMsProcess(MXL_context *ctx, const double *x, const double *lambda) {
  if (ctx->hooks.msProcess == nullptr) return 1;
  const int rc = ctx->hooks.msProcess(ctx, x, lambda, ctx->hooks.msProcessParams);
  return mx_hook_result(ctx, rc, "ms_process_callback", false, nullptr);
}

int callbackForMipNode(MXL_context *ctx, const double *x, const double *lambda) {
  if (ctx->hooks.mipNode == nullptr) return 1;
  const int rc = ctx->hooks.mipNode(ctx, x, lambda, ctx->hooks.mipNodeParams);
  return mx_hook_result(ctx, rc, "node_callback", false, nullptr);
}

void handleLinSolverCBError(MXL_context *ctx, int linsysID) {
  mxl_printf(ctx, "ERROR: Fatal failure from linear solver callback routine (linsysID=%d).\n", linsysID);
  mx_raise(ctx, MX_RC_LINEAR_SOLVER_ERR);
}

int MXCBlinsolver(MXL_context *ctx, MX_linsys_request *request, MX_linsys_result *result, int needNegeig) {
  if (ctx->hooks.linsolver == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for linsolver callback undefined.\n");
    handleLinSolverCBError(ctx, request->linsysID);
  }
  result->negeig = -1;
  const int rc = ctx->hooks.linsolver(ctx, request, result, ctx->hooks.linsolverParams);
  if (rc == MX_RC_LINEAR_SOLVER_ERR && request->phase == MX_LINSOLVER_PHASE_INIT) {
    mxl_printf(ctx, "WARNING: User routine for linsolver_callback returned %d.\n", rc);
    mxl_printf(ctx, "         Using Morvex internal linear solver for this system.\n");
    return 1;
  }
  if (rc < 0) {
    mxl_printf(ctx, "ERROR: User routine for linsolver_callback returned %d.\n", rc);
    handleLinSolverCBError(ctx, request->linsysID);
  }
  if (needNegeig && request->phase == MX_LINSOLVER_PHASE_FACTOR && result->negeig < 0) {
    mxl_printf(ctx, "ERROR: User routine for linsolver callback requires\n");
    mxl_printf(ctx, "       non-negative 'negeig' value for factorization phase\n");
    mxl_printf(ctx, "       when using algorithm=%d.\n", ctx->resolvedAlgorithm);
    handleLinSolverCBError(ctx, request->linsysID);
  }
  return 0;
}

extern "C" {

#define MX_HOOK_SETTER(NAME, TYPE, SLOT)                                                   \
  MX_EXPORT int NAME(MX_context_ptr ctx, TYPE *fnPtr, void *userParams) {                  \
    return mx_set_hook(ctx, #NAME, [&] {                                                   \
      ctx->hooks.SLOT = fnPtr;                                                             \
      ctx->hooks.SLOT##Params = userParams;                                                \
    });                                                                                    \
  }

MX_HOOK_SETTER(MX_set_newpt_callback, MX_user_callback, newpt)
MX_HOOK_SETTER(MX_set_mip_node_callback, MX_user_callback, mipNode)
MX_HOOK_SETTER(MX_set_mip_usercuts_callback, MX_user_callback, mipUserCuts)
MX_HOOK_SETTER(MX_set_mip_lazyconstraints_callback, MX_user_callback, mipLazyCons)
MX_HOOK_SETTER(MX_set_ms_process_callback, MX_user_callback, msProcess)
MX_HOOK_SETTER(MX_set_ms_initpt_callback, MX_ms_initpt_callback, msInitpt)
MX_HOOK_SETTER(MX_set_linsolver_callback, MX_linsolver_callback, linsolver)

MX_EXPORT int MX_set_puts_callback(MX_context_ptr ctx, MX_puts *fnPtr, void *userParams) {
  return mx_set_hook(ctx, "MX_set_puts_callback", [&] {
    ctx->putsCallback = fnPtr;
    ctx->userParams = userParams;
  });
}

#define MXL_SLOT_SETTER(NAME, TYPE, SLOT) \
  MX_EXPORT int NAME(MXL_context_ptr ctx, TYPE *fnPtr) { return mx_set_older(ctx, #NAME, [&] { ctx->older.SLOT = fnPtr; }); }

MXL_SLOT_SETTER(MXL_set_func_callback, MXL_callback, func)
MXL_SLOT_SETTER(MXL_set_grad_callback, MXL_callback, grad)
MXL_SLOT_SETTER(MXL_set_hess_callback, MXL_callback, hess)
MXL_SLOT_SETTER(MXL_set_func_callback64, MXL_callback64, func64)
MXL_SLOT_SETTER(MXL_set_grad_callback64, MXL_callback64, grad64)
MXL_SLOT_SETTER(MXL_set_hess_callback64, MXL_callback64, hess64)
MXL_SLOT_SETTER(MXL_set_newpt_callback, MXL_user_callback, newpt)
MXL_SLOT_SETTER(MXL_set_newpoint_callback, MXL_user_callback, newpt)
MXL_SLOT_SETTER(MXL_set_ms_process_callback, MXL_user_callback, msProcess)
MXL_SLOT_SETTER(MXL_set_mip_node_callback, MXL_user_callback, mipNode)
MXL_SLOT_SETTER(MXL_set_ms_initpt_callback, MXL_ms_initpt_callback, msInitpt)
MXL_SLOT_SETTER(MXL_lsq_set_res_callback, MXL_lsq_callback, lsqRes)
MXL_SLOT_SETTER(MXL_lsq_set_jac_callback, MXL_lsq_callback, lsqJac)
MXL_SLOT_SETTER(MXL_lsq_set_res_callback64, MXL_lsq_callback64, lsqRes64)
MXL_SLOT_SETTER(MXL_lsq_set_jac_callback64, MXL_lsq_callback64, lsqJac64)

}  // extern "C"
