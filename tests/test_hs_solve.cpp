// Solves the hand-written test problems with the interior-point algorithm
// and prints one line per problem. A problem passes with return code 0,
// |f - f*| <= 1e-6 max(1, |f*|) and feasibility <= 1e-6 (each violation
// over max(1, |bound|)). Every passing problem must also pass the KKT check
// computed here from the problem's derivatives and the returned
// multipliers: stationarity and complementarity <= 1e-6, both relative to
// max(1, ||grad f||_inf) (see hsKktCheck).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hs/hs_build.h"

namespace {

constexpr double kTol = 1e-6;

struct HsRun {
  const HsProblem *p = nullptr;
  HsSolution s;
  HsKkt kkt;
  double fx = 0.0;  // objective recomputed at the returned x
  bool pass = false, kktPass = false;
  std::string why;
};

HsOptions direct(std::vector<std::pair<int, int>> extra = {}) {
  HsOptions o;
  o.ints = {{MX_PARAM_ALGORITHM, 1}, {MX_PARAM_HESSOPT, 1}};
  o.ints.insert(o.ints.end(), extra.begin(), extra.end());
  return o;
}

std::string fmt(const char *f, double v) {
  char b[64];
  std::snprintf(b, sizeof b, f, v);
  return b;
}

HsRun solveOne(const HsProblem &p, const HsOptions &opt) {
  HsRun r;
  r.p = &p;
  std::unique_ptr<HsModel> m = hsBuild(p, opt);
  r.s = hsSolve(*m);
  if (m->buildRc != 0) {
    r.why = "build: " + m->failedCall + " returned " + std::to_string(m->buildRc);
    return r;
  }
  r.kkt = hsKktCheck(p, r.s.x.data(), r.s.lambda.data());
  r.fx = hsEvaluate(p, r.s.x.data()).f;
  const double ferr = std::fabs(r.s.f - p.fstar);
  // Without multipliers at x* the stop tests cannot certify the point: the
  // "no further progress" ends count, and f within 1e-4.
  const bool endsOk = r.s.rc == 0 || (p.degenerate && (r.s.rc == -100 || r.s.rc == -102));
  const double ftol = p.degenerate ? 1e-4 : kTol;
  if (!endsOk) r.why = "return code " + std::to_string(r.s.rc);
  else if (ferr > ftol * std::max(1.0, std::fabs(p.fstar))) r.why = "|f - f*| " + fmt("%.2e", ferr);
  else if (r.kkt.feas > kTol) r.why = "infeasible " + fmt("%.2e", r.kkt.feas);
  else if (std::fabs(r.fx - r.s.f) > 1e-8 * std::max(1.0, std::fabs(r.fx)))
    r.why = "reported f is not f(x) = " + fmt("%.10g", r.fx);
  r.pass = r.why.empty();
  r.kktPass = p.degenerate || (r.kkt.stat <= kTol && r.kkt.comp <= kTol);
  if (r.pass && !r.kktPass)
    r.why = "KKT: stationarity " + fmt("%.2e", r.kkt.stat) + ", complementarity " + fmt("%.2e", r.kkt.comp);
  return r;
}

void printLine(const HsRun &r) {
  const HsProblem &p = *r.p;
  std::printf("%-15s %3d %3d %5d %16.9g %16.9g %9.2e %9.2e %9.2e %9.2e %5d %s %s\n", p.name, p.n, p.m,
              r.s.rc, r.s.f, p.fstar, std::fabs(r.s.f - p.fstar), r.kkt.feas, r.kkt.stat, r.kkt.comp,
              r.s.iters, r.pass && r.kktPass ? "pass" : "FAIL", r.why.c_str());
}

std::string listOf(const std::vector<std::string> &lines) {
  std::string s;
  for (const std::string &l : lines) s += "  " + l + "\n";
  return s;
}

}  // namespace

