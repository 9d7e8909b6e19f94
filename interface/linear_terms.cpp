// Linear terms of constraints, the objective and residuals: add, delete and
// change.
//
// Each call checks every entry before it stores anything, so a refused call
// leaves the lists as they were. Deleting removes every term of a
// coordinate at once; changing deletes and then adds, and when the
// coordinate already has its place in the merged pattern the new value goes
// there directly, so the pattern need not be rebuilt.
#include <algorithm>
#include <utility>

#include "interface/patterns.h"
#include "interface/structure_frame.h"

namespace {

enum MxLinWhat { MX_LIN_CON, MX_LIN_OBJ, MX_LIN_RSD };

void mx_check_lin_var(MXL_context *ctx, int var) {
  if (var < 0 || var >= ctx->n)
    mx_fatal(ctx, MX_RC_BAD_VAR_INDEX, "ERROR: Variable index %d outside of range.\n", var);
}

void mx_check_lin_row(MXL_context *ctx, MxLinWhat what, int row) {
  if (what == MX_LIN_CON && (row < 0 || row >= ctx->m))
    mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "ERROR: Constraint index %d outside of range.\n", row);
  if (what == MX_LIN_RSD && (row < 0 || row >= ctx->r))
    mx_fatal(ctx, MX_RC_BAD_RSD_INDEX, "ERROR: Residual index %d outside of range.\n", row);
}

void mx_check_lin_coef(MXL_context *ctx, MxLinWhat what, nnzint k, int row, int var, double coef) {
  if (mx_finite(coef)) return;
  const int kk = static_cast<int>(k);
  if (what == MX_LIN_CON)
    mxl_printf(ctx, "ERROR: Coefficient %d corresponding to constraint %d and variable %d.\n", kk, row, var);
  else if (what == MX_LIN_RSD)
    mxl_printf(ctx, "ERROR: Coefficient %d corresponding to residual %d and variable %d.\n", kk, row, var);
  else
    mxl_printf(ctx, "ERROR: Objective coefficient %d corresponding to variable %d.\n", kk, var);
  const int code = what == MX_LIN_CON ? MX_RC_BAD_CONSTRAINT : what == MX_LIN_RSD ? MX_RC_BAD_RSD : MX_RC_BAD_OBJECTIVE;
  mx_fatal(ctx, code, "       is undefined.\n");
}

// Checks all entries; returns the number of non-zero coefficients.
nnzint mx_check_lin_entries(MXL_context *ctx, MxLinWhat what, nnzint nnz, const int *rows,
                            const int *vars, const double *coefs) {
  nnzint nonzeros = 0;
  for (nnzint k = 0; k < nnz; ++k) {
    const int row = rows != nullptr ? rows[k] : 0;
    mx_check_lin_row(ctx, what, row);
    mx_check_lin_var(ctx, vars[k]);
    if (coefs == nullptr) continue;
    mx_check_lin_coef(ctx, what, k, row, vars[k], coefs[k]);
    if (coefs[k] != 0.0) ++nonzeros;
  }
  return nonzeros;
}

MxLinTerms &mx_terms(MXLIN &lin, MxLinWhat what) {
  return what == MX_LIN_CON ? lin.jac : what == MX_LIN_OBJ ? lin.obj : lin.rsd;
}

// The place a new term takes at once, or -1 when the pattern must be
// rebuilt first.
nnzint mx_current_place(const MXL_context *ctx, MxLinWhat what, int row, int var) {
  if (ctx->changeLevel != -1) return -1;
  if (what == MX_LIN_CON) return mxFindJacEntry(ctx->pat.jac, row, var);
  if (what == MX_LIN_RSD) return mxFindJacEntry(ctx->pat.rsdJac, row, var);
  const std::vector<char> &mask = ctx->pat.objGrad.mask;
  return static_cast<size_t>(var) < mask.size() && mask[var] ? var : -1;
}

