// Constant terms of constraints, residuals and the objective.
//
// Before the first solve a constant is added to the model at once. After a
// solve, changes go to a pending store that the next solve folds in with
// mxLoadConstants, so that a solve in progress never sees half a change.
#include "interface/constants.h"

#include "interface/items.h"

namespace {

bool mx_after_solve(const MXL_context *ctx) { return ctx->changeLevel != 0; }

void mx_add_con_constant(MXL_context *ctx, int i, double value) {
  if (!mx_after_solve(ctx)) {
    ctx->con.constant[i] += value;
    return;
  }
  MxConstantStore &store = ctx->model->constants;
  mx_ensure(store.conPending, ctx->m, 0.0);
  store.conPending[i] += value;
}

void mx_mark_con_constant_deleted(MXL_context *ctx, int i) {
  MxConstantStore &store = ctx->model->constants;
  mx_ensure(store.conDelete, ctx->m, char(0));
  mx_ensure(store.conPending, ctx->m, 0.0);
  store.conDelete[i] = 1;
  store.conPending[i] = 0.0;  // an earlier pending add is replaced too
}

void mx_check_constant(MXL_context *ctx, double value, int k, int i) {
  if (!mx_finite(value))
    mx_fatal(ctx, MX_RC_BAD_CONSTRAINT,
             "ERROR: constants[%d] corresponding to constraint %d is undefined.\n", k, i);
}

}  // namespace

void mxLoadConstants(MXL_context *ctx) {
  MxConstantStore &store = ctx->model->constants;
  for (size_t i = 0; i < store.conDelete.size(); ++i)
    if (store.conDelete[i]) ctx->con.constant[i] = 0.0;
  for (size_t i = 0; i < store.conPending.size(); ++i) ctx->con.constant[i] += store.conPending[i];
  store.conDelete.clear();
  store.conPending.clear();
  if (store.objDelete) store.objConstant = 0.0;
  if (store.objPendingSet) store.objConstant += store.objPending;
  store.objDelete = false;
  store.objPendingSet = false;
  store.objPending = 0.0;
}

extern "C" {

MX_EXPORT int MX_add_con_constants(MX_context_ptr ctx, const int nC, const int *indexCons,
                                   const double *constants) {
  return mx_set_items(ctx, "MX_add_con_constants", mxConKind, MX_ANY_PHASE, nC, indexCons, constants,
                      "constants", [&](int i, int k) {
                        mx_check_constant(ctx, constants[k], k, i);
                        mx_add_con_constant(ctx, i, constants[k]);
                      });
}
MX_ALL_AND_ONE_FORMS(MX_add_con_constants_all, MX_add_con_constant, MX_add_con_constants, mxConKind, double)

MX_EXPORT int MX_del_con_constants(MX_context_ptr ctx, const int nC, const int *indexCons) {
  return mx_set_items(ctx, "MX_del_con_constants", mxConKind, MX_AFTER_SOLVE_ONLY, nC, indexCons,
                      nullptr, nullptr, [&](int i, int) { mx_mark_con_constant_deleted(ctx, i); });
}
MX_EXPORT int MX_del_con_constants_all(MX_context_ptr ctx) {
  return mx_call_all(ctx, mxConKind, [&](int count, const int *idx) {
    return MX_del_con_constants(ctx, count, idx);
  });
}
MX_EXPORT int MX_del_con_constant(MX_context_ptr ctx, const int indexCon) {
  return MX_del_con_constants(ctx, 1, &indexCon);
}

MX_EXPORT int MX_chg_con_constants(MX_context_ptr ctx, const int nC, const int *indexCons,
                                   const double *constants) {
  return mx_set_items(ctx, "MX_chg_con_constants", mxConKind, MX_AFTER_SOLVE_ONLY, nC, indexCons,
                      constants, "constants", [&](int i, int k) {
                        mx_check_constant(ctx, constants[k], k, i);
                        mx_mark_con_constant_deleted(ctx, i);
                        mx_add_con_constant(ctx, i, constants[k]);
                      });
}
MX_ALL_AND_ONE_FORMS(MX_chg_con_constants_all, MX_chg_con_constant, MX_chg_con_constants, mxConKind, double)

MX_EXPORT int MX_add_rsd_constants(MX_context_ptr ctx, const int nR, const int *indexRsds,
                                   const double *constants) {
  return mx_set_items(ctx, "MX_add_rsd_constants", mxRsdKind, MX_ANY_PHASE, nR, indexRsds, constants,
                      "constants", [&](int i, int k) {
                        if (!mx_finite(constants[k]))
                          mx_fatal(ctx, MX_RC_BAD_RSD,
                                   "ERROR: constants[%d] corresponding to residual %d is undefined.\n", k, i);
                        ctx->rsd.constant[i] += constants[k];
                      });
}
MX_ALL_AND_ONE_FORMS(MX_add_rsd_constants_all, MX_add_rsd_constant, MX_add_rsd_constants, mxRsdKind, double)

}  // extern "C"