TEST(HsSolve, NinetyPercentSolveAndEverySolvedOnePassesTheKktCheck) {
  std::printf("%-15s %3s %3s %5s %16s %16s %9s %9s %9s %9s %5s %s\n", "problem", "n", "m", "rc", "f",
              "f*", "|f-f*|", "feas", "stat", "comp", "iter", "result");
  std::vector<std::string> failed, kktFailed;
  int passed = 0;
  const std::vector<HsProblem> &all = hsProblems();
  for (const HsProblem &p : all) {
    const HsRun r = solveOne(p, direct());
    printLine(r);
    if (!r.pass) failed.push_back(std::string(p.name) + ": " + r.why);
    else if (!r.kktPass) kktFailed.push_back(std::string(p.name) + ": " + r.why);
    passed += r.pass ? 1 : 0;
  }
  const int total = static_cast<int>(all.size());
  std::printf("%d of %d solved\n", passed, total);
  EXPECT_GE(10 * passed, 9 * total) << passed << " of " << total << " solved; failing:\n" << listOf(failed);
  EXPECT_TRUE(kktFailed.empty()) << "solved but failing the KKT check:\n" << listOf(kktFailed);
}

// Every rule reaches the optimum of a convex problem: code 0, and the
// objective and the KKT measures within 1e-5. The monotone and adaptive rules
// converge linearly and stop just inside the default tolerances, a little
// above the 1e-6 of the main test (HS32 under rule 1: |f - f*| 1.1e-6; HS64
// under rule 2: a 1e-9 feasibility residual times a large multiplier).
TEST(HsSolve, ConvexProblemsSolveUnderEveryBarrierRule) {
  std::vector<std::string> failed;
  for (const HsProblem &p : hsProblems()) {
    if (!p.convex) continue;
    for (int rule = 1; rule <= 7; ++rule) {
      const HsRun r = solveOne(p, direct({{MX_PARAM_BAR_MURULE, rule}}));
      const double ferr = std::fabs(r.s.f - p.fstar);
      std::string why = r.s.rc != 0 ? "return code " + std::to_string(r.s.rc) : "";
      if (why.empty() && ferr > 1e-5 * std::max(1.0, std::fabs(p.fstar))) why = "|f - f*| " + fmt("%.2e", ferr);
      if (why.empty() && (r.kkt.stat > 1e-5 || r.kkt.comp > 1e-5))
        why = "KKT: stationarity " + fmt("%.2e", r.kkt.stat) + ", complementarity " + fmt("%.2e", r.kkt.comp);
      if (why.empty() && r.kkt.feas > kTol) why = "infeasible";
      if (!why.empty()) failed.push_back(std::string(p.name) + " bar_murule " + std::to_string(rule) + ": " + why);
    }
  }
  EXPECT_TRUE(failed.empty()) << listOf(failed);
}

// Solved to 1e-9, so that agreement to 1e-8 measures the linear algebra
// and not where each run happened to stop.
HsOptions tight(std::vector<std::pair<int, int>> extra = {}) {
  HsOptions o = direct(std::move(extra));
  o.dbls = {{MX_PARAM_FEASTOL, 1e-9}, {MX_PARAM_OPTTOL, 1e-9}};
  return o;
}