// Appends the non-zero entries; returns whether every new term found its
// place in the current pattern.
bool mx_append_terms(MXL_context *ctx, MxLinWhat what, nnzint nnz, nnzint nonzeros,
                     const int *rows, const int *vars, const double *coefs) {
  MXLIN &lin = mx_linear(*ctx->model);
  MxLinTerms &t = mx_terms(lin, what);
  const size_t total = static_cast<size_t>(t.size() + nonzeros);
  t.rows.reserve(total);
  t.vars.reserve(total);
  t.coefs.reserve(total);
  t.places.reserve(total);
  if (what == MX_LIN_CON) mx_ensure(lin.consWithLinear, ctx->m, 0);
  bool placed = true;
  for (nnzint k = 0; k < nnz; ++k) {
    if (coefs[k] == 0.0) continue;
    const int row = rows != nullptr ? rows[k] : 0;
    const nnzint place = mx_current_place(ctx, what, row, vars[k]);
    placed = placed && place >= 0;
    t.rows.push_back(row);
    t.vars.push_back(vars[k]);
    t.coefs.push_back(coefs[k]);
    t.places.push_back(place);
    if (what == MX_LIN_CON) {
      lin.consWithLinear[row] = 1;
      mx_raise_con_type(ctx, row, MX_CONTYPE_LINEAR);
      ++lin.addedSinceMerge;
    } else if (what == MX_LIN_RSD && ctx->rsd.type[row] == -1) {
      ctx->rsd.type[row] = MX_CONTYPE_LINEAR;
    }
  }
  if (what == MX_LIN_OBJ) mx_raise_obj_type(ctx, MX_OBJTYPE_LINEAR);
  return placed;
}

// Removes every term whose coordinate is listed; returns how many went.
nnzint mx_delete_terms(MxLinTerms &t, nnzint nnz, const int *rows, const int *vars) {
  std::vector<std::pair<int, int>> gone(static_cast<size_t>(nnz));
  for (nnzint k = 0; k < nnz; ++k) gone[k] = {rows != nullptr ? rows[k] : 0, vars[k]};
  std::sort(gone.begin(), gone.end());
  size_t keep = 0;
  for (size_t k = 0; k < t.vars.size(); ++k) {
    if (std::binary_search(gone.begin(), gone.end(), std::make_pair(t.rows[k], t.vars[k]))) continue;
    t.rows[keep] = t.rows[k];
    t.vars[keep] = t.vars[k];
    t.coefs[keep] = t.coefs[k];
    t.places[keep] = t.places[k];
    ++keep;
  }
  const nnzint removed = static_cast<nnzint>(t.vars.size() - keep);
  t.rows.resize(keep);
  t.vars.resize(keep);
  t.coefs.resize(keep);
  t.places.resize(keep);
  return removed;
}

struct MxLinCall {
  const char *fn;
  MxLinWhat what;
  MxPhase phase;
};

int mx_add_linear(MXL_context *ctx, const MxLinCall &call, nnzint nnz, const int *rows,
                  const int *vars, const double *coefs) {
  return mx_guard(ctx, [&]() {
    const bool con = call.what == MX_LIN_CON, rsd = call.what == MX_LIN_RSD;
    const MxArrayArg arrays[3] = {{rows, rsd ? "indexRsds" : "indexCons"}, {vars, "indexVars"}, {coefs, "coefs"}};
    const bool obj = call.what == MX_LIN_OBJ;
    const int pre = mx_struct_prologue(ctx, call.fn, 1, con, rsd, call.phase, nnz, arrays + obj, 3 - obj);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    const nnzint nonzeros = mx_check_lin_entries(ctx, call.what, nnz, rows, vars, coefs);
    if (call.what == MX_LIN_OBJ) ctx->model->objAdded = 1;
    if (nonzeros == 0) return 0;
    mx_append_terms(ctx, call.what, nnz, nonzeros, rows, vars, coefs);
    mx_mark_linear_changed(ctx);
    return 0;
  });
}

int mx_del_linear(MXL_context *ctx, const MxLinCall &call, nnzint nnz, const int *rows, const int *vars) {
  return mx_guard(ctx, [&]() {
    const bool con = call.what == MX_LIN_CON;
    const MxArrayArg arrays[2] = {{rows, "indexCons"}, {vars, "indexVars"}};
    const int pre = mx_struct_prologue(ctx, call.fn, 1, con, 0, call.phase, nnz, arrays + !con, 1 + con);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    mx_check_lin_entries(ctx, call.what, nnz, rows, vars, nullptr);
    if (mx_delete_terms(mx_terms(mx_linear(*ctx->model), call.what), nnz, rows, vars) > 0)
      mx_mark_linear_changed(ctx);
    return 0;
  });
}

