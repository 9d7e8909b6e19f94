// The merge of linear, quadratic, L2-norm and callback structure into the
// inner Jacobian, objective gradient, residual Jacobian and Hessian
// patterns; the merge entry of the solve driver; the check of constant
// constraints.
#include <algorithm>

#include "driver/print.h"
#include "interface/merge_engine.h"
#include "interface/patterns.h"
#include "interface/structure_frame.h"

namespace {

int mx_source_of(int tag) {
  switch (tag) {
    case MX_TAG_LINEAR: return MX_SRC_LINEAR;
    case MX_TAG_QUADRATIC: return MX_SRC_QUADRATIC;
    case MX_TAG_CONIC: return MX_SRC_CONIC;
    default: return MX_SRC_CALLBACK;
  }
}

bool mx_entry_less(const MxMergeEntry &a, const MxMergeEntry &b) {
  if (a.row != b.row) return a.row < b.row;
  if (a.col != b.col) return a.col < b.col;
  return a.tag < b.tag;
}

}  // namespace

int mxMergeFail(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  ctx->status = MX_STATUS_FINISHED;
  return code;
}

int mxMergeEntries(MXL_context *ctx, std::vector<MxMergeEntry> &entries, int numRows, bool checkRepeats,
                   const char *dupMessage, int dupCode, MxMergedList &out) {
  std::stable_sort(entries.begin(), entries.end(), mx_entry_less);
  for (size_t k = 1; checkRepeats && k < entries.size(); ++k) {
    const MxMergeEntry &a = entries[k - 1], &b = entries[k];
    if (a.tag >= MX_TAG_CALLBACK && a.tag == b.tag && a.row == b.row && a.col == b.col) {
      mxl_printf(ctx, dupMessage, a.row, a.col);
      return mxMergeFail(ctx, dupCode);
    }
  }
  MxMergedList list;
  list.rowPtr.assign(static_cast<size_t>(numRows) + 1, 0);
  for (size_t k = 0; k < entries.size(); ++k) {
    const MxMergeEntry &e = entries[k];
    const bool fresh = k == 0 || e.row != entries[k - 1].row || e.col != entries[k - 1].col;
    if (fresh) {
      list.rows.push_back(e.row);
      list.cols.push_back(e.col);
      list.source.push_back(mx_source_of(e.tag));
      ++list.rowPtr[static_cast<size_t>(e.row) + 1];
    } else {
      list.source.back() = std::max(list.source.back(), mx_source_of(e.tag));
    }
    *e.place = static_cast<nnzint>(list.rows.size()) - 1;
  }
  for (int i = 0; i < numRows; ++i) list.rowPtr[i + 1] += list.rowPtr[i];
  out = std::move(list);
  return 0;
}

void mxCbJacCoords(const MXCB &cb, int n, bool rsd, std::vector<int> &rows, std::vector<int> &cols) {
  const int form = rsd ? cb.rsdJacForm : cb.jacForm;
  const std::vector<int> &list = rsd ? cb.indexRsds : cb.indexCons;
  rows.clear();
  cols.clear();
  if (form == MX_PATTERN_LIST) {
    rows = rsd ? cb.rsdJacIndexRsds : cb.jacIndexCons;
    cols = rsd ? cb.rsdJacIndexVars : cb.jacIndexVars;
    return;
  }
  const size_t total = list.size() * static_cast<size_t>(n);
  rows.reserve(total);
  cols.reserve(total);
  if (form == MX_PATTERN_COLMAJOR) {
    for (int j = 0; j < n; ++j)
      for (int i : list) rows.push_back(i), cols.push_back(j);
    return;
  }
  for (int i : list)
    for (int j = 0; j < n; ++j) rows.push_back(i), cols.push_back(j);
}

void mxCbHessCoords(const MXCB &cb, int n, std::vector<int> &v1, std::vector<int> &v2) {
  v1.clear();
  v2.clear();
  if (!cb.hessSet) return;
  if (cb.hessForm == MX_PATTERN_LIST) {
    v1 = cb.hessIndexVars1;
    v2 = cb.hessIndexVars2;
    return;
  }
  const size_t total = static_cast<size_t>(n) * (static_cast<size_t>(n) + 1) / 2;
  v1.reserve(total);
  v2.reserve(total);
  if (cb.hessForm == MX_PATTERN_COLMAJOR) {
    for (int j = 0; j < n; ++j)
      for (int i = 0; i <= j; ++i) v1.push_back(i), v2.push_back(j);
    return;
  }
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j) v1.push_back(i), v2.push_back(j);
}

