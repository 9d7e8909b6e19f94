// Merge of quadratic, L2-norm and callback second derivatives into the
// inner Hessian pattern; the merge entry of the solve driver; the check of
// constant constraints.
#include <algorithm>

#include "interface/merge_engine.h"
#include "interface/patterns.h"
#include "interface/structure_frame.h"

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

int mxMergeStructure(MXL_context *ctx) {
  if (static_cast<unsigned>(ctx->changeLevel) >= 2u) return 0;
  MXMOD *model = ctx->model.get();
  mxDefaultCallbackPatterns(ctx);
  const bool check = mxKindChecksPatterns(ctx->subproblemKind);
  const bool childKeepsHessian = !check;  // those children copied it from the parent
  if (ctx->changeLevel == 0 && !childKeepsHessian)
    if (const int rc = mxLoadHessian(ctx, model)) return rc;
  if (const int rc = mxLoadJacobian(ctx, model, nullptr, check)) return rc;
  if (ctx->r > 0) {
    if (!childKeepsHessian)
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