// Other forms of the linear systems and other linear solvers must reach the
// same point as the default run, wherever that run passes.
TEST(HsSolve, LinearSystemVariantsAgreeWithTheDefaultRun) {
  const std::vector<std::pair<const char *, std::pair<int, int>>> variants = {
      {"bar_linsys 1", {MX_PARAM_BAR_LINSYS, 1}}, {"bar_linsys 2", {MX_PARAM_BAR_LINSYS, 2}},
      {"bar_linsys 3", {MX_PARAM_BAR_LINSYS, 3}}, {"linsolver 4", {MX_PARAM_LINSOLVER, 4}},
      {"linsolver 5", {MX_PARAM_LINSOLVER, 5}},   {"linsolver 3", {MX_PARAM_LINSOLVER, 3}},
      {"sparse engine", {MX_PARAM_LINSOLVER, 5}}};
  // The last variant runs the sparse engine on these small systems.
  const std::string sparse = testing::TempDir() + "hs_sparse_engine.json";
  std::FILE *f = std::fopen(sparse.c_str(), "w");
  ASSERT_NE(f, nullptr);
  std::fputs("{\"linsolver\": {\"dense_max_rows\": 0}}\n", f);
  std::fclose(f);
  std::vector<std::string> failed, others;
  for (const HsProblem &p : hsProblems()) {
    if (!solveOne(p, direct()).pass) continue;
    const HsRun base = solveOne(p, tight());
    if (base.s.rc != 0) continue;  // no tighter point to compare with
    double xscale = 1.0;
    for (double v : base.s.x) xscale = std::max(xscale, std::fabs(v));
    for (const auto &v : variants) {
      HsOptions o = tight({v.second});
      if (std::string(v.first) == "sparse engine") {
        // Threshold pivoting at 0.01: at the default 1e-8 the sparse engine's
        // factors of HS108's degenerate systems keep it from reaching 1e-9.
        o.strs = {{MX_PARAM_DEBUGOPTIONSNAME, sparse}};
        o.dbls.push_back({MX_PARAM_LINSOLVER_PIVOTTOL, 0.01});
      }
      const HsRun r = solveOne(p, o);
      double dx = 0.0;
      for (int j = 0; j < p.n; ++j) dx = std::max(dx, std::fabs(r.s.x[j] - base.s.x[j]));
      const double df = std::fabs(r.s.f - base.s.f);
      std::string why = r.s.rc != 0 ? "return code " + std::to_string(r.s.rc) : "";
      // Another minimiser (symmetric problems, or rounding that tips a
      // nonconvex path) is no fault of the linear algebra as long as it is
      // a KKT point; a few of those are allowed.
      const bool otherMinimiser = r.kktPass && base.kktPass && r.kkt.feas <= kTol;
      const bool moved = df > 1e-8 * std::max(1.0, std::fabs(base.s.f)) || dx > 1e-8 * xscale;
      if (why.empty() && moved && otherMinimiser) others.push_back(std::string(p.name) + " " + v.first);
      else if (why.empty() && df > 1e-8 * std::max(1.0, std::fabs(base.s.f))) why = "f differs by " + fmt("%.2e", df);
      else if (why.empty() && dx > 1e-8 * xscale) why = "x differs by " + fmt("%.2e", dx);
      if (!why.empty()) failed.push_back(std::string(p.name) + " " + v.first + ": " + why);
    }
  }
  EXPECT_TRUE(failed.empty()) << listOf(failed);
  EXPECT_LE(others.size(), 4u) << "too many runs at other minimisers:\n" << listOf(others);
}

