// Accessors of the derivatives at the last point, of the mixed-integer
// results and of the presolve's reported failure.
#include "driver/solve.h"
#include "interface/items.h"

namespace {

int mx_deriv_enter(MXL_context *ctx, const char *fn) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  if (ctx->fatalError) return MX_RC_ILLEGAL_CALL;
  return 0;
}

int mx_null(MXL_context *ctx, const char *name, const char *fn) {
  mxl_printf(ctx, "ERROR: Parameter %s passed to %s() is NULL.\n", name, fn);
  return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
}

template <class F>
int mx_reader(MXL_context *ctx, const char *fn, F &&body) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_deriv_enter(ctx, fn)) return rc;
    return body();
  });
}

int mx_copy_matrix(const MxJacobian &j, int *rows, int *cols, double *vals) {
  const size_t nnz = static_cast<size_t>(j.nnz);
  std::copy(j.indexCons.begin(), j.indexCons.begin() + nnz, rows);
  std::copy(j.indexVars.begin(), j.indexVars.begin() + nnz, cols);
  const size_t have = std::min(nnz, j.values.size());
  std::copy(j.values.begin(), j.values.begin() + have, vals);
  return 0;
}

// A bad row index: -510 and a count of 0, the context stays usable.
int mx_bad_row(MXL_context *ctx, const char *fn, int indexCon) {
  mxl_printf(ctx, "ERROR: Constraint index %d passed to %s() is out of range.\n", indexCon, fn);
  mxl_printf(ctx, "       The index should be less than %d and non-negative.\n", ctx->m);
  return mx_getter_fail(ctx, MX_RC_BAD_CON_INDEX);
}

bool mx_no_hessian_matrix(const MXL_context *ctx) {
  const int h = ctx->resolvedHessopt;
  if (h == 4 || h == 5 || h == 6) return true;
  return (h == 2 || h == 3) && ctx->opt.presolve != 0;
}

}  // namespace

