// Values and derivatives of the structural terms, added at their recorded
// places, and the callback pipeline: one request to each callback in order,
// results in compact arrays of the callback's own size, scattered into the
// model's arrays at the places the merge recorded.
#include <cmath>

#include "driver/print.h"
#include "interface/evaluation.h"
#include "interface/structures.h"

void MXLINevalFC(const MXLIN &lin, const double *x, double *obj, double *c) {
  for (size_t k = 0; k < lin.obj.vars.size(); ++k) *obj += lin.obj.coefs[k] * x[lin.obj.vars[k]];
  for (size_t k = 0; k < lin.jac.vars.size(); ++k) c[lin.jac.rows[k]] += lin.jac.coefs[k] * x[lin.jac.vars[k]];
}

// A term not yet merged (place -1) has no entry to add to.
static void mx_add_at_places(const MxLinTerms &t, double *values) {
  for (size_t k = 0; k < t.vars.size(); ++k)
    if (t.places[k] >= 0) values[t.places[k]] += t.coefs[k];
}

void MXLINevalGA(const MXLIN &lin, double *objGrad, double *jac) {
  if (objGrad != nullptr) mx_add_at_places(lin.obj, objGrad);
  if (jac != nullptr) mx_add_at_places(lin.jac, jac);
}

void MXLINevalR(const MXLIN &lin, const double *x, double *rsd) {
  for (size_t k = 0; k < lin.rsd.vars.size(); ++k) rsd[lin.rsd.rows[k]] += lin.rsd.coefs[k] * x[lin.rsd.vars[k]];
}

void MXLINevalRJ(const MXLIN &lin, double *rsdJac) { mx_add_at_places(lin.rsd, rsdJac); }

// The value of one stored Hessian entry as a term: half on the diagonal.
static double mx_quad_term(const MxQuadTerms &q, size_t k, const double *x) {
  const int i = q.vars1[k], j = q.vars2[k];
  return (i == j ? 0.5 : 1.0) * q.values[k] * x[i] * x[j];
}

void MXQUADevalFC(const MXQUAD &quad, const double *x, double *obj, double *c) {
  for (size_t k = 0; k < quad.obj.vars1.size(); ++k) *obj += mx_quad_term(quad.obj, k, x);
  for (size_t k = 0; k < quad.con.vars1.size(); ++k) c[quad.con.cons[k]] += mx_quad_term(quad.con, k, x);
}

void MXQUADevalGA(const MXQUAD &quad, const double *x, double *objGrad, double *jac) {
  const MxQuadTerms &o = quad.obj;
  for (size_t k = 0; objGrad != nullptr && k < o.vars1.size(); ++k) {
    const int i = o.vars1[k], j = o.vars2[k];
    if (i == j) {
      objGrad[i] += o.values[k] * x[i];
      continue;
    }
    objGrad[i] += o.values[k] * x[j];
    objGrad[j] += o.values[k] * x[i];
  }
  const MxQuadTerms &q = quad.con;
  for (size_t k = 0; jac != nullptr && k < q.vars1.size(); ++k) {
    const int i = q.vars1[k], j = q.vars2[k];
    if (q.jacPlace1[k] < 0) continue;
    if (i == j) {
      jac[q.jacPlace1[k]] += q.values[k] * x[i];
      continue;
    }
    jac[q.jacPlace1[k]] += q.values[k] * x[j];
    jac[q.jacPlace2[k]] += q.values[k] * x[i];
  }
}

static bool mx_is_product(int evalType) { return evalType == 7 || evalType == 9; }
static bool mx_without_objective(int evalType) { return evalType == 8 || evalType == 9; }

