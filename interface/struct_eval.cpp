// Values and derivatives of the structural terms, added at their recorded
// places on top of what the callbacks returned.
#include <cmath>

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