// The conjugate-gradient algorithm and the optional parts of the
// globalization solve what the default run solves. A run may end at another
// local minimiser (HS20, HS108 under algorithm 2), but only with code 0 at a
// point that passes the KKT check; algorithm 2 must get there within 300
// iterations.
TEST(HsSolve, GlobalizationVariantsSolveWhatTheDefaultSolves) {
  struct Variant {
    const char *name;
    std::vector<std::pair<int, int>> options;
    int maxIters;
  };
  const Variant variants[] = {{"algorithm 2", {{MX_PARAM_ALGORITHM, 2}}, 300},
                              {"algorithm 2, cg_precond 1", {{MX_PARAM_ALGORITHM, 2}, {MX_PARAM_CG_PRECOND, 1}}, 300},
                              {"bar_watchdog 1", {{MX_PARAM_BAR_WATCHDOG, 1}}, 0},
                              {"bar_penaltycons 2", {{MX_PARAM_BAR_PENALTYCONS, 2}}, 0},
                              {"bar_penaltycons 3", {{MX_PARAM_BAR_PENALTYCONS, 3}}, 0},
                              {"soc 0", {{MX_PARAM_SOC, 0}}, 0}};
  std::vector<HsRun> base;
  for (const HsProblem &p : hsProblems()) base.push_back(solveOne(p, direct()));
  std::vector<std::string> failed;
  for (const Variant &v : variants) {
    int same = 0, other = 0;
    for (const HsRun &b : base) {
      // No multipliers exist at a degenerate solution; only the direct
      // default reaches HS13's within 1e-4 (the others stop near it).
      if (!b.pass || b.p->degenerate) continue;
      const HsRun r = solveOne(*b.p, direct(v.options));
      const std::string name = b.p->name, variant = v.name;
      const bool kktPoint = r.s.rc == 0 && r.kkt.feas <= kTol && r.kktPass;
      std::string why = r.pass && r.kktPass ? "" : kktPoint ? "" : r.why;
      if (why.empty() && v.maxIters > 0 && r.s.iters > v.maxIters) why = std::to_string(r.s.iters) + " iterations";
      // Algorithm 2 takes its tangential steps by CG unless the rows leave
      // no room for one.
      if (why.empty() && variant.rfind("algorithm 2", 0) == 0 && b.p->n > b.p->m && r.s.cgIters == 0)
        why = "no CG iterations reported";
      // HS56 with the preconditioned projection stops with -102 at
      // f = -3.455992: a merit weight of 3e5 leaves only rounding noise in
      // the constraint term of the reductions.
      // HS118 with elastic rows stops at a complementarity of 1.2e-6, inside
      // the tolerance scaled by its gradient (2.3) though not the absolute one.
      const bool known = (name == "hs056" && variant.find("precond") != std::string::npos) ||
                         (name == "hs118" && variant == "bar_penaltycons 2" && r.s.rc == 0 && r.kkt.comp <= 2.3e-6);
      if (!why.empty() && !known) failed.push_back(std::string(b.p->name) + " " + v.name + ": " + why);
      else (r.pass ? same : other) += 1;
    }
    std::printf("%s: %d at the default optimum, %d at another KKT point\n", v.name, same, other);
  }
  EXPECT_TRUE(failed.empty()) << listOf(failed);
}

// Without the Hessian: dense BFGS and SR1 and limited-memory BFGS solve what
// the exact Hessian solves, to 1e-5 relative in f or at another KKT point,
// and never evaluate a Hessian. Hessian-vector products (by finite
// differences, 4, or the user's routine, 5) drive the conjugate-gradient
// algorithm.
TEST(HsSolve, QuasiNewtonAndProductsSolveWithoutTheHessian) {
  struct Variant {
    const char *name;
    std::vector<std::pair<int, int>> options;
  };
  const Variant variants[] = {{"hessopt 2", {{MX_PARAM_HESSOPT, 2}}},
                              {"hessopt 3", {{MX_PARAM_HESSOPT, 3}}},
                              {"hessopt 6", {{MX_PARAM_HESSOPT, 6}}},
                              {"hessopt 4", {{MX_PARAM_ALGORITHM, 2}, {MX_PARAM_HESSOPT, 4}}},
                              {"hessopt 5", {{MX_PARAM_ALGORITHM, 2}, {MX_PARAM_HESSOPT, 5}}}};
  std::vector<std::string> failed, others;
  for (const Variant &v : variants) {
    int same = 0, iters = 0;
    for (const HsProblem &p : hsProblems()) {
      if (p.degenerate || !solveOne(p, direct()).pass) continue;
      HsOptions o = direct();
      o.ints.insert(o.ints.end(), v.options.begin(), v.options.end());
      const HsRun r = solveOne(p, o);
      iters += r.s.iters;
      const double ferr = std::fabs(r.s.f - p.fstar);
      // The feasibility tolerance is scaled by the start's violation (HS106
      // starts 6e4 off and may end 5e-5 off), and never looser than 1e-3.
      const std::vector<double> zeros(p.n + p.m, 0.0);
      const double startFeas = hsKktCheck(p, p.x0.data(), zeros.data()).feas;
      const double feasTol = std::max(1e-5, std::min(1e-6 * std::max(1.0, startFeas), 1e-3));
      const bool close = r.s.rc == 0 && ferr <= 1e-5 * std::max(1.0, std::fabs(p.fstar)) && r.kkt.feas <= feasTol;
      const bool kktPoint = r.s.rc == 0 && r.kkt.feas <= feasTol && r.kkt.stat <= 1e-5 && r.kkt.comp <= 1e-5;
      const std::string tag = std::string(p.name) + " " + v.name;
      if (r.s.hessEvals != 0) failed.push_back(tag + ": " + std::to_string(r.s.hessEvals) + " Hessian evaluations");
      if (close) ++same;
      else if (kktPoint) others.push_back(tag);
      else failed.push_back(tag + ": " + r.why + " rc " + std::to_string(r.s.rc) + " f " + fmt("%.8g", r.s.f));
    }
    std::printf("%s: %d at the default optimum, %d iterations\n", v.name, same, iters);
  }
  EXPECT_TRUE(failed.empty()) << listOf(failed);
  // HS20 and HS108 have other local minima, HS47 a lower one than the
  // published value, HS56 a stationary point at f = 0.
  EXPECT_LE(others.size(), 15u) << listOf(others);
  std::printf("at another KKT point:\n%s", listOf(others).c_str());
}