static void mx_quad_hess_terms(const MxQuadTerms &q, const double *weights, double weight, bool product,
                               const double *vec, double *hess, double *hessVec) {
  for (size_t k = 0; k < q.vars1.size(); ++k) {
    const double w = weights != nullptr ? weights[q.cons[k]] : weight;
    const double v = w * q.values[k];
    if (!product) {
      if (q.hessPlace[k] >= 0) hess[q.hessPlace[k]] += v;
      continue;
    }
    const int i = q.vars1[k], j = q.vars2[k];
    hessVec[i] += v * vec[j];
    if (i != j) hessVec[j] += v * vec[i];
  }
}

void MXQUADevalH(const MXQUAD &quad, int evalType, const double *x, double sigma, const double *lambda,
                 const double *vec, double *hess, double *hessVec) {
  (void)x;
  const bool product = mx_is_product(evalType);
  if (!mx_without_objective(evalType))
    mx_quad_hess_terms(quad.obj, nullptr, sigma, product, vec, hess, hessVec);
  mx_quad_hess_terms(quad.con, lambda, 0.0, product, vec, hess, hessVec);
}

// ---- L2 norm: r = ||A x + b||, gradient u / r with u = A'(A x + b) ----

namespace {

struct MxConeAt {
  std::vector<double> y;  // A x + b
  std::vector<double> u;  // A' y, per distinct column
  double r = 0.0;
};

MxConeAt mx_cone_at(const MXCONIC &cone, const double *x, bool withGradient) {
  MxConeAt at;
  at.y = cone.constants;
  for (size_t e = 0; e < cone.values.size(); ++e) at.y[cone.rows[e]] += cone.values[e] * x[cone.cols[e]];
  double sum = 0.0;
  for (double v : at.y) sum += v * v;
  at.r = std::sqrt(sum);
  if (!withGradient) return at;
  at.u.assign(cone.vars.size(), 0.0);
  for (size_t e = 0; e < cone.values.size(); ++e) at.u[cone.entryVar[e]] += cone.values[e] * at.y[cone.rows[e]];
  return at;
}

// The column a of A restricted to the cone, as a dense vector over coords.
std::vector<double> mx_cone_dense(const MXCONIC &cone) {
  const size_t nv = cone.vars.size();
  std::vector<double> a(static_cast<size_t>(cone.nCoords) * nv, 0.0);
  for (size_t e = 0; e < cone.values.size(); ++e)
    a[static_cast<size_t>(cone.rows[e]) * nv + cone.entryVar[e]] += cone.values[e];
  return a;
}

}  // namespace

void MXCONICevalFC(const MXCONIC &cone, const double *x, double *c) {
  c[cone.indexCon] += mx_cone_at(cone, x, false).r;
}

// At A x + b = 0 the norm has no derivative; zero (a subgradient) is used.
void MXCONICevalGA(const MXCONIC &cone, const double *x, double *jac) {
  const MxConeAt at = mx_cone_at(cone, x, true);
  if (at.r <= 0.0) return;
  for (size_t v = 0; v < cone.vars.size(); ++v)
    if (cone.jacPlace[v] >= 0) jac[cone.jacPlace[v]] += at.u[v] / at.r;
}

// Hessian of the norm: (A'A) / r - u u' / r^3, weighted by the constraint's
// multiplier.
void MXCONICevalH(const MXCONIC &cone, int evalType, const double *x, const double *lambda, const double *vec,
                  double *hess, double *hessVec) {
  const double w = lambda[cone.indexCon];
  if (w == 0.0) return;
  const MxConeAt at = mx_cone_at(cone, x, true);
  if (at.r <= 0.0) return;
  const size_t nv = cone.vars.size(), nc = static_cast<size_t>(cone.nCoords);
  const std::vector<double> a = mx_cone_dense(cone);
  const double r3 = at.r * at.r * at.r;
  if (mx_is_product(evalType)) {
    std::vector<double> av(nc, 0.0);
    double uv = 0.0;
    for (size_t v = 0; v < nv; ++v) uv += at.u[v] * vec[cone.vars[v]];
    for (size_t i = 0; i < nc; ++i)
      for (size_t v = 0; v < nv; ++v) av[i] += a[i * nv + v] * vec[cone.vars[v]];
    for (size_t v = 0; v < nv; ++v) {
      double atav = 0.0;
      for (size_t i = 0; i < nc; ++i) atav += a[i * nv + v] * av[i];
      hessVec[cone.vars[v]] += w * (atav / at.r - at.u[v] * uv / r3);
    }
    return;
  }
  size_t p = 0;
  for (size_t s = 0; s < nv; ++s)
    for (size_t t = s; t < nv; ++t, ++p) {
      double ata = 0.0;
      for (size_t i = 0; i < nc; ++i) ata += a[i * nv + s] * a[i * nv + t];
      if (cone.hessPlace[p] >= 0) hess[cone.hessPlace[p]] += w * (ata / at.r - at.u[s] * at.u[t] / r3);
    }
}