void mxCbObjGradVars(const MXCB &cb, int n, std::vector<int> &vars) {
  vars.clear();
  if (!cb.evalObj) return;
  if (cb.objGradForm == MX_PATTERN_LIST) {
    vars = cb.objGradIndexVars;
    return;
  }
  vars.resize(static_cast<size_t>(n));
  for (int j = 0; j < n; ++j) vars[j] = j;
}

void mxDefaultCallbackPatterns(MXL_context *ctx) {
  const nnzint n = ctx->n;
  for (auto &p : ctx->model->callbacks) {
    MXCB &cb = *p;
    if (!cb.gradSet && !cb.isLsq) {
      cb.objGradForm = MX_PATTERN_DENSE;
      cb.jacForm = MX_PATTERN_ROWMAJOR;
    }
    if (!cb.rsdJacSet && cb.isLsq) cb.rsdJacForm = MX_PATTERN_ROWMAJOR;
    if (cb.evalObj && cb.objGradForm == MX_PATTERN_DENSE) cb.nnzObjGrad = n;
    if (cb.jacForm != MX_PATTERN_LIST) cb.nnzJ = cb.numCons * n;
    if (cb.rsdJacForm != MX_PATTERN_LIST) cb.nnzRsdJ = cb.numRsds * n;
    if (cb.hessSet && cb.hessForm != MX_PATTERN_LIST) cb.nnzH = n * (n + 1) / 2;
  }
}

namespace {

const char *const kJacRepeat = "ERROR: Jacobian index [%d, %d] defined multiple times.\n";

void mx_add_linear_entries(MxLinTerms &t, std::vector<MxMergeEntry> &out) {
  t.places.assign(t.vars.size(), -1);
  for (size_t k = 0; k < t.vars.size(); ++k) out.push_back({t.rows[k], t.vars[k], MX_TAG_LINEAR, &t.places[k]});
}

void mx_add_quadratic_entries(MxQuadTerms &q, std::vector<MxMergeEntry> &out) {
  q.jacPlace1.assign(q.vars1.size(), -1);
  q.jacPlace2.assign(q.vars1.size(), -1);
  for (size_t k = 0; k < q.vars1.size(); ++k) {
    out.push_back({q.cons[k], q.vars1[k], MX_TAG_QUADRATIC, &q.jacPlace1[k]});
    if (q.vars2[k] != q.vars1[k]) out.push_back({q.cons[k], q.vars2[k], MX_TAG_QUADRATIC, &q.jacPlace2[k]});
  }
}

void mx_add_conic_entries(MXCONIC &cone, std::vector<MxMergeEntry> &out) {
  cone.jacPlace.assign(cone.vars.size(), -1);
  for (size_t v = 0; v < cone.vars.size(); ++v)
    out.push_back({cone.indexCon, cone.vars[v], MX_TAG_CONIC, &cone.jacPlace[v]});
}

void mx_add_callback_entries(MXCB &cb, int n, bool rsd, std::vector<MxMergeEntry> &out) {
  std::vector<int> rows, cols;
  mxCbJacCoords(cb, n, rsd, rows, cols);
  std::vector<nnzint> &places = rsd ? cb.rsdJacPlace : cb.jacPlace;
  places.assign(rows.size(), -1);
  for (size_t k = 0; k < rows.size(); ++k)
    out.push_back({rows[k], cols[k], MX_TAG_CALLBACK + cb.index, &places[k]});
}

void mx_store_jacobian(MxJacobian &jac, MxMergedList &list) {
  jac.nnz = static_cast<nnzint>(list.rows.size());
  jac.indexCons.swap(list.rows);
  jac.indexVars.swap(list.cols);
  jac.source.swap(list.source);
  jac.rowPtr.swap(list.rowPtr);
  jac.values.assign(static_cast<size_t>(jac.nnz), 0.0);
}

// Constraints typed linear that have lost every linear term are constant
// again (mxCheckConstantCons looks at them).
void mx_retype_linear_cons(MXL_context *ctx, MXLIN &lin) {
  lin.consWithLinear.assign(static_cast<size_t>(ctx->m), 0);
  for (int i : lin.jac.rows) lin.consWithLinear[i] = 1;
  for (int i = 0; i < ctx->m; ++i)
    if (ctx->con.type[i] == MX_CONTYPE_LINEAR && !lin.consWithLinear[i]) ctx->con.type[i] = MX_CONTYPE_NONE;
}

}  // namespace