int mx_chg_linear(MXL_context *ctx, const MxLinCall &call, nnzint nnz, const int *rows,
                  const int *vars, const double *coefs) {
  return mx_guard(ctx, [&]() {
    const bool con = call.what == MX_LIN_CON;
    const MxArrayArg arrays[3] = {{rows, "indexCons"}, {vars, "indexVars"}, {coefs, "coefs"}};
    const int pre = mx_struct_prologue(ctx, call.fn, 1, con, 0, call.phase, nnz, arrays + !con, 2 + con);
    if (pre != -1) return pre;
    MxLock lock(ctx->mutex);
    const nnzint nonzeros = mx_check_lin_entries(ctx, call.what, nnz, rows, vars, coefs);
    MXLIN &lin = mx_linear(*ctx->model);
    MxLinTerms &t = mx_terms(lin, call.what);
    if (con) mx_ensure(lin.consWithLinear, ctx->m, 0);
    // Room first, so that the deletion below cannot be followed by a
    // failed append.
    const size_t total = static_cast<size_t>(t.size() + nonzeros);
    t.rows.reserve(total);
    t.vars.reserve(total);
    t.coefs.reserve(total);
    t.places.reserve(total);
    mx_delete_terms(t, nnz, rows, vars);
    if (!mx_append_terms(ctx, call.what, nnz, nonzeros, rows, vars, coefs)) mx_mark_linear_changed(ctx);
    return 0;
  });
}

const MxLinCall kAddCon{"MX_add_con_linear_struct", MX_LIN_CON, MX_ANY_PHASE};
const MxLinCall kAddConOne{"MX_add_con_linear_struct_one", MX_LIN_CON, MX_ANY_PHASE};
const MxLinCall kAddConTerm{"MX_add_con_linear_term", MX_LIN_CON, MX_ANY_PHASE};
const MxLinCall kAddObj{"MX_add_obj_linear_struct", MX_LIN_OBJ, MX_ANY_PHASE};
const MxLinCall kAddObjTerm{"MX_add_obj_linear_term", MX_LIN_OBJ, MX_ANY_PHASE};
const MxLinCall kAddRsd{"MX_add_rsd_linear_struct", MX_LIN_RSD, MX_BEFORE_SOLVE_ONLY};
const MxLinCall kAddRsdOne{"MX_add_rsd_linear_struct_one", MX_LIN_RSD, MX_BEFORE_SOLVE_ONLY};
const MxLinCall kAddRsdTerm{"MX_add_rsd_linear_term", MX_LIN_RSD, MX_BEFORE_SOLVE_ONLY};
const MxLinCall kDelCon{"MX_del_con_linear_struct", MX_LIN_CON, MX_AFTER_SOLVE_ONLY};
const MxLinCall kDelConOne{"MX_del_con_linear_struct_one", MX_LIN_CON, MX_AFTER_SOLVE_ONLY};
const MxLinCall kDelConTerm{"MX_del_con_linear_term", MX_LIN_CON, MX_AFTER_SOLVE_ONLY};
const MxLinCall kDelObj{"MX_del_obj_linear_struct", MX_LIN_OBJ, MX_AFTER_SOLVE_ONLY};
const MxLinCall kDelObjTerm{"MX_del_obj_linear_term", MX_LIN_OBJ, MX_AFTER_SOLVE_ONLY};
const MxLinCall kChgCon{"MX_chg_con_linear_struct", MX_LIN_CON, MX_AFTER_SOLVE_ONLY};
const MxLinCall kChgConOne{"MX_chg_con_linear_struct_one", MX_LIN_CON, MX_AFTER_SOLVE_ONLY};
const MxLinCall kChgConTerm{"MX_chg_con_linear_term", MX_LIN_CON, MX_AFTER_SOLVE_ONLY};
const MxLinCall kChgObj{"MX_chg_obj_linear_struct", MX_LIN_OBJ, MX_AFTER_SOLVE_ONLY};
const MxLinCall kChgObjTerm{"MX_chg_obj_linear_term", MX_LIN_OBJ, MX_AFTER_SOLVE_ONLY};

// The _one forms repeat their index; a bad nnz is reported by the frame.
template <class F>
int mx_with_repeated(MXL_context *ctx, nnzint nnz, int index, F &&f) noexcept {
  std::vector<int> rows;
  try {
    rows = mx_repeat_index(ctx, nnz, index);
  } catch (const std::bad_alloc &) {
    if (ctx != nullptr && ctx->magic == MX_MAGIC) mx_report_out_of_memory(ctx);
    return MX_RC_OUT_OF_MEMORY;
  }
  return f(rows.empty() ? &index : rows.data());
}

}  // namespace

