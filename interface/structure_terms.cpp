// Life of the structure objects (creation on first use, growth with the
// model, deep copies for child contexts, the frame of structure calls), and
// the quadratic and L2-norm terms, which are fixed by the first solve.
// Every entry is checked before anything is stored.
#include <algorithm>
#include <cmath>

#include "interface/structure_frame.h"

MXLIN &mx_linear(MXMOD &mod) {
  if (!mod.linear) mod.linear.reset(new MXLIN());
  return *mod.linear;
}

MXQUAD &mx_quadratic(MXMOD &mod) {
  if (!mod.quadratic) mod.quadratic.reset(new MXQUAD());
  return *mod.quadratic;
}

int mx_struct_prologue(MXL_context *ctx, const char *fn, int needVars, int needCons, int needRsds,
                       MxPhase phase, nnzint nnz, const MxArrayArg *arrays, int numArrays) {
  if (const int rc = mx_enter(ctx, fn, needVars, needCons, 0, needRsds)) return rc;
  if (phase == MX_BEFORE_SOLVE_ONLY && mx_restart_check(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  if (phase == MX_AFTER_SOLVE_ONLY && mx_restart_only(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  if (nnz == 0) return 0;
  if (nnz < 0)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of nonzero elements passed to %s() must be non-negative.\n", fn);
  for (int k = 0; k < numArrays; ++k)
    if (arrays[k].pointer == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", arrays[k].name, fn);
  return -1;
}

std::vector<int> mx_repeat_index(MXL_context *ctx, nnzint nnz, int index) {
  (void)ctx;
  return std::vector<int>(static_cast<size_t>(std::max<nnzint>(nnz, 0)), index);
}

namespace {

// Reserve (may throw) or resize (cannot throw once reserved) one array.
template <class T>
void mx_grow(std::vector<T> &v, int size, const T &fill, bool commit) {
  if (commit)
    v.resize(static_cast<size_t>(size), fill);
  else
    v.reserve(static_cast<size_t>(size));
}

void mx_grow_pass(MXMOD &mod, int newN, int newM, bool commit) {
  for (auto &cb : mod.callbacks) {
    mx_grow(cb->xRelStepSizes, newN, 0.0, commit);
    mx_grow(cb->constraintMask, newM, 0, commit);
  }
  if (mod.linear) mx_grow(mod.linear->consWithLinear, newM, 0, commit);
  if (mod.quadratic) mx_grow(mod.quadratic->consWithQuadratic, newM, 0, commit);
}

}  // namespace

void mxStructuresGrow(MXL_context *ctx, int newN, int newM) {
  MXMOD &mod = *ctx->model;
  mx_grow_pass(mod, newN, newM, false);
  mx_grow_pass(mod, newN, newM, true);
}

void mxStructuresCopy(const MXMOD &source, MXMOD &target) {
  std::vector<std::unique_ptr<MXCB>> callbacks;
  callbacks.reserve(source.callbacks.size());
  for (const auto &cb : source.callbacks) {
    callbacks.emplace_back(new MXCB(*cb));
    callbacks.back()->owner = target.owner;
  }
  std::vector<std::unique_ptr<MXCONIC>> conics;
  conics.reserve(source.conics.size());
  for (const auto &cone : source.conics) conics.emplace_back(new MXCONIC(*cone));
  std::unique_ptr<MXLIN> linear(source.linear ? new MXLIN(*source.linear) : nullptr);
  std::unique_ptr<MXQUAD> quadratic(source.quadratic ? new MXQUAD(*source.quadratic) : nullptr);
  target.callbacks.swap(callbacks);
  target.conics.swap(conics);
  target.linear.swap(linear);
  target.quadratic.swap(quadratic);
  target.merged = source.merged;
}

namespace {

void mx_check_quad_var(MXL_context *ctx, int var, const char *arrayName, nnzint k) {
  if (var < 0 || var >= ctx->n)
    mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index %d in %s[%d] outside of range.\n", var,
             arrayName, static_cast<int>(k));
}

void mx_check_quad_entry(MXL_context *ctx, nnzint k, const int *cons, int v1, int v2, double coef) {
  const int kk = static_cast<int>(k);
  if (cons != nullptr && (cons[k] < 0 || cons[k] >= ctx->m))
    mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "ERROR: Constraint index %d in indexCons[%d] outside of range.\n", cons[k], kk);
  mx_check_quad_var(ctx, v1, "indexVars1", k);
  mx_check_quad_var(ctx, v2, "indexVars2", k);
  if (mx_finite(coef)) return;
  if (cons != nullptr) {
    mxl_printf(ctx, "ERROR: Constraint quadratic coefficient %d corresponding to\n", kk);
    mx_fatal(ctx, MX_RC_BAD_CONSTRAINT,
             "       constraint index=%d, variable1 index=%d, variable2 index=%d is undefined.\n", cons[k], v1, v2);
  }
  mxl_printf(ctx, "ERROR: Objective quadratic coefficient %d corresponding to\n", kk);
  mx_fatal(ctx, MX_RC_BAD_OBJECTIVE, "       variable1 index=%d, variable2 index=%d is undefined.\n", v1, v2);
}

void mx_append_quad(MXL_context *ctx, MxQuadTerms &t, nnzint nnz, nnzint nonzeros, const int *cons,
                    const int *v1, const int *v2, const double *coefs) {
  const size_t total = static_cast<size_t>(t.size() + nonzeros);
  if (cons != nullptr) t.cons.reserve(total);
  t.vars1.reserve(total);
  t.vars2.reserve(total);
  t.values.reserve(total);
  for (nnzint k = 0; k < nnz; ++k) {
    if (coefs[k] == 0.0) continue;
    const int a = std::min(v1[k], v2[k]), b = std::max(v1[k], v2[k]);
    if (cons != nullptr) t.cons.push_back(cons[k]);
    t.vars1.push_back(a);
    t.vars2.push_back(b);
    t.values.push_back(a == b ? 2.0 * coefs[k] : coefs[k]);
  }
}

int mx_add_quadratic(MXL_context *ctx, const char *fn, nnzint nnz, const int *cons, const int *v1,
                     const int *v2, const double *coefs, bool objective) {
  return mx_guard(ctx, [&]() {
    const MxArrayArg arrays[4] = {{cons, "indexCons"}, {v1, "indexVars1"}, {v2, "indexVars2"}, {coefs, "coefs"}};
    const int pre = mx_struct_prologue(ctx, fn, 1, !objective, 0, MX_BEFORE_SOLVE_ONLY, nnz,
                                       arrays + objective, 4 - objective);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    nnzint nonzeros = 0;
    for (nnzint k = 0; k < nnz; ++k) {
      mx_check_quad_entry(ctx, k, objective ? nullptr : cons, v1[k], v2[k], coefs[k]);
      if (coefs[k] != 0.0) ++nonzeros;
    }
    if (objective) ctx->model->objAdded = 1;
    if (nonzeros == 0) return 0;
    MXQUAD &quad = mx_quadratic(*ctx->model);
    if (!objective) mx_ensure(quad.consWithQuadratic, ctx->m, 0);
    mx_append_quad(ctx, objective ? quad.obj : quad.con, nnz, nonzeros, objective ? nullptr : cons, v1, v2, coefs);
    if (objective) {
      mx_raise_obj_type(ctx, MX_OBJTYPE_QUADRATIC);
      return 0;
    }
    for (nnzint k = 0; k < nnz; ++k) {
      if (coefs[k] == 0.0) continue;
      quad.consWithQuadratic[cons[k]] = 1;
      mx_raise_con_type(ctx, cons[k], MX_CONTYPE_QUADRATIC);
    }
    return 0;
  });
}

// ---- L2 norm ----

struct MxNormArgs {
  int indexCon, nCoords;
  nnzint nnz;
  const int *coords, *vars;
  const double *coefs, *constants;
};

void mx_check_norm_head(MXL_context *ctx, const char *fn, const MxNormArgs &a) {
  if (a.nCoords <= 0)
    mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "ERROR: The number of coordinates nCoords passed to %s() must be positive.\n", fn);
  if (a.indexCon < 0 || a.indexCon >= ctx->m)
    mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "ERROR: Constraint index %d passed to %s() outside of range.\n", a.indexCon, fn);
  const int type = ctx->con.type[a.indexCon];
  if (type != MX_CONTYPE_NONE && type != MX_CONTYPE_LINEAR) {
    mxl_printf(ctx, "ERROR: Currently L2 norm structure may only be added to constraints\n");
    mx_fatal(ctx, MX_RC_BAD_CONSTRAINT, "       with linear or constant structure.\n");
  }
  if (a.nnz < 0)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of nonzero elements passed to %s() must be non-negative.\n", fn);
  const MxArrayArg arrays[3] = {{a.coords, "indexCoords"}, {a.vars, "indexVars"}, {a.coefs, "coefs"}};
  for (const MxArrayArg &arg : arrays)
    if (a.nnz > 0 && arg.pointer == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", arg.name, fn);
}

void mx_check_norm_entries(MXL_context *ctx, const MxNormArgs &a) {
  for (int k = 0; a.constants != nullptr && k < a.nCoords; ++k)
    if (!mx_finite(a.constants[k]))
      mx_fatal(ctx, MX_RC_BAD_CONSTRAINT, "ERROR: L2 norm value constants[%d] is undefined.\n", k);
  for (nnzint k = 0; k < a.nnz; ++k) {
    const int kk = static_cast<int>(k);
    if (a.coords[k] < 0 || a.coords[k] >= a.nCoords)
      mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "ERROR: L2 norm matrix row/coordinate index %d in indexCoords[%d] outside of range.\n",
               a.coords[k], kk);
    if (a.vars[k] < 0 || a.vars[k] >= ctx->n)
      mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: L2 norm matrix column/variable index %d in indexVars[%d] outside of range.\n",
               a.vars[k], kk);
    if (!mx_finite(a.coefs[k])) {
      mxl_printf(ctx, "ERROR: L2 norm matrix coefficient %d corresponding to\n", kk);
      mx_fatal(ctx, MX_RC_BAD_CONSTRAINT, "       coordinate index=%d, variable index=%d, is undefined.\n",
               a.coords[k], a.vars[k]);
    }
  }
}

double mx_norm_of_constants(const MxNormArgs &a) {
  double sum = 0.0;
  for (int k = 0; a.constants != nullptr && k < a.nCoords; ++k) sum += a.constants[k] * a.constants[k];
  return std::sqrt(sum);
}

MXCONIC *mx_build_cone(const MxNormArgs &a) {
  std::unique_ptr<MXCONIC> cone(new MXCONIC());
  cone->indexCon = a.indexCon;
  cone->nCoords = a.nCoords;
  cone->nnz = a.nnz;
  cone->rows.assign(a.coords, a.coords + a.nnz);
  cone->cols.assign(a.vars, a.vars + a.nnz);
  cone->values.assign(a.coefs, a.coefs + a.nnz);
  cone->constants.assign(static_cast<size_t>(a.nCoords), 0.0);
  if (a.constants != nullptr) std::copy(a.constants, a.constants + a.nCoords, cone->constants.begin());
  cone->vars = cone->cols;
  std::sort(cone->vars.begin(), cone->vars.end());
  cone->vars.erase(std::unique(cone->vars.begin(), cone->vars.end()), cone->vars.end());
  cone->entryVar.resize(static_cast<size_t>(a.nnz));
  for (nnzint k = 0; k < a.nnz; ++k)
    cone->entryVar[k] = static_cast<int>(std::lower_bound(cone->vars.begin(), cone->vars.end(), a.vars[k]) - cone->vars.begin());
  return cone.release();
}

void mx_store_cone(MXL_context *ctx, const char *fn, const MxNormArgs &a) {
  MXMOD &mod = *ctx->model;
  try {
    mod.conics.reserve(mod.conics.size() + 1);
    mod.conics.emplace_back(mx_build_cone(a));
  } catch (const std::bad_alloc &) {
    // Out of memory leaves the model as it was and the context usable.
    mxl_printf(ctx, "ERROR: Unable to allocate memory to hold L2 norm structure in %s().\n", fn);
    throw;
  }
  ctx->con.type[a.indexCon] = MX_CONTYPE_CONIC;
}

}  // namespace