thread_local int mxEvalThreadId = 0;

int mxCombineCodes(bool stop, bool failure, bool evalError) {
  if (stop) return MX_RC_USER_TERMINATION;
  if (failure) return MX_RC_CALLBACK_ERR;
  if (evalError) return MX_RC_EVAL_ERR;
  return 0;
}

namespace {

// The marks a routine's return leaves; zero and positive values succeed.
struct MxMarks {
  bool stop = false, failure = false, evalError = false;
  void take(int rc) {
    if (rc >= 0) return;
    if (rc == MX_RC_USER_TERMINATION)
      stop = true;
    else if (rc == MX_RC_EVAL_ERR)
      evalError = true;
    else
      failure = true;
  }
  int code() const { return mxCombineCodes(stop, failure, evalError); }
};

MX_eval_request mx_request(int type, const double *x) {
  MX_eval_request req{};
  req.type = type;
  req.threadID = mxEvalThreadId;
  req.x = x;
  return req;
}

bool mx_exact_gradient(const MXCB &cb) {
  return cb.gradopt == 0 || cb.gradopt == MX_GRADOPT_EXACT || cb.gradopt == MX_GRADOPT_USER_FORWARD ||
         cb.gradopt == MX_GRADOPT_USER_CENTRAL;
}

// Per-callback result arrays, at exactly the callback's sizes.
struct MxCbArrays {
  double obj = 0.0;
  std::vector<double> c, objGrad, jac;
};

void mx_scatter_values(const MXCB &cb, const MxCbArrays &a, double *obj, double *c) {
  if (cb.evalObj) *obj += a.obj;
  for (int k = 0; k < cb.numCons; ++k) c[cb.indexCons[k]] += a.c[k];
}

void mx_scatter_first(const MXCB &cb, const MxCbArrays &a, double *objGrad, double *jac) {
  for (size_t k = 0; k < a.objGrad.size() && k < cb.objGradPlace.size(); ++k) objGrad[cb.objGradPlace[k]] += a.objGrad[k];
  for (size_t k = 0; k < a.jac.size() && k < cb.jacPlace.size(); ++k) jac[cb.jacPlace[k]] += a.jac[k];
}

// Calls the function routine of one callback; with first-derivative
// arrays requested the call is of the combined kind.
int mx_call_fc(MXL_context *ctx, MXCB &cb, const double *x, MxCbArrays &a, bool withFirst) {
  a.obj = 0.0;
  a.c.assign(static_cast<size_t>(cb.numCons), 0.0);
  MX_eval_request req = mx_request(withFirst ? MX_EVALTYPE_FCGA : MX_EVALTYPE_FC, x);
  MX_eval_result res{};
  res.obj = &a.obj;
  res.c = a.c.data();
  if (withFirst) {
    a.objGrad.assign(static_cast<size_t>(cb.evalObj ? cb.nnzObjGrad : 0), 0.0);
    a.jac.assign(static_cast<size_t>(cb.nnzJ), 0.0);
    res.objGrad = a.objGrad.data();
    res.jac = a.jac.data();
  }
  return cb.funcCallback(ctx, &cb, &req, &res, cb.userParams);
}

int mx_call_ga(MXL_context *ctx, MXCB &cb, const double *x, MxCbArrays &a) {
  a.objGrad.assign(static_cast<size_t>(cb.evalObj ? cb.nnzObjGrad : 0), 0.0);
  a.jac.assign(static_cast<size_t>(cb.nnzJ), 0.0);
  MX_eval_request req = mx_request(MX_EVALTYPE_GA, x);
  MX_eval_result res{};
  res.objGrad = a.objGrad.data();
  res.jac = a.jac.data();
  return cb.gradCallback(ctx, &cb, &req, &res, cb.userParams);
}

}  // namespace