extern "C" {

MX_EXPORT int MX_add_con_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexCons,
                                       const int *indexVars, const double *coefs) {
  return mx_add_linear(ctx, kAddCon, nnz, indexCons, indexVars, coefs);
}
MX_EXPORT int MX_add_con_linear_struct_one(MX_context_ptr ctx, const MX_nnz nnz, const int indexCon,
                                           const int *indexVars, const double *coefs) {
  return mx_with_repeated(ctx, nnz, indexCon, [&](const int *rows) {
    return mx_add_linear(ctx, kAddConOne, nnz, rows, indexVars, coefs);
  });
}
MX_EXPORT int MX_add_con_linear_term(MX_context_ptr ctx, const int indexCon, const int indexVar,
                                     const double coef) {
  return mx_add_linear(ctx, kAddConTerm, 1, &indexCon, &indexVar, &coef);
}
MX_EXPORT int MX_add_obj_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexVars,
                                       const double *coefs) {
  return mx_add_linear(ctx, kAddObj, nnz, nullptr, indexVars, coefs);
}
MX_EXPORT int MX_add_obj_linear_term(MX_context_ptr ctx, const int indexVar, const double coef) {
  return mx_add_linear(ctx, kAddObjTerm, 1, nullptr, &indexVar, &coef);
}
MX_EXPORT int MX_add_rsd_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexRsds,
                                       const int *indexVars, const double *coefs) {
  return mx_add_linear(ctx, kAddRsd, nnz, indexRsds, indexVars, coefs);
}
MX_EXPORT int MX_add_rsd_linear_struct_one(MX_context_ptr ctx, const MX_nnz nnz, const int indexRsd,
                                           const int *indexVars, const double *coefs) {
  return mx_with_repeated(ctx, nnz, indexRsd, [&](const int *rows) {
    return mx_add_linear(ctx, kAddRsdOne, nnz, rows, indexVars, coefs);
  });
}
MX_EXPORT int MX_add_rsd_linear_term(MX_context_ptr ctx, const int indexRsd, const int indexVar,
                                     const double coef) {
  return mx_add_linear(ctx, kAddRsdTerm, 1, &indexRsd, &indexVar, &coef);
}

MX_EXPORT int MX_del_con_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexCons,
                                       const int *indexVars) {
  return mx_del_linear(ctx, kDelCon, nnz, indexCons, indexVars);
}
MX_EXPORT int MX_del_con_linear_struct_one(MX_context_ptr ctx, const MX_nnz nnz, const int indexCon,
                                           const int *indexVars) {
  return mx_with_repeated(ctx, nnz, indexCon, [&](const int *rows) {
    return mx_del_linear(ctx, kDelConOne, nnz, rows, indexVars);
  });
}
MX_EXPORT int MX_del_con_linear_term(MX_context_ptr ctx, const int indexCon, const int indexVar) {
  return mx_del_linear(ctx, kDelConTerm, 1, &indexCon, &indexVar);
}
MX_EXPORT int MX_del_obj_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexVars) {
  return mx_del_linear(ctx, kDelObj, nnz, nullptr, indexVars);
}
MX_EXPORT int MX_del_obj_linear_term(MX_context_ptr ctx, const int indexVar) {
  return mx_del_linear(ctx, kDelObjTerm, 1, nullptr, &indexVar);
}

MX_EXPORT int MX_chg_con_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexCons,
                                       const int *indexVars, const double *coefs) {
  return mx_chg_linear(ctx, kChgCon, nnz, indexCons, indexVars, coefs);
}
MX_EXPORT int MX_chg_con_linear_struct_one(MX_context_ptr ctx, const MX_nnz nnz, const int indexCon,
                                           const int *indexVars, const double *coefs) {
  return mx_with_repeated(ctx, nnz, indexCon, [&](const int *rows) {
    return mx_chg_linear(ctx, kChgConOne, nnz, rows, indexVars, coefs);
  });
}
MX_EXPORT int MX_chg_con_linear_term(MX_context_ptr ctx, const int indexCon, const int indexVar,
                                     const double coef) {
  return mx_chg_linear(ctx, kChgConTerm, 1, &indexCon, &indexVar, &coef);
}
MX_EXPORT int MX_chg_obj_linear_struct(MX_context_ptr ctx, const MX_nnz nnz, const int *indexVars,
                                       const double *coefs) {
  return mx_chg_linear(ctx, kChgObj, nnz, nullptr, indexVars, coefs);
}
MX_EXPORT int MX_chg_obj_linear_term(MX_context_ptr ctx, const int indexVar, const double coef) {
  return mx_chg_linear(ctx, kChgObjTerm, 1, nullptr, &indexVar, &coef);
}

}  // extern "C"
