// The single user hooks (new point, mixed-integer node and cuts,
// multi-start, print, linear solver), the routine slots of the older
// family, and the calls that run the hooks during a solve.
#include "driver/print.h"
#include "interface/evaluation.h"
#include "interface/frame.h"

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