bool mxKindChecksPatterns(int kind) {
  return !(kind == 1 || kind == 2 || kind == 6 || kind == 8 || kind == 9);
}

int mxLoadJacobian(MXL_context *ctx, MXMOD *model, void *reserved, int checkPattern) {
  (void)reserved;
  MXLIN &lin = mx_linear(*model);
  MXQUAD &quad = mx_quadratic(*model);
  std::vector<MxMergeEntry> entries;
  nnzint total = lin.jac.size() + 2 * quad.con.size();
  for (auto &cone : model->conics) total += static_cast<nnzint>(cone->cols.size());
  for (auto &cb : model->callbacks) total += cb->nnzJ;
  entries.reserve(static_cast<size_t>(total));
  mx_add_linear_entries(lin.jac, entries);
  mx_add_quadratic_entries(quad.con, entries);
  for (auto &cone : model->conics) mx_add_conic_entries(*cone, entries);
  for (auto &cb : model->callbacks)
    if (!cb->isLsq) mx_add_callback_entries(*cb, ctx->n, false, entries);
  MxMergedList list;
  if (const int rc = mxMergeEntries(ctx, entries, ctx->m, checkPattern != 0, kJacRepeat, MX_RC_BAD_JACOBIAN, list))
    return rc;
  mx_store_jacobian(ctx->pat.jac, list);
  for (size_t k = 0; k < quad.con.vars1.size(); ++k)
    if (quad.con.vars1[k] == quad.con.vars2[k]) quad.con.jacPlace2[k] = quad.con.jacPlace1[k];
  mx_retype_linear_cons(ctx, lin);
  model->merged.jacobianLoaded = 1;
  model->merged.mergedM = ctx->m;
  model->merged.mergedN = ctx->n;
  return 0;
}

int mxLoadResJacobian(MXL_context *ctx, MXMOD *model, int checkPattern) {
  MXLIN &lin = mx_linear(*model);
  std::vector<MxMergeEntry> entries;
  nnzint total = lin.rsd.size();
  for (auto &cb : model->callbacks) total += cb->nnzRsdJ;
  entries.reserve(static_cast<size_t>(total));
  mx_add_linear_entries(lin.rsd, entries);
  for (auto &cb : model->callbacks)
    if (cb->isLsq) mx_add_callback_entries(*cb, ctx->n, true, entries);
  MxMergedList list;
  if (const int rc = mxMergeEntries(ctx, entries, ctx->r, checkPattern != 0, kJacRepeat, MX_RC_BAD_JACOBIAN, list))
    return rc;
  mx_store_jacobian(ctx->pat.rsdJac, list);
  model->merged.rsdJacobianLoaded = 1;
  return 0;
}

int mxLoadObjGrad(MXL_context *ctx, MXMOD *model) {
  MXLIN &lin = mx_linear(*model);
  MXQUAD &quad = mx_quadratic(*model);
  const int n = ctx->n;
  MxObjGradPattern pat;
  pat.mask.assign(static_cast<size_t>(n), 0);
  lin.obj.places.assign(lin.obj.vars.size(), -1);
  for (size_t k = 0; k < lin.obj.vars.size(); ++k) {
    pat.mask[lin.obj.vars[k]] = 1;
    lin.obj.places[k] = lin.obj.vars[k];
  }
  for (size_t k = 0; k < quad.obj.vars1.size(); ++k) pat.mask[quad.obj.vars1[k]] = pat.mask[quad.obj.vars2[k]] = 1;
  bool callbackObjective = false;
  std::vector<int> vars;
  for (auto &cb : model->callbacks) {
    mxCbObjGradVars(*cb, n, vars);
    cb->objGradPlace.assign(vars.begin(), vars.end());
    for (int j : vars) pat.mask[j] = 1;
    callbackObjective = callbackObjective || cb->evalObj;
  }
  for (int j = 0; j < n; ++j)
    if (pat.mask[j]) pat.indexVars.push_back(j);
  ctx->pat.objGrad = std::move(pat);
  if (lin.obj.vars.empty() && quad.obj.vars1.empty() && !callbackObjective) ctx->obj.type = MX_OBJTYPE_NONE;
  model->merged.objGradLoaded = 1;
  model->merged.mergedN = n;
  return 0;
}

