// The model the library builds from the hand-written test problems, and the
// KKT check the solve runner relies on. The problems themselves are proven
// by the solve tests, which must reach their published optima.
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hs/hs_build.h"

namespace {

std::string join(const std::vector<std::string> &lines) {
  std::string s;
  for (const std::string &l : lines) s += "  " + l + "\n";
  return s;
}

// A point near the start, inside the finite bounds.
std::vector<double> nearbyPoint(const HsProblem &p, std::mt19937 &rng) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> x = p.x0;
  for (int j = 0; j < p.n; ++j) {
    x[j] += 0.1 * (1.0 + std::fabs(x[j])) * u(rng);
    if (!p.xlo.empty()) x[j] = std::max(x[j], p.xlo[j]);
    if (!p.xup.empty()) x[j] = std::min(x[j], p.xup[j]);
  }
  return x;
}

// What the library holds after evaluating the start point (algorithm -2).
struct LibraryPoint {
  std::vector<double> x, c, g, J;  // J dense m x n
  double f = 0.0;
};

int evaluateStart(const HsProblem &p, LibraryPoint &lp, std::string *failed) {
  std::unique_ptr<HsModel> m = hsBuild(p, {{{MX_PARAM_ALGORITHM, -2}}, {}});
  *failed = m->failedCall;
  const int rc = m->buildRc != 0 ? m->buildRc : MX_solve(m->kc);
  if (rc != 0) return rc;
  const size_t n = static_cast<size_t>(p.n), mc = static_cast<size_t>(p.m);
  lp.x.assign(n, 0.0);
  lp.c.assign(mc, 0.0);
  lp.g.assign(n, 0.0);
  lp.J.assign(mc * n, 0.0);
  MX_nnz nnz = 0;
  MX_get_var_primal_values_all(m->kc, lp.x.data());
  MX_get_obj_value(m->kc, &lp.f);
  MX_get_con_values_all(m->kc, lp.c.data());
  MX_get_objgrad_values_all(m->kc, lp.g.data());
  MX_get_jacobian_nnz(m->kc, &nnz);
  std::vector<int> rows(static_cast<size_t>(nnz)), cols(static_cast<size_t>(nnz));
  std::vector<double> jac(static_cast<size_t>(nnz));
  MX_get_jacobian_values(m->kc, rows.data(), cols.data(), jac.data());
  for (size_t k = 0; k < jac.size(); ++k) lp.J[rows[k] * n + cols[k]] += jac[k];
  return 0;
}

void compareValues(std::ostringstream &s, const char *what, const std::vector<double> &got,
                   const std::vector<double> &want) {
  for (size_t k = 0; k < want.size(); ++k)
    if (std::fabs(got[k] - want[k]) > 1e-9 * std::max(1.0, std::fabs(want[k])))
      s << " " << what << "[" << k << "] " << got[k] << " vs " << want[k] << ";";
}

// Largest error of the routine's Hessian (through its pattern) and of its
// Hessian-vector product against the dense Hessian at the same sigma and
// multipliers, relative to the largest Hessian entry; -1 when a call fails.
double servedHessianError(const HsModel &m, const std::vector<double> &x, const double *sigma,
                          std::vector<double> &lambda, std::vector<double> &vec) {
  const HsProblem &p = *m.problem;
  const size_t n = static_cast<size_t>(p.n);
  std::vector<double> hess(m.pattern.hessRows.size()), hv(n), H(n * n, 0.0);
  MX_eval_request q{MX_EVALTYPE_H, 0, x.data(), lambda.data(), sigma, vec.data()};
  MX_eval_result r{};
  r.hess = hess.data();
  r.hessVec = hv.data();
  void *user = const_cast<HsModel *>(&m);
  if (hsCallback(nullptr, nullptr, &q, &r, user) != 0) return -1.0;
  q.type = MX_EVALTYPE_HV;
  if (hsCallback(nullptr, nullptr, &q, &r, user) != 0) return -1.0;
  for (size_t k = 0; k < hess.size(); ++k) {
    const size_t i = m.pattern.hessRows[k], j = m.pattern.hessCols[k];
    H[i * n + j] += hess[k];
    if (i != j) H[j * n + i] += hess[k];
  }
  const HsDense d = hsEvaluate(p, x.data(), *sigma, lambda.data());
  double err = 0.0, scale = 1.0;
  for (size_t i = 0; i < n; ++i) {
    double prod = 0.0;
    for (size_t j = 0; j < n; ++j) {
      err = std::max(err, std::fabs(H[i * n + j] - d.H[i * n + j]));
      scale = std::max(scale, std::fabs(d.H[i * n + j]));
      prod += d.H[i * n + j] * vec[j];
    }
    err = std::max(err, std::fabs(hv[i] - prod));
  }
  return err / scale;
}

}  // namespace

