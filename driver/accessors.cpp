// Accessors of results: the solution, counts, error measures, violations
// and derivative values of the last point. They only read the context and
// take no lock, so that callbacks may use them during a solve.
#include <cmath>

#include "driver/solve.h"
#include "interface/items.h"

namespace {

int mx_reader_enter(MXL_context *ctx, const char *fn, bool refusePoisoned) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  if (refusePoisoned && ctx->fatalError) return MX_RC_ILLEGAL_CALL;
  return 0;
}

int mx_null_output(MXL_context *ctx, const char *name, const char *fn) {
  mxl_printf(ctx, "ERROR: Parameter %s passed to %s() is NULL.\n", name, fn);
  return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
}

// A scalar through an output argument.
template <class T, class F>
int mx_get_scalar(MXL_context *ctx, const char *fn, T *out, const char *name, F &&value) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_reader_enter(ctx, fn, false)) return rc;
    if (out == nullptr) return mx_null_output(ctx, name, fn);
    *out = value(ctx);
    return 0;
  });
}

// The older form: the count itself, or -516 for a bad context.
template <class F>
int mx_older_count(MXL_context *ctx, const char *fn, F &&value) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  return value(ctx);
}

template <class F>
double mx_older_error(MXL_context *ctx, const char *fn, F &&value) {
  if (mxl_magic_check(ctx, 0, fn)) return static_cast<double>(MX_RC_BAD_KCPTR);
  return value(ctx);
}

// The new form over an older one: a negative result passes on.
int mx_count_into(int value, int *out) {
  if (value < 0) return value;
  if (out == nullptr) return MX_RC_NULL_POINTER;
  *out = value;
  return 0;
}

int mx_error_into(double value, double *out) {
  if (value <= -1.0) return static_cast<int>(value);
  if (out == nullptr) return MX_RC_NULL_POINTER;
  *out = value;
  return 0;
}

double mx_ratio(double value, double scale) { return scale > 0.0 ? value / scale : value; }

// Reads of one per-item array; nothing is written while it does not exist.
int mx_read_items(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count, const int *indices,
                  double *out, const char *name, const std::vector<double> &src, size_t offset) {
  return mx_get_items(ctx, fn, kind, count, indices, out, name, [&](int i, int k) {
    const size_t at = offset + static_cast<size_t>(i);
    if (at < src.size()) out[k] = src[at];
  });
}


// Bound violation of value v against [lo, up] with tolerance t.
double mx_bound_violation(MXL_context *ctx, double lo, double up, double v, double t, int *infeas) {
  const double range = ctx->opt.bndrange;
  const double dl = lo > -range ? std::max(0.0, lo - v) : 0.0;
  const double du = up < range ? std::max(0.0, v - up) : 0.0;
  if (infeas != nullptr) *infeas = dl > t ? -1 : du > t ? 1 : 0;
  return std::max(dl, du);
}

}  // namespace

extern "C" {

MX_EXPORT int MX_get_solution(MX_context_ptr ctx, int *const status, double *const obj, double *const x,
                              double *const lambda) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_reader_enter(ctx, "MX_get_solution", false)) return rc;
    if (status != nullptr) *status = ctx->returnCode;
    if (obj != nullptr) *obj = ctx->drv.objValue;
    const size_t n = static_cast<size_t>(ctx->n), nm = n + static_cast<size_t>(ctx->m);
    if (x != nullptr && ctx->var.x.size() >= n) std::copy(ctx->var.x.begin(), ctx->var.x.begin() + n, x);
    if (lambda != nullptr && ctx->lambda.size() >= nm) std::copy(ctx->lambda.begin(), ctx->lambda.begin() + nm, lambda);
    return 0;
  });
}

MX_EXPORT int MX_get_obj_value(MX_context_ptr ctx, double *const obj) {
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_reader_enter(ctx, "MX_get_obj_value", true)) return rc;
    if (obj == nullptr) return mx_null_output(ctx, "obj", "MX_get_obj_value");
    *obj = ctx->drv.objValue;
    return 0;
  });
}