nnzint mxFindJacEntry(const MxJacobian &jac, int row, int var) {
  if (row < 0 || static_cast<size_t>(row) + 1 >= jac.rowPtr.size()) return -1;
  const auto first = jac.indexVars.begin() + jac.rowPtr[row];
  const auto last = jac.indexVars.begin() + jac.rowPtr[static_cast<size_t>(row) + 1];
  const auto it = std::lower_bound(first, last, var);
  return it != last && *it == var ? static_cast<nnzint>(it - jac.indexVars.begin()) : -1;
}

namespace {

void mx_add_quad_hess(MxQuadTerms &q, std::vector<MxMergeEntry> &out) {
  q.hessPlace.assign(q.vars1.size(), -1);
  for (size_t k = 0; k < q.vars1.size(); ++k)
    out.push_back({q.vars1[k], q.vars2[k], MX_TAG_QUADRATIC, &q.hessPlace[k]});
}

// Every pair of the cone's columns, packed by rows of the upper triangle.
void mx_add_conic_hess(MXCONIC &cone, std::vector<MxMergeEntry> &out) {
  const size_t nv = cone.vars.size();
  cone.hessPlace.assign(nv * (nv + 1) / 2, -1);
  size_t p = 0;
  for (size_t a = 0; a < nv; ++a)
    for (size_t b = a; b < nv; ++b) out.push_back({cone.vars[a], cone.vars[b], MX_TAG_CONIC, &cone.hessPlace[p++]});
}

int mx_add_callback_hess(MXL_context *ctx, MXCB &cb, std::vector<MxMergeEntry> &out) {
  std::vector<int> v1, v2;
  mxCbHessCoords(cb, ctx->n, v1, v2);
  for (size_t k = 0; k < v1.size(); ++k) {
    if (v1[k] <= v2[k]) continue;
    mxl_printf(ctx, "ERROR: Illegal value for Hessian index.\n");
    mxl_printf(ctx, "       hessIndexCols,Rows[%d] = (%d,%d) is in the lower triangle.\n", static_cast<int>(k),
               v1[k], v2[k]);
    return mxMergeFail(ctx, MX_RC_BAD_HESS_INDEX);
  }
  cb.hessPlace.assign(v1.size(), -1);
  for (size_t k = 0; k < v1.size(); ++k) out.push_back({v1[k], v2[k], MX_TAG_CALLBACK + cb.index, &cb.hessPlace[k]});
  return 0;
}

}  // namespace

int mxLoadHessian(MXL_context *ctx, MXMOD *model) {
  MXQUAD &quad = mx_quadratic(*model);
  std::vector<MxMergeEntry> entries;
  mx_add_quad_hess(quad.obj, entries);
  mx_add_quad_hess(quad.con, entries);
  for (auto &cone : model->conics) mx_add_conic_hess(*cone, entries);
  for (auto &cb : model->callbacks)
    if (const int rc = mx_add_callback_hess(ctx, *cb, entries)) return rc;
  MxMergedList list;
  if (const int rc = mxMergeEntries(ctx, entries, ctx->n, true, "ERROR: Hessian index [%d, %d] defined multiple times.\n",
                                    MX_RC_BAD_HESSIAN, list))
    return rc;
  MxHessian &h = ctx->pat.hess;
  h.nnz = static_cast<nnzint>(list.rows.size());
  h.indexVars1.swap(list.rows);
  h.indexVars2.swap(list.cols);
  h.rowPtr.swap(list.rowPtr);
  h.values.assign(static_cast<size_t>(h.nnz), 0.0);
  model->merged.hessianLoaded = 1;
  return 0;
}

// Variables added after the Hessian was merged have empty rows in it.
static void mx_pad_hessian_rows(MXL_context *ctx) {
  std::vector<nnzint> &ptr = ctx->pat.hess.rowPtr;
  if (ptr.empty() || static_cast<int>(ptr.size()) > ctx->n) return;
  ptr.resize(static_cast<size_t>(ctx->n) + 1, ptr.back());
}