extern "C" {

MX_EXPORT int MX_add_con_quadratic_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexCons,
                                          const int *indexVars1, const int *indexVars2, const double *coefs) {
  return mx_add_quadratic(ctx, "MX_add_con_quadratic_struct", nnz, indexCons, indexVars1, indexVars2, coefs, false);
}
MX_EXPORT int MX_add_con_quadratic_struct_one(MX_context_ptr ctx, const MX_nnz nnz, const int indexCon,
                                              const int *indexVars1, const int *indexVars2, const double *coefs) {
  return mx_guard(ctx, [&]() {
    const std::vector<int> cons = mx_repeat_index(ctx, nnz, indexCon);
    return mx_add_quadratic(ctx, "MX_add_con_quadratic_struct_one", nnz, cons.empty() ? &indexCon : cons.data(),
                            indexVars1, indexVars2, coefs, false);
  });
}
MX_EXPORT int MX_add_con_quadratic_term(MX_context_ptr ctx, const int indexCon, const int indexVar1,
                                        const int indexVar2, const double coef) {
  return mx_add_quadratic(ctx, "MX_add_con_quadratic_term", 1, &indexCon, &indexVar1, &indexVar2, &coef, false);
}
MX_EXPORT int MX_add_obj_quadratic_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexVars1,
                                          const int *indexVars2, const double *coefs) {
  return mx_add_quadratic(ctx, "MX_add_obj_quadratic_struct", nnz, nullptr, indexVars1, indexVars2, coefs, true);
}
MX_EXPORT int MX_add_obj_quadratic_term(MX_context_ptr ctx, const int indexVar1, const int indexVar2,
                                        const double coef) {
  return mx_add_quadratic(ctx, "MX_add_obj_quadratic_term", 1, nullptr, &indexVar1, &indexVar2, &coef, true);
}

MX_EXPORT int MX_add_con_L2norm(MX_context_ptr ctx, const int indexCon, const int nCoords, const MX_nnz nnz,
                                const int *indexCoords, const int *indexVars, const double *coefs,
                                const double *constants) {
  const char *fn = "MX_add_con_L2norm";
  return mx_guard(ctx, [&]() {
    if (const int rc = mx_enter(ctx, fn, 1, 1)) return rc;
    if (mx_restart_check(ctx, fn)) return int(MX_RC_ILLEGAL_CALL);
    MxLock lock(ctx->mutex);
    const MxNormArgs a{indexCon, nCoords, nnz, indexCoords, indexVars, coefs, constants};
    mx_check_norm_head(ctx, fn, a);
    mx_check_norm_entries(ctx, a);
    if (nnz == 0) {
      mxl_printf(ctx, "WARNING: The matrix passed to %s() is empty.  Adding constant structure.\n", fn);
      ctx->con.constant[indexCon] += mx_norm_of_constants(a);
      return 0;
    }
    mx_store_cone(ctx, fn, a);
    return 0;
  });
}

}  // extern "C"