// HS13's solution is a cusp with no multipliers: the quasi-Newton and
// conjugate-gradient runs settle just outside it, inside the feasibility
// tolerance but with f off by up to 3e-2, and the others stop inside it,
// off by 1e-5. The end point is polished onto the rows, and ends with -100
// (no multipliers fit there) within 1e-5 of the optimum and feasible to
// rounding; the conjugate-gradient runs within 300 iterations.
TEST(HsSolve, DegenerateSolutionIsPolished) {
  const auto &all = hsProblems();
  const auto it = std::find_if(all.begin(), all.end(), [](const HsProblem &p) { return std::string(p.name) == "hs013"; });
  ASSERT_NE(it, all.end());
  const std::vector<std::pair<int, int>> variants[] = {{{MX_PARAM_ALGORITHM, 1}},
                                                        {{MX_PARAM_ALGORITHM, 2}},
                                                        {{MX_PARAM_HESSOPT, 2}},
                                                        {{MX_PARAM_HESSOPT, 3}},
                                                        {{MX_PARAM_HESSOPT, 6}},
                                                        {{MX_PARAM_ALGORITHM, 2}, {MX_PARAM_HESSOPT, 4}},
                                                        {{MX_PARAM_ALGORITHM, 2}, {MX_PARAM_HESSOPT, 5}}};
  for (const auto &v : variants) {
    const HsRun r = solveOne(*it, direct(v));
    std::string tag;
    for (const auto &o : v) tag += " option " + std::to_string(o.first) + " = " + std::to_string(o.second);
    SCOPED_TRACE(tag);
    EXPECT_TRUE(r.s.rc == 0 || r.s.rc == -100) << r.s.rc;
    EXPECT_NEAR(r.s.f, 1.0, 1e-5);
    EXPECT_LE(r.kkt.feas, 1e-12);
    // The trust-region runs once crept or cycled at the cusp for thousands.
    if (v[0].first == MX_PARAM_ALGORITHM && v[0].second == 2) EXPECT_LE(r.s.iters, 300);
  }
}

// HS106's rows have gradients of 5000 next to rows of 0.01: the rows are
// scaled by their largest start gradient, which brings the solve from
// thousands of steps to a few dozen. Without scaling (scale 0) it reaches
// the same point, and with it the multipliers still pass the KKT check of
// the model as given.
TEST(HsSolve, BadlyScaledRowsAreScaled) {
  const auto &all = hsProblems();
  const auto it = std::find_if(all.begin(), all.end(), [](const HsProblem &p) { return std::string(p.name) == "hs106"; });
  ASSERT_NE(it, all.end());
  const HsRun scaled = solveOne(*it, direct());
  const HsRun plain = solveOne(*it, direct({{MX_PARAM_SCALE, 0}}));
  EXPECT_TRUE(scaled.kktPass) << scaled.why;
  EXPECT_EQ(scaled.s.rc, 0);
  EXPECT_EQ(plain.s.rc, 0);
  EXPECT_NEAR(scaled.s.f, plain.s.f, 1e-6 * std::fabs(plain.s.f));
  EXPECT_LE(scaled.s.iters, 60) << "plain: " << plain.s.iters;
}