// The library's own evaluation at its start point (algorithm -2) matches the
// problem's: this covers the builder, the callback and the linear structure.
TEST(HsModelBuild, LibraryEvaluatesEachModelAsItsProblemDoes) {
  std::vector<std::string> failures;
  for (const HsProblem &p : hsProblems()) {
    LibraryPoint lp;
    std::string call;
    if (const int rc = evaluateStart(p, lp, &call)) {
      failures.push_back(std::string(p.name) + ": build or evaluation returned " + std::to_string(rc) + " " + call);
      continue;
    }
    const HsDense d = hsEvaluate(p, lp.x.data());
    std::ostringstream s;
    compareValues(s, "f", {lp.f}, {d.f});
    compareValues(s, "c", lp.c, d.c);
    compareValues(s, "g", lp.g, d.g);
    compareValues(s, "J", lp.J, d.J);
    if (!s.str().empty()) failures.push_back(std::string(p.name) + ":" + s.str());
  }
  EXPECT_TRUE(failures.empty()) << join(failures);
}

// The installed routine answers Hessian and Hessian-vector requests at any
// sigma and multipliers as the problem's dense Hessian says, within its pattern.
TEST(HsModelBuild, CallbackServesHessiansAndProductsAtAnyMultipliers) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<std::string> failures;
  for (const HsProblem &p : hsProblems()) {
    if (p.eval == nullptr) continue;
    std::unique_ptr<HsModel> m = hsBuild(p);
    const std::vector<double> x = nearbyPoint(p, rng);
    std::vector<double> lambda(static_cast<size_t>(p.m + p.n)), vec(static_cast<size_t>(p.n));
    for (double &l : lambda) l = u(rng);
    for (double &v : vec) v = u(rng);
    const double sigma = 1.5 + u(rng), none = 0.0;
    for (const double *sg : {&sigma, &none}) {
      const double err = servedHessianError(*m, x, sg, lambda, vec);
      if (err < 0.0 || err > 1e-12)
        failures.push_back(std::string(p.name) + ": sigma " + std::to_string(*sg) + ", error " + std::to_string(err));
    }
  }
  EXPECT_TRUE(failures.empty()) << join(failures);
}

// HS35 at x*: the constraint x1 + x2 + 2 x3 <= 3 is active with multiplier
// 2/9 (upper side, so positive); all bounds are inactive.
TEST(HsKktCheck, AcceptsTheTrueMultipliersAndRejectsWrongOnes) {
  const HsProblem &p = *hsFind("hs035");
  std::vector<double> lambda(4, 0.0);
  lambda[0] = 2.0 / 9.0;
  HsKkt k = hsKktCheck(p, p.xstar.data(), lambda.data());
  EXPECT_LT(k.stat, 1e-12);
  EXPECT_LT(k.comp, 1e-12);
  EXPECT_LT(k.feas, 1e-12);
  lambda[0] = -2.0 / 9.0;  // lower side: no lower bound, and no longer stationary
  k = hsKktCheck(p, p.xstar.data(), lambda.data());
  EXPECT_GT(k.stat, 0.1);
  EXPECT_GT(k.comp, 0.1);
}

// HS21 at x* = (2, 0): only the bound x1 >= 2 is active, multiplier -0.04.
TEST(HsKktCheck, FlagsMultipliersOnInactiveItemsAndViolatedBounds) {
  const HsProblem &p = *hsFind("hs021");
  const double lambda[3] = {0.0, -0.04, 0.0};
  HsKkt k = hsKktCheck(p, p.xstar.data(), lambda);
  EXPECT_LT(std::max({k.stat, k.comp, k.feas}), 1e-12);
  // Stationary still, but through the inactive constraint and x2 >= -50.
  const double shifted[3] = {-0.001, -0.03, -0.001};
  k = hsKktCheck(p, p.xstar.data(), shifted);
  EXPECT_LT(k.stat, 1e-12);
  EXPECT_GT(k.comp, 1e-3);
  const double outside[2] = {1.9, 0.0};
  EXPECT_NEAR(hsKktCheck(p, outside, lambda).feas, 0.05, 1e-12);
}