int mxMergeStructure(MXL_context *ctx) {
  MXMOD *model = ctx->model.get();
  int level = ctx->changeLevel;
  // Items added since the last merge leave the patterns short of rows.
  const MxMergeSummary &last = model->merged;
  if (level == -1 && last.jacobianLoaded && (ctx->n != last.mergedN || ctx->m != last.mergedM)) level = 1;
  if (static_cast<unsigned>(level) >= 2u) return 0;
  mxDefaultCallbackPatterns(ctx);
  const bool check = mxKindChecksPatterns(ctx->subproblemKind);
  const bool childKeepsHessian = !check;  // those children copied it from the parent
  if (level == 0 && !childKeepsHessian) {
    if (const int rc = mxLoadHessian(ctx, model)) return rc;
  } else {
    mx_pad_hessian_rows(ctx);
  }
  if (const int rc = mxLoadJacobian(ctx, model, nullptr, check)) return rc;
  if (ctx->r > 0) {
    if (level == 0 && !childKeepsHessian)
      if (const int rc = mxLoadResJacobian(ctx, model, check)) return rc;
    return 0;
  }
  return mxLoadObjGrad(ctx, model);
}

void mxInitForResolve(MXL_context *ctx) {
  if (ctx->model && ctx->model->linear) ctx->model->linear->addedSinceMerge = 0;
}

void mxRefillLinearValues(MXL_context *ctx) {
  const MXLIN &lin = mx_linear(*ctx->model);
  if (ctx->r > 0) {
    std::fill(ctx->pat.rsdJac.values.begin(), ctx->pat.rsdJac.values.end(), 0.0);
    MXLINevalRJ(lin, ctx->pat.rsdJac.values.data());
    return;
  }
  std::fill(ctx->var.objGrad.begin(), ctx->var.objGrad.end(), 0.0);
  std::fill(ctx->pat.jac.values.begin(), ctx->pat.jac.values.end(), 0.0);
  MXLINevalGA(lin, ctx->var.objGrad.data(), ctx->pat.jac.values.data());
}

namespace {

void mx_constant_violation(MXL_context *ctx, int i, const char *line, double bound) {
  if (ctx->con.name.exists() && i < static_cast<int>(ctx->con.hasName.size()) && ctx->con.hasName[i])
    mxl_printf(ctx, "ERROR: Constraint %s is constant and\n", ctx->con.name.v[i].c_str());
  else
    mxl_printf(ctx, "ERROR: Constraint c[%d] is constant and\n", i);
  mxl_printf(ctx, line, bound);
}

}  // namespace

// A constraint is constant when it has no term of any kind: type -1, or
// type 1 given by an earlier check while it still has no linear term (so a
// re-solve checks it again against changed bounds and constants).
static bool mx_is_constant_con(const MXL_context *ctx, const MXLIN &lin, int i) {
  const int type = ctx->con.type[i];
  if (type == MX_CONTYPE_NONE) return true;
  return type == MX_CONTYPE_LINEAR && static_cast<size_t>(i) < lin.consWithLinear.size() && !lin.consWithLinear[i];
}

int mxCheckConstantCons(MXL_context *ctx) {
  double tol = ctx->opt.feastol;
  if (ctx->opt.feastol_abs > 0.0) tol = std::min(tol, ctx->opt.feastol_abs);
  const double range = ctx->opt.bndrange;
  const MXLIN &lin = mx_linear(*ctx->model);
  int count = 0;
  for (int i = 0; i < ctx->m; ++i) {
    if (!mx_is_constant_con(ctx, lin, i)) continue;
    const double value = ctx->con.constant[i], lo = ctx->con.lo[i], up = ctx->con.up[i];
    const char *line = nullptr;
    double bound = 0.0;
    if (lo > -range && lo - tol > value) line = "       violates the constraint lower bound = %24.14e\n", bound = lo;
    else if (up < range && value > up + tol) line = "       violates the constraint upper bound = %24.14e\n", bound = up;
    if (line != nullptr) {
      mx_constant_violation(ctx, i, line, bound);
      return mxMergeFail(ctx, MX_RC_INFEAS_CON_BOUNDS);
    }
    ++count;
  }
  for (int i = 0; i < ctx->m; ++i)
    if (ctx->con.type[i] == MX_CONTYPE_NONE) ctx->con.type[i] = MX_CONTYPE_LINEAR;
  if (count == 1) mxl_printf(ctx, "WARNING: %d constraint is constant or undefined and will be ignored.\n", count);
  if (count > 1) mxl_printf(ctx, "WARNING: %d constraints are constant or undefined and will be ignored.\n", count);
  return 0;
}