extern "C" {

MX_EXPORT int MX_get_objgrad_nnz(MX_context_ptr ctx, MX_nnz *const nnz) {
  return mx_reader(ctx, "MX_get_objgrad_nnz", [&]() {
    if (nnz == nullptr) return mx_null(ctx, "nnz", "MX_get_objgrad_nnz");
    *nnz = ctx->pat.objGrad.nnz();
    return 0;
  });
}

MX_EXPORT int MX_get_objgrad_values(MX_context_ptr ctx, int *const indexVars, double *const objGrad) {
  return mx_reader(ctx, "MX_get_objgrad_values", [&]() {
    if (indexVars == nullptr) return mx_null(ctx, "indexVars", "MX_get_objgrad_values");
    if (objGrad == nullptr) return mx_null(ctx, "objGrad", "MX_get_objgrad_values");
    const std::vector<int> &vars = ctx->pat.objGrad.indexVars;
    for (size_t k = 0; k < vars.size(); ++k) {
      indexVars[k] = vars[k];
      objGrad[k] = static_cast<size_t>(vars[k]) < ctx->var.objGrad.size() ? ctx->var.objGrad[vars[k]] : 0.0;
    }
    return 0;
  });
}

MX_EXPORT int MX_get_objgrad_values_all(MX_context_ptr ctx, double *const objGrad) {
  return mx_reader(ctx, "MX_get_objgrad_values_all", [&]() {
    if (objGrad == nullptr) return mx_null(ctx, "objGrad", "MX_get_objgrad_values_all");
    const size_t n = static_cast<size_t>(ctx->n);
    for (size_t j = 0; j < n; ++j) objGrad[j] = j < ctx->var.objGrad.size() ? ctx->var.objGrad[j] : 0.0;
    return 0;
  });
}

MX_EXPORT int MX_get_jacobian_nnz(MX_context_ptr ctx, MX_nnz *const nnz) {
  return mx_reader(ctx, "MX_get_jacobian_nnz", [&]() {
    if (nnz == nullptr) return mx_null(ctx, "nnz", "MX_get_jacobian_nnz");
    *nnz = ctx->pat.jac.nnz;
    return 0;
  });
}

MX_EXPORT int MX_get_jacobian_values(MX_context_ptr ctx, int *const indexCons, int *const indexVars, double *const jac) {
  return mx_reader(ctx, "MX_get_jacobian_values", [&]() {
    if (indexCons == nullptr) return mx_null(ctx, "indexCons", "MX_get_jacobian_values");
    if (indexVars == nullptr) return mx_null(ctx, "indexVars", "MX_get_jacobian_values");
    if (jac == nullptr) return mx_null(ctx, "jac", "MX_get_jacobian_values");
    return mx_copy_matrix(ctx->pat.jac, indexCons, indexVars, jac);
  });
}

MX_EXPORT int MX_get_jacobian_nnz_one(MX_context_ptr ctx, const int indexCon, MX_nnz *const nnz) {
  return mx_reader(ctx, "MX_get_jacobian_nnz_one", [&]() {
    if (nnz == nullptr) return mx_null(ctx, "nnz", "MX_get_jacobian_nnz_one");
    *nnz = 0;
    if (indexCon < 0 || indexCon >= ctx->m) return mx_bad_row(ctx, "MX_get_jacobian_nnz_one", indexCon);
    const std::vector<nnzint> &ptr = ctx->pat.jac.rowPtr;
    if (static_cast<size_t>(indexCon) + 1 < ptr.size()) *nnz = ptr[indexCon + 1] - ptr[indexCon];
    return 0;
  });
}

MX_EXPORT int MX_get_jacobian_values_one(MX_context_ptr ctx, const int indexCon, int *const indexVars, double *const jac) {
  return mx_reader(ctx, "MX_get_jacobian_values_one", [&]() {
    if (indexVars == nullptr) return mx_null(ctx, "indexVars", "MX_get_jacobian_values_one");
    if (jac == nullptr) return mx_null(ctx, "jac", "MX_get_jacobian_values_one");
    if (indexCon < 0 || indexCon >= ctx->m) return mx_bad_row(ctx, "MX_get_jacobian_values_one", indexCon);
    const MxJacobian &J = ctx->pat.jac;
    if (static_cast<size_t>(indexCon) + 1 >= J.rowPtr.size()) return 0;
    for (nnzint k = J.rowPtr[indexCon], t = 0; k < J.rowPtr[indexCon + 1]; ++k, ++t) {
      indexVars[t] = J.indexVars[k];
      jac[t] = static_cast<size_t>(k) < J.values.size() ? J.values[k] : 0.0;
    }
    return 0;
  });
}

MX_EXPORT int MX_get_rsd_jacobian_nnz(MX_context_ptr ctx, MX_nnz *const nnz) {
  return mx_reader(ctx, "MX_get_rsd_jacobian_nnz", [&]() {
    if (nnz == nullptr) return mx_null(ctx, "nnz", "MX_get_rsd_jacobian_nnz");
    *nnz = ctx->pat.rsdJac.nnz;
    return 0;
  });
}

MX_EXPORT int MX_get_rsd_jacobian_values(MX_context_ptr ctx, int *const indexRsds, int *const indexVars, double *const rsdJac) {
  return mx_reader(ctx, "MX_get_rsd_jacobian_values", [&]() {
    if (indexRsds == nullptr) return mx_null(ctx, "indexRsds", "MX_get_rsd_jacobian_values");
    if (indexVars == nullptr) return mx_null(ctx, "indexVars", "MX_get_rsd_jacobian_values");
    if (rsdJac == nullptr) return mx_null(ctx, "rsdJac", "MX_get_rsd_jacobian_values");
    return mx_copy_matrix(ctx->pat.rsdJac, indexRsds, indexVars, rsdJac);
  });
}

MX_EXPORT int MX_get_hessian_nnz(MX_context_ptr ctx, MX_nnz *const nnz) {
  return mx_reader(ctx, "MX_get_hessian_nnz", [&]() {
    if (nnz == nullptr) return mx_null(ctx, "nnz", "MX_get_hessian_nnz");
    *nnz = mx_no_hessian_matrix(ctx) ? 0 : ctx->pat.hess.nnz;
    return 0;
  });
}

MX_EXPORT int MX_get_hessian_values(MX_context_ptr ctx, int *const indexVars1, int *const indexVars2, double *const hess) {
  return mx_reader(ctx, "MX_get_hessian_values", [&]() {
    if (mx_no_hessian_matrix(ctx)) return 1;
    if (indexVars1 == nullptr) return mx_null(ctx, "indexVars1", "MX_get_hessian_values");
    if (indexVars2 == nullptr) return mx_null(ctx, "indexVars2", "MX_get_hessian_values");
    if (hess == nullptr) return mx_null(ctx, "hess", "MX_get_hessian_values");
    const MxHessian &h = ctx->pat.hess;
    const size_t nnz = static_cast<size_t>(h.nnz);
    std::copy(h.indexVars1.begin(), h.indexVars1.begin() + nnz, indexVars1);
    std::copy(h.indexVars2.begin(), h.indexVars2.begin() + nnz, indexVars2);
    for (size_t k = 0; k < nnz; ++k) hess[k] = k < h.values.size() ? h.values[k] : 0.0;
    return 0;
  });
}

#define MX_MIP_SCALAR(NAME, T, FIELD, RESULT)                                  \
  MX_EXPORT int NAME(MX_context_ptr ctx, T *const value) {                    \
    return mx_reader(ctx, #NAME, [&]() {                                      \
      if (value == nullptr) return mx_null(ctx, "value", #NAME);              \
      *value = ctx->drv.FIELD;                                                \
      return (RESULT);                                                        \
    });                                                                       \
  }

MX_MIP_SCALAR(MX_get_mip_number_nodes, int, mipNodes, 0)
MX_MIP_SCALAR(MX_get_mip_number_solves, int, mipSolves, 0)
MX_MIP_SCALAR(MX_get_mip_abs_gap, double, mipAbsGap, 0)
MX_MIP_SCALAR(MX_get_mip_rel_gap, double, mipRelGap, 0)
MX_MIP_SCALAR(MX_get_mip_incumbent_obj, double, mipIncumbentObj, ctx->drv.mipIncumbentX.empty() ? 1 : 0)
MX_MIP_SCALAR(MX_get_mip_relaxation_bnd, double, mipRelaxBound, 0)
MX_MIP_SCALAR(MX_get_mip_lastnode_obj, double, mipLastNodeObj, 0)

MX_EXPORT int MX_get_mip_incumbent_x(MX_context_ptr ctx, double *const x) {
  return mx_reader(ctx, "MX_get_mip_incumbent_x", [&]() {
    if (x == nullptr) return mx_null(ctx, "x", "MX_get_mip_incumbent_x");
    const std::vector<double> &inc = ctx->drv.mipIncumbentX;
    if (inc.empty()) return 1;
    std::copy(inc.begin(), inc.end(), x);
    return 0;
  });
}

MX_EXPORT int MX_get_presolve_error(MX_context_ptr ctx, int *const component, int *const index, int *const error,
                                    double *const viol) {
  return mx_reader(ctx, "MX_get_presolve_error", [&]() {
    if (component) *component = 0;
    if (index) *index = -1;
    if (error) *error = 0;
    if (viol) *viol = 0.0;
    // No reduction is made yet, so nothing is ever reported.
    return 0;
  });
}

}  // extern "C"