#define MX_COUNT_PAIR(NEWNAME, OLDNAME, EXPR)                                                  \
  MX_EXPORT int OLDNAME(MXL_context_ptr ctx) {                                                 \
    return mx_older_count(ctx, #OLDNAME, [](MXL_context *c) { return static_cast<int>(EXPR); }); \
  }                                                                                            \
  MX_EXPORT int NEWNAME(MX_context_ptr ctx, int *const value) { return mx_count_into(OLDNAME(ctx), value); }

MX_COUNT_PAIR(MX_get_number_iters, MXL_get_number_iters, c->drv.numIters)
MX_COUNT_PAIR(MX_get_number_cg_iters, MXL_get_number_cg_iters, c->drv.numCGIters)
MX_COUNT_PAIR(MX_get_number_FC_evals, MXL_get_number_FC_evals,
              c->isLeastSquares ? c->eval.counters.numRsdEvals : c->eval.counters.numFCevals)
MX_COUNT_PAIR(MX_get_number_GA_evals, MXL_get_number_GA_evals,
              c->isLeastSquares ? c->eval.counters.numRsdJacEvals : c->eval.counters.numGAevals)
MX_COUNT_PAIR(MX_get_number_H_evals, MXL_get_number_H_evals, c->eval.counters.numHevals)
MX_COUNT_PAIR(MX_get_number_HV_evals, MXL_get_number_HV_evals, c->eval.counters.numHVevals)

MX_EXPORT int MXL_get_number_major_iters(MXL_context_ptr ctx) {
  return mx_older_count(ctx, "MXL_get_number_major_iters", [](MXL_context *c) { return c->drv.numMajorIters; });
}
MX_EXPORT int MXL_get_number_minor_iters(MXL_context_ptr ctx) {
  return mx_older_count(ctx, "MXL_get_number_minor_iters", [](MXL_context *c) { return c->drv.numMinorIters; });
}

#define MX_ERROR_PAIR(NEWNAME, OLDNAME, EXPR)                                         \
  MX_EXPORT double OLDNAME(MXL_context_ptr ctx) {                                     \
    return mx_older_error(ctx, #OLDNAME, [](MXL_context *c) { return (EXPR); });      \
  }                                                                                   \
  MX_EXPORT int NEWNAME(MX_context_ptr ctx, double *const value) { return mx_error_into(OLDNAME(ctx), value); }

MX_ERROR_PAIR(MX_get_abs_feas_error, MXL_get_abs_feas_error, c->drv.absFeasError)
MX_ERROR_PAIR(MX_get_rel_feas_error, MXL_get_rel_feas_error, mx_ratio(c->drv.absFeasError, c->drv.feasErrorScale))
MX_ERROR_PAIR(MX_get_abs_opt_error, MXL_get_abs_opt_error, c->drv.absOptError)
MX_ERROR_PAIR(MX_get_rel_opt_error, MXL_get_rel_opt_error, mx_ratio(c->drv.absOptError, c->drv.optErrorScale))

MX_EXPORT int MX_get_solve_time_cpu(MX_context_ptr ctx, double *const time) {
  return mx_get_scalar(ctx, "MX_get_solve_time_cpu", time, "time", [](MXL_context *c) { return c->drv.cpuTotal; });
}
MX_EXPORT int MX_get_solve_time_real(MX_context_ptr ctx, double *const time) {
  return mx_get_scalar(ctx, "MX_get_solve_time_real", time, "time", [](MXL_context *c) { return c->drv.realTotal; });
}

#define MX_VALUE_FORMS(BASE, ALLNAME, ONENAME, KIND, NAME, SRC, OFFSET)                          \
  MX_EXPORT int BASE(MX_context_ptr ctx, const int count, const int *indices, double *values) {  \
    if (mxl_magic_check(ctx, 0, #BASE)) return MX_RC_BAD_KCPTR;                                 \
    return mx_read_items(ctx, #BASE, KIND, count, indices, values, NAME, ctx->SRC, (OFFSET));    \
  }                                                                                              \
  MX_EXPORT int ALLNAME(MX_context_ptr ctx, double *values) {                                    \
    return mx_call_all(ctx, KIND, [&](int count, const int *idx) { return BASE(ctx, count, idx, values); }); \
  }                                                                                              \
  MX_EXPORT int ONENAME(MX_context_ptr ctx, const int index, double *value) {                    \
    return BASE(ctx, 1, &index, value);                                                          \
  }

MX_VALUE_FORMS(MX_get_var_primal_values, MX_get_var_primal_values_all, MX_get_var_primal_value, mxVarKind,
               "xValues", var.x, 0)
MX_VALUE_FORMS(MX_get_var_dual_values, MX_get_var_dual_values_all, MX_get_var_dual_value, mxVarKind,
               "lambdaValues", lambda, static_cast<size_t>(ctx->m))
MX_VALUE_FORMS(MX_get_con_values, MX_get_con_values_all, MX_get_con_value, mxConKind, "cValues", con.c, 0)
MX_VALUE_FORMS(MX_get_con_dual_values, MX_get_con_dual_values_all, MX_get_con_dual_value, mxConKind,
               "lambdaValues", lambda, 0)
MX_VALUE_FORMS(MX_get_rsd_values, MX_get_rsd_values_all, MX_get_rsd_value, mxRsdKind, "rsdValues", rsd.value, 0)

MX_EXPORT int MX_get_var_viols(MX_context_ptr ctx, const int nV, const int *indexVars, int *bndInfeas,
                               int *intInfeas, double *viols) {
  if (mxl_magic_check(ctx, 0, "MX_get_var_viols")) return MX_RC_BAD_KCPTR;
  if (bndInfeas == nullptr && intInfeas == nullptr && viols == nullptr) return 0;
  if (ctx->var.x.size() < static_cast<size_t>(ctx->n)) return 0;
  const void *any = bndInfeas ? static_cast<const void *>(bndInfeas) : intInfeas ? static_cast<const void *>(intInfeas) : viols;
  return mx_get_items(ctx, "MX_get_var_viols", mxVarKind, nV, indexVars, any, "viols", [&](int j, int k) {
    const ErrModel &md = errModelApp(ctx);
    const double x = ctx->var.x[j];
    int infeas = 0;
    double v = mx_bound_violation(ctx, ctx->var.lo[j], ctx->var.up[j], x, getVarFeasTol(ctx, md, j), &infeas);
    int dir = 0;
    const int type = ctx->var.type[j];
    if (type == MX_VARTYPE_INTEGER || type == MX_VARTYPE_BINARY) {
      const double down = x - std::floor(x), up = std::ceil(x) - x;
      const double r = std::min(down, up);
      v = std::max(v, r);
      dir = r <= ctx->opt.mip_integer_tol ? 0 : (up > down ? -1 : 1);
    }
    if (bndInfeas) bndInfeas[k] = infeas;
    if (intInfeas) intInfeas[k] = dir;
    if (viols) viols[k] = v;
  });
}

MX_EXPORT int MX_get_var_viols_all(MX_context_ptr ctx, int *bndInfeas, int *intInfeas, double *viols) {
  return mx_call_all(ctx, mxVarKind, [&](int count, const int *idx) {
    return MX_get_var_viols(ctx, count, idx, bndInfeas, intInfeas, viols);
  });
}
MX_EXPORT int MX_get_var_viol(MX_context_ptr ctx, const int indexVar, int *bndInfeas, int *intInfeas, double *viol) {
  return MX_get_var_viols(ctx, 1, &indexVar, bndInfeas, intInfeas, viol);
}

MX_EXPORT int MX_get_con_viols(MX_context_ptr ctx, const int nC, const int *indexCons, int *infeas, double *viols) {
  if (mxl_magic_check(ctx, 0, "MX_get_con_viols")) return MX_RC_BAD_KCPTR;
  if (infeas == nullptr && viols == nullptr) return 0;
  if (ctx->con.c.size() < static_cast<size_t>(ctx->m)) return 0;
  const void *any = infeas ? static_cast<const void *>(infeas) : viols;
  return mx_get_items(ctx, "MX_get_con_viols", mxConKind, nC, indexCons, any, "viols", [&](int i, int k) {
    const ErrModel &md = errModelApp(ctx);
    int flag = 0;
    const double v = mx_bound_violation(ctx, ctx->con.lo[i], ctx->con.up[i], ctx->con.c[i], getConFeasTol(ctx, md, i), &flag);
    if (infeas) infeas[k] = flag;
    if (viols) viols[k] = v;
  });
}
MX_EXPORT int MX_get_con_viols_all(MX_context_ptr ctx, int *infeas, double *viols) {
  return mx_call_all(ctx, mxConKind, [&](int count, const int *idx) {
    return MX_get_con_viols(ctx, count, idx, infeas, viols);
  });
}
MX_EXPORT int MX_get_con_viol(MX_context_ptr ctx, const int indexCon, int *infeas, double *viol) {
  return MX_get_con_viols(ctx, 1, &indexCon, infeas, viol);
}

}  // extern "C"