int MXCBevalFC(MXL_context *ctx, MXMOD *model, const double *x, double *obj, double *c, double *objGrad,
               double *jac) {
  if (model->callbacks.empty()) return 0;
  MxMarks marks;
  MxCbArrays a;
  const bool fcga = ctx->opt.eval_fcga == 1 && objGrad != nullptr && jac != nullptr;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (cb.isLsq) continue;
    if (cb.funcCallback == nullptr) {
      mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    const bool withFirst = fcga && mx_exact_gradient(cb);
    marks.take(mx_call_fc(ctx, cb, x, a, withFirst));
    mx_scatter_values(cb, a, obj, c);
    if (withFirst) mx_scatter_first(cb, a, objGrad, jac);
  }
  return marks.code();
}

int MXCBevalFC_one(MXL_context *ctx, MXCB *cb, const double *x, double *obj, double *c) {
  if (cb->funcCallback == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
    return MX_RC_CALLBACK_ERR;
  }
  MxCbArrays a;
  MxMarks marks;
  marks.take(mx_call_fc(ctx, *cb, x, a, false));
  *obj = cb->evalObj ? a.obj : 0.0;
  for (int k = 0; k < cb->numCons; ++k) c[cb->indexCons[k]] = a.c[k];
  return marks.code();
}

