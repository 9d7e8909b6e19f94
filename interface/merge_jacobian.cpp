// Merge of linear, quadratic, L2-norm and callback structure into the inner
// Jacobian, objective gradient and residual Jacobian patterns.
#include <algorithm>

#include "interface/merge_engine.h"
#include "interface/patterns.h"
#include "interface/structure_frame.h"

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
