// The hand-written test problems, checked without any solver: derivatives
// against central differences, published solutions against published
// values and the collection's reference table, the model the library builds
// from them, and the KKT check the solve runner relies on.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hs/hs_build.h"
#include "linalg/lapack.h"

namespace {

std::string join(const std::vector<std::string> &lines) {
  std::string s;
  for (const std::string &l : lines) s += "  " + l + "\n";
  return s;
}

bool sizesOk(const HsProblem &p, std::string *why) {
  const size_t n = static_cast<size_t>(p.n), m = static_cast<size_t>(p.m);
  std::ostringstream w;
  if (p.x0.size() != n) w << " x0";
  if (!p.xlo.empty() && p.xlo.size() != n) w << " xlo";
  if (!p.xup.empty() && p.xup.size() != n) w << " xup";
  if (p.clo.size() != m || p.cup.size() != m) w << " constraint bounds";
  if (!p.xstar.empty() && p.xstar.size() != n) w << " xstar";
  for (const HsLinear &l : p.linear)
    if (l.row < -1 || l.row >= p.m || l.var < 0 || l.var >= p.n) w << " linear term";
  *why = w.str();
  return why->empty();
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

struct DiffCheck {
  const HsProblem &p;
  const char *where;
  std::vector<std::string> &failures;

  // what: "df/dx", "dc2/dx", "d2f/dx1dx" or "d2c2/dx1dx", completed by j.
  void compare(const std::string &what, size_t j, double exact, double diff) {
    if (std::fabs(exact - diff) <= 1e-6 * std::max(1.0, std::fabs(exact))) return;
    std::ostringstream s;
    s << p.name << " at " << where << ": " << what << j << " exact " << exact << ", differences " << diff;
    failures.push_back(s.str());
  }

  // Gradient and Jacobian against differences of f and c; the Hessian of
  // the objective and of each constraint against differences of g and J.
  void run(const std::vector<double> &x) {
    const size_t n = static_cast<size_t>(p.n), m = static_cast<size_t>(p.m);
    const HsDense d = hsEvaluate(p, x.data());
    const HsDense obj = hsEvaluate(p, x.data(), 1.0, nullptr);
    std::vector<HsDense> con;
    for (size_t k = 0; k < m; ++k) {
      std::vector<double> e(m, 0.0);
      e[k] = 1.0;
      con.push_back(hsEvaluate(p, x.data(), 0.0, e.data()));
    }
    for (size_t j = 0; j < n; ++j) {
      const double h = 1e-6 * std::max(1.0, std::fabs(x[j]));
      std::vector<double> xp = x, xm = x;
      xp[j] += h;
      xm[j] -= h;
      const HsDense a = hsEvaluate(p, xp.data()), b = hsEvaluate(p, xm.data());
      compare("df/dx", j, d.g[j], (a.f - b.f) / (2 * h));
      for (size_t i = 0; i < n; ++i)
        compare("d2f/dx" + std::to_string(i) + "dx", j, obj.H[i * n + j], (a.g[i] - b.g[i]) / (2 * h));
      for (size_t k = 0; k < m; ++k) {
        const std::string c = std::to_string(k);
        compare("dc" + c + "/dx", j, d.J[k * n + j], (a.c[k] - b.c[k]) / (2 * h));
        for (size_t i = 0; i < n; ++i)
          compare("d2c" + c + "/dx" + std::to_string(i) + "dx", j, con[k].H[i * n + j],
                  (a.J[k * n + i] - b.J[k * n + i]) / (2 * h));
      }
    }
  }
};

// Coordinates of the routine's entries at a point: the Hessian ones must lie
// in the upper triangle, and all must be those of the probe pattern.
void checkPattern(const HsProblem &p, const std::vector<double> &x, std::vector<std::string> &failures) {
  if (p.eval == nullptr) return;
  const HsPattern pat = hsProbePattern(p);
  const std::vector<double> ones(static_cast<size_t>(p.m) + 1, 1.0);
  HsEval e;
  e.x = x.data();
  e.lambda = ones.data();
  e.c.assign(static_cast<size_t>(p.m), 0.0);
  p.eval(e);
  for (const HsEntry &t : e.hess)
    if (t.i > t.j) failures.push_back(std::string(p.name) + ": Hessian entry below the diagonal");
  std::set<std::pair<int, int>> seen;
  for (const HsEntry &t : e.jac) seen.insert({t.i, t.j});
  if (seen.size() != pat.jacAt.size()) failures.push_back(std::string(p.name) + ": Jacobian pattern moves");
  seen.clear();
  for (const HsEntry &t : e.hess) seen.insert({t.i, t.j});
  if (seen.size() != pat.hessAt.size()) failures.push_back(std::string(p.name) + ": Hessian pattern moves");
}

}  // namespace

TEST(HsFormulations, RegistryHoldsTheRequiredProblemsWithConsistentSizes) {
  const std::vector<HsProblem> &all = hsProblems();
  EXPECT_GE(all.size(), 45u);
  std::vector<std::string> failures;
  std::set<std::string> names;
  bool lp = false, unconstrained = false;
  for (const HsProblem &p : all) {
    std::string why;
    if (!sizesOk(p, &why)) failures.push_back(std::string(p.name) + ": wrong size of" + why);
    if (!names.insert(p.name).second) failures.push_back(std::string(p.name) + ": listed twice");
    lp = lp || (p.eval == nullptr && p.m > 0);
    unconstrained = unconstrained || p.m == 0;
  }
  EXPECT_TRUE(lp) << "no linear program";
  EXPECT_TRUE(unconstrained) << "no problem without constraints";
  EXPECT_TRUE(failures.empty()) << join(failures);
}

TEST(HsFormulations, DerivativesMatchCentralDifferences) {
  std::mt19937 rng(20261123);
  std::vector<std::string> failures;
  for (const HsProblem &p : hsProblems()) {
    std::string why;
    if (!sizesOk(p, &why)) continue;  // reported by the registry test
    const std::vector<double> near = nearbyPoint(p, rng);
    DiffCheck{p, "start", failures}.run(p.x0);
    DiffCheck{p, "nearby point", failures}.run(near);
    checkPattern(p, near, failures);
  }
  EXPECT_TRUE(failures.empty()) << failures.size() << " mismatches:\n" << join(failures);
}

// Published solutions carry 7 or 8 digits, so a constraint may miss its bound
// by the rounding of x*: the tolerance scales with sum_j |dc/dx_j x_j|.
TEST(HsFormulations, PublishedSolutionsReachThePublishedValueFeasibly) {
  std::vector<std::string> failures;
  int checked = 0;
  for (const HsProblem &p : hsProblems()) {
    std::string why;
    if (p.xstar.empty() || !sizesOk(p, &why)) continue;
    ++checked;
    const HsDense d = hsEvaluate(p, p.xstar.data());
    std::ostringstream s;
    if (std::fabs(d.f - p.fstar) > 1e-6 * std::max(1.0, std::fabs(p.fstar)))
      s << " f(x*) = " << d.f << " but f* = " << p.fstar << ";";
    const size_t n = static_cast<size_t>(p.n);
    for (int i = 0; i < p.m; ++i) {
      double spread = 1.0;
      for (size_t j = 0; j < n; ++j) spread += std::fabs(d.J[i * n + j] * p.xstar[j]);
      const double lo = p.clo[i], up = p.cup[i];
      const double tol = 1e-6 * std::max({spread, std::fabs(lo) < HS_INF ? std::fabs(lo) : 0.0,
                                          std::fabs(up) < HS_INF ? std::fabs(up) : 0.0});
      if (d.c[i] < lo - tol || d.c[i] > up + tol)
        s << " c" << i << " = " << d.c[i] << " outside [" << lo << ", " << up << "];";
    }
    for (int j = 0; j < p.n; ++j) {
      const double v = p.xstar[j], tol = 1e-6 * std::max(1.0, std::fabs(v));
      if ((!p.xlo.empty() && v < p.xlo[j] - tol) || (!p.xup.empty() && v > p.xup[j] + tol))
        s << " x" << j << " = " << v << " outside its bounds;";
    }
    if (!s.str().empty()) failures.push_back(std::string(p.name) + ":" + s.str());
  }
  EXPECT_GE(checked, 40);
  EXPECT_TRUE(failures.empty()) << join(failures);
}

namespace {

// An item (constraint or bound) active at x*: its gradient row and the side
// its multiplier must take (-1 lower, +1 upper, 0 equality).
struct Active {
  std::vector<double> row;
  int side;
  std::string name;
};

std::vector<Active> activeAt(const HsProblem &p, const HsDense &d, const std::vector<double> &x) {
  const size_t n = static_cast<size_t>(p.n);
  std::vector<Active> act;
  auto add = [&](double v, double lo, double up, double spread, std::vector<double> row, std::string nm) {
    const double tol = 1e-5 * std::max(1.0, spread);
    const bool atLo = std::fabs(lo) < HS_INF && std::fabs(v - lo) <= tol;
    const bool atUp = std::fabs(up) < HS_INF && std::fabs(v - up) <= tol;
    if (!atLo && !atUp) return;
    double norm = 0.0;
    for (double r : row) norm = std::max(norm, std::fabs(r));
    for (double &r : row) r /= norm > 0.0 ? norm : 1.0;  // unit rows keep the ridge below relevance
    act.push_back({std::move(row), atLo && atUp ? 0 : (atLo ? -1 : 1), std::move(nm)});
  };
  for (int i = 0; i < p.m; ++i) {
    double spread = 0.0;
    for (size_t j = 0; j < n; ++j) spread += std::fabs(d.J[i * n + j] * x[j]);
    add(d.c[i], p.clo[i], p.cup[i], spread, std::vector<double>(d.J.begin() + i * n, d.J.begin() + (i + 1) * n),
        "c" + std::to_string(i));
  }
  for (size_t j = 0; j < n; ++j) {
    std::vector<double> e(n, 0.0);
    e[j] = 1.0;
    add(x[j], p.xlo.empty() ? -HS_INF : p.xlo[j], p.xup.empty() ? HS_INF : p.xup[j], std::fabs(x[j]), e,
        "x" + std::to_string(j));
  }
  return act;
}

// Least-squares multipliers: min ||g + A' lambda|| through the normal
// equations with a tiny ridge (active gradients may be dependent).
std::vector<double> leastSquaresMultipliers(const std::vector<Active> &act, const std::vector<double> &g) {
  const int k = static_cast<int>(act.size()), one = 1;
  std::vector<double> M(static_cast<size_t>(k) * k, 0.0), lambda(static_cast<size_t>(k), 0.0);
  for (int a = 0; a < k; ++a) {
    for (int b = 0; b < k; ++b)
      for (size_t j = 0; j < g.size(); ++j) M[a + b * k] += act[a].row[j] * act[b].row[j];
    M[a + a * k] += 1e-12;
    for (size_t j = 0; j < g.size(); ++j) lambda[a] -= act[a].row[j] * g[j];
  }
  int info = 0;
  if (k > 0) dpotrf_("L", &k, M.data(), &k, &info, 1);
  if (k > 0 && info == 0) dpotrs_("L", &k, &one, M.data(), &k, lambda.data(), &k, &info, 1);
  EXPECT_EQ(info, 0);
  return lambda;
}

}  // namespace

// The published solution is a KKT point of the formulation: multipliers of
// the active items make the Lagrangian gradient vanish (to the precision
// of the published digits) with the signs of their sides. A constraint
// written the wrong way round, or a term that vanishes at x*, shows here.
TEST(HsFormulations, PublishedSolutionsAreKktPointsOfTheFormulation) {
  std::vector<std::string> failures;
  for (const HsProblem &p : hsProblems()) {
    std::string why;
    if (p.xstar.empty() || p.degenerate || !sizesOk(p, &why)) continue;
    const HsDense d = hsEvaluate(p, p.xstar.data());
    const std::vector<Active> act = activeAt(p, d, p.xstar);
    const std::vector<double> lambda = leastSquaresMultipliers(act, d.g);
    double scale = 1.0;
    for (double v : d.g) scale = std::max(scale, std::fabs(v));
    std::vector<double> r = d.g;
    std::ostringstream s;
    for (size_t a = 0; a < act.size(); ++a) {
      for (size_t j = 0; j < r.size(); ++j) r[j] += lambda[a] * act[a].row[j];
      if (act[a].side * lambda[a] < -1e-4 * scale)
        s << " multiplier of " << act[a].name << " has the wrong sign (" << lambda[a] << ");";
    }
    double res = 0.0;
    for (double v : r) res = std::max(res, std::fabs(v));
    if (res > 1e-4 * scale) s << " Lagrangian gradient " << res << " with " << act.size() << " active items;";
    if (!s.str().empty()) failures.push_back(std::string(p.name) + ":" + s.str());
  }
  EXPECT_TRUE(failures.empty()) << join(failures);
}

TEST(HsFormulations, ReferenceValuesAgreeWithTheCollectionTable) {
  const std::string path = std::string(MORVEX_DATA_DIR) + "/hock-schittkowski/hs_reference.tsv";
  std::ifstream in(path);
  if (!in) GTEST_SKIP() << "no reference table at " << path << "; skipping";
  std::map<std::string, std::pair<int, std::string>> table;  // name -> (n, value text)
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    std::vector<std::string> col;
    std::stringstream ss(line);
    for (std::string c; std::getline(ss, c, '\t');) col.push_back(c);
    if (col.size() >= 5 && !col[1].empty()) table[col[0]] = {std::stoi(col[1]), col[4]};
  }
  std::vector<std::string> failures;
  int compared = 0;
  for (const HsProblem &p : hsProblems()) {
    const auto it = table.find(p.name);
    if (it == table.end() || it->second.second.empty()) continue;  // not in the collection
    ++compared;
    const double ref = std::stod(it->second.second);
    if (it->second.first != p.n) failures.push_back(std::string(p.name) + ": n differs from the table");
    if (std::fabs(ref - p.fstar) > 1e-6 * std::max(1.0, std::fabs(ref)))
      failures.push_back(std::string(p.name) + ": f* " + std::to_string(p.fstar) + ", table " +
                         it->second.second);
  }
  EXPECT_GE(compared, 45);
  EXPECT_TRUE(failures.empty()) << join(failures);
}

namespace {

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