// Callbacks with difference gradients are left to the finite-difference
// service; with eval_fcga a missing gradient routine is served by the
// combined call of the function routine.
int MXCBevalGA(MXL_context *ctx, MXMOD *model, const double *x, double *objGrad, double *jac) {
  MxMarks marks;
  MxCbArrays a;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (cb.isLsq || !mx_exact_gradient(cb)) continue;
    if (cb.gradCallback != nullptr) {
      marks.take(mx_call_ga(ctx, cb, x, a));
    } else if (ctx->opt.eval_fcga == 1 && cb.funcCallback != nullptr) {
      marks.take(mx_call_fc(ctx, cb, x, a, true));
    } else {
      mxl_printf(ctx, "ERROR: User routine for gradCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    mx_scatter_first(cb, a, objGrad, jac);
  }
  return marks.code();
}

namespace {

// One Hessian request to one callback; a callback whose Hessian pattern is
// empty contributes nothing to the matrix and needs no routine for it.
int mx_call_h(MXL_context *ctx, MXCB &cb, MX_eval_request &req, double *hess, double *hessVec) {
  const bool product = req.type == MX_EVALTYPE_HV || req.type == MX_EVALTYPE_HV_NO_F;
  if (!product && cb.hessSet && cb.nnzH == 0 && cb.hessCallback == nullptr) return 0;
  if (cb.hessCallback == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for hess_callback undefined.\n");
    return MX_RC_CALLBACK_ERR;
  }
  std::vector<double> h(product ? static_cast<size_t>(ctx->n) : static_cast<size_t>(cb.nnzH), 0.0);
  MX_eval_result res{};
  (product ? res.hessVec : res.hess) = h.data();
  const int rc = cb.hessCallback(ctx, &cb, &req, &res, cb.userParams);
  if (product) {
    for (size_t j = 0; j < h.size(); ++j) hessVec[j] += h[j];
    return rc;
  }
  for (size_t k = 0; k < h.size() && k < cb.hessPlace.size(); ++k) hess[cb.hessPlace[k]] += h[k];
  return rc;
}

}  // namespace

int MXCBevalH(MXL_context *ctx, MXMOD *model, int evalType, const double *x, const double *sigma,
              const double *lambda, const double *vec, double *hess, double *hessVec) {
  if (model->callbacks.empty()) return 0;
  if (evalType != 3 && evalType != 7 && evalType != 8 && evalType != 9) return MX_RC_CALLBACK_ERR;
  static const double kNoObjective = 0.0;
  MX_eval_request req = mx_request(evalType, x);
  req.lambda = lambda;
  req.sigma = evalType == 8 || evalType == 9 ? &kNoObjective : sigma;
  req.vec = evalType == 7 || evalType == 9 ? vec : nullptr;
  MxMarks marks;
  for (auto &p : model->callbacks) {
    if (p->isLsq) continue;
    marks.take(mx_call_h(ctx, *p, req, hess, hessVec));
    if (marks.stop || marks.failure) break;
  }
  return marks.code();
}

// Calls the residual routine of one callback into `values`; a missing
// routine is reported and counts as a failure.
static int mx_call_rsd(MXL_context *ctx, MXCB &cb, const double *x, std::vector<double> &values) {
  if (cb.funcCallback == nullptr) {
    mxl_printf(ctx, "ERROR: User routine for funcCallback undefined.\n");
    return MX_RC_CALLBACK_ERR;
  }
  values.assign(static_cast<size_t>(cb.numRsds), 0.0);
  MX_eval_request req = mx_request(MX_EVALTYPE_RSD, x);
  MX_eval_result res{};
  res.rsd = values.data();
  return cb.funcCallback(ctx, &cb, &req, &res, cb.userParams);
}

int MXCBevalR(MXL_context *ctx, MXMOD *model, const double *x, double *rsd) {
  MxMarks marks;
  std::vector<double> values;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (!cb.isLsq) continue;
    if (cb.funcCallback == nullptr) {
      mx_call_rsd(ctx, cb, x, values);
      marks.failure = true;
      continue;
    }
    marks.take(mx_call_rsd(ctx, cb, x, values));
    for (int k = 0; k < cb.numRsds; ++k) rsd[cb.indexRsds[k]] += values[k];
  }
  return marks.code();
}

int MXCBevalR_one(MXL_context *ctx, MXCB *cb, const double *x, double *rsd) {
  std::vector<double> values;
  if (cb->funcCallback == nullptr) return mx_call_rsd(ctx, *cb, x, values);
  MxMarks marks;
  marks.take(mx_call_rsd(ctx, *cb, x, values));
  for (int k = 0; k < cb->numRsds; ++k) rsd[cb->indexRsds[k]] = values[k];
  return marks.code();
}

int MXCBevalRJ(MXL_context *ctx, MXMOD *model, const double *x, double *rsdJac) {
  MxMarks marks;
  std::vector<double> values;
  for (auto &p : model->callbacks) {
    MXCB &cb = *p;
    if (!cb.isLsq || cb.gradopt == MX_GRADOPT_FORWARD || cb.gradopt == MX_GRADOPT_CENTRAL) continue;
    if (cb.rsdJacCallback == nullptr) {
      mxl_printf(ctx, "ERROR: User routine for rsdJacCallback undefined.\n");
      marks.failure = true;
      continue;
    }
    values.assign(static_cast<size_t>(cb.nnzRsdJ), 0.0);
    MX_eval_request req = mx_request(MX_EVALTYPE_RSDJAC, x);
    MX_eval_result res{};
    res.rsdJac = values.data();
    marks.take(cb.rsdJacCallback(ctx, &cb, &req, &res, cb.userParams));
    for (size_t k = 0; k < values.size() && k < cb.rsdJacPlace.size(); ++k) rsdJac[cb.rsdJacPlace[k]] += values[k];
  }
  return marks.code();
}
