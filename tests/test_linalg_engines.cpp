// Factorization engines on random KKT matrices against a dense
// eigen-decomposition; orderings; concurrent sparse instances.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "kkt_random.h"
#include "linalg/engine.h"

namespace {

struct EngineRun {
  LinFactorInfo info;
  std::vector<double> x;
  double residual = 0.0, bnorm = 0.0;
  int analyse = 0, solve = 0;
};

EngineRun runEngine(const KktCase &k, LinEngineKind kind, const LinSettings &s,
                    const std::vector<double> &b) {
  EngineRun r;
  LinSystem sys;
  r.analyse = linAnalyze(sys, kind, s, k.n, static_cast<nnzint>(k.row.size()), k.row.data(),
                         k.col.data());
  if (r.analyse != LIN_OK) return r;
  r.info = linFactor(sys, k.val.data());
  r.x = b;
  r.solve = linSolve(sys, r.x.data());
  if (r.solve == LIN_OK) r.residual = linResidualInf(sys, r.x.data(), b.data());
  for (double v : b) r.bnorm = std::max(r.bnorm, std::fabs(v));
  return r;
}

std::vector<double> randomRhs(std::mt19937 &rng, int n) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> b(static_cast<size_t>(n));
  for (double &v : b) v = u(rng);
  return b;
}

}  // namespace

// Every engine and ordering reports the inertia of dsyevd, flags exactly the
// singular matrices and solves the others to a 1e-12 relative residual.
TEST(LinEngines, RandomKktMatchEigenDecomposition) {
  std::mt19937 rng(20261122);
  std::uniform_int_distribution<int> sizeH(2, 40), coin(0, 3);
  int accepted = 0, singular = 0, attempts = 0;
  const int orderings[] = {LIN_ORDER_AUTO, LIN_ORDER_AMD, LIN_ORDER_METIS};
  while (accepted < 200 && attempts < 2000) {
    ++attempts;
    const int nh = sizeH(rng);
    const int ma = std::uniform_int_distribution<int>(1, nh)(rng);
    const bool deficient = ma >= 3 && coin(rng) == 0;
    const double delta = deficient ? 0.0 : (coin(rng) < 2 ? 0.0 : 1e-2);
    KktCase k = kktRandom(rng, nh, ma, delta, deficient, 0.25);
    const KktInertia ref = kktInertia(k, 1e-11);
    // Keep only matrices whose smallest non-zero eigenvalue is clearly apart
    // from zero, so that "singular" has one meaning.
    if (ref.gap < 1e-6) continue;
    ++accepted;
    singular += ref.zero > 0;
    const std::vector<double> b = randomRhs(rng, k.n);
    LinSettings s;
    for (int e = 0; e < 4; ++e) {
      const LinEngineKind kind = e == 0 ? LIN_ENGINE_DENSE : LIN_ENGINE_MUMPS;
      if (e > 0) s.ordering = orderings[e - 1];
      const EngineRun r = runEngine(k, kind, s, b);
      SCOPED_TRACE(testing::Message() << "matrix " << accepted << " n=" << k.n << " engine "
                                      << e << " neg=" << ref.neg << " zero=" << ref.zero);
      ASSERT_EQ(r.analyse, LIN_OK);
      ASSERT_EQ(r.info.status, LIN_OK);
      EXPECT_EQ(r.info.singular(), ref.zero > 0);
      if (ref.zero > 0) {
        EXPECT_EQ(r.solve, LIN_ERR_SINGULAR);
        continue;
      }
      EXPECT_EQ(r.info.negEig, ref.neg);
      ASSERT_EQ(r.solve, LIN_OK);
      EXPECT_LE(r.residual, 1e-12 * r.bnorm);
    }
  }
  RecordProperty("singular", singular);
  RecordProperty("attempts", attempts);
  EXPECT_EQ(accepted, 200);
  EXPECT_GE(singular, 20);
  EXPECT_LE(singular, 180);
}

namespace {

// KKT matrix of a g x g grid: H the 5-point Laplacian, A sums of grid lines.
KktCase kktGrid(int g, int rows) {
  KktCase k;
  const int nh = g * g;
  k.n = nh + rows;
  k.dense.assign(static_cast<size_t>(k.n) * k.n, 0.0);
  for (int i = 0; i < g; ++i)
    for (int j = 0; j < g; ++j) {
      const int v = i * g + j;
      kktAdd(k, v, v, 4.0);
      if (j + 1 < g) kktAdd(k, v + 1, v, -1.0);
      if (i + 1 < g) kktAdd(k, v + g, v, -1.0);
    }
  for (int r = 0; r < rows; ++r)
    for (int j = 0; j < g; ++j) kktAdd(k, nh + r, (r % g) * g + j, 1.0 + 0.1 * j);
  for (int r = 0; r < rows; ++r) kktAdd(k, nh + r, nh + r, -1e-2);
  return k;
}

}  // namespace

// The orderings change the elimination order but not the solution, and the
// METIS ordering reaches the engine as computed.
TEST(LinEngines, OrderingsAgreeAndMetisIsUsed) {
  const KktCase k = kktGrid(20, 7);
  std::mt19937 rng(7);
  const std::vector<double> b = randomRhs(rng, k.n);
  const nnzint nnz = static_cast<nnzint>(k.row.size());
  std::vector<std::vector<double>> sol;
  std::vector<std::vector<int>> orders;
  std::vector<int> handed, codes;
  const int orderings[] = {LIN_ORDER_AMD, LIN_ORDER_METIS, LIN_ORDER_AUTO, LIN_ORDER_BEST};
  for (int ord : orderings) {
    LinSettings s;
    s.ordering = ord;
    LinSystem sys;
    ASSERT_EQ(linAnalyze(sys, LIN_ENGINE_MUMPS, s, k.n, nnz, k.row.data(), k.col.data()),
              LIN_OK);
    orders.push_back(mumpsPivotOrder(sys));
    codes.push_back(mumpsOrderingCode(sys));
    if (ord == LIN_ORDER_METIS) {
      EXPECT_EQ(sys.lastOrdering, LIN_ORDER_METIS);
      handed = sys.userOrder;
    }
    const LinFactorInfo info = linFactor(sys, k.val.data());
    ASSERT_EQ(info.status, LIN_OK);
    EXPECT_EQ(info.negEig, 7);
    std::vector<double> x = b;
    ASSERT_EQ(linSolve(sys, x.data()), LIN_OK);
    sol.push_back(x);
  }
  // The engine was handed the permutation METIS computes, reports that it
  // applied the permutation handed over, and its pivot order differs from
  // the ones of AMD and of its own automatic choice.
  const std::vector<int> metis = metisOrdering(k.n, nnz, k.row.data(), k.col.data());
  EXPECT_EQ(handed, metis);
  EXPECT_EQ(codes[1], 1);
  EXPECT_NE(codes[0], 1);
  EXPECT_NE(codes[2], 1);
  EXPECT_NE(orders[1], orders[0]);
  EXPECT_NE(orders[1], orders[2]);
  for (size_t o = 1; o < sol.size(); ++o)
    for (int i = 0; i < k.n; ++i) EXPECT_NEAR(sol[o][i], sol[0][i], 1e-10);
}

// Engine instances factor and solve in several threads at once with the
// same results as one after the other (the sparse library needs its calls
// serialised: without the lock this test crashes).
TEST(LinEngines, ConcurrentSparseInstances) {
  constexpr int kThreads = 4, kRounds = 6;
  std::vector<KktCase> cases;
  std::vector<std::vector<double>> rhs, serial;
  std::mt19937 rng(99);
  for (int t = 0; t < kThreads; ++t) {
    cases.push_back(kktGrid(12 + 2 * t, 5 + t));
    rhs.push_back(randomRhs(rng, cases.back().n));
  }
  LinSettings s;
  s.ordering = LIN_ORDER_METIS;
  for (int t = 0; t < kThreads; ++t)
    serial.push_back(runEngine(cases[t], LIN_ENGINE_MUMPS, s, rhs[t]).x);
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> pool;
  for (int t = 0; t < kThreads; ++t)
    pool.emplace_back([&, t] {
      for (int r = 0; r < kRounds; ++r) {
        LinSettings mine = s;
        mine.ordering = r % 2 ? LIN_ORDER_METIS : LIN_ORDER_AMD;
        const LinEngineKind kind = r % 3 == 2 ? LIN_ENGINE_DENSE : LIN_ENGINE_MUMPS;
        const EngineRun run = runEngine(cases[t], kind, mine, rhs[t]);
        bool same = run.solve == LIN_OK;
        for (size_t i = 0; same && i < run.x.size(); ++i)
          same = std::fabs(run.x[i] - serial[t][i]) <= 1e-10 * (1.0 + std::fabs(serial[t][i]));
        mismatches[t] += !same;
      }
    });
  for (auto &th : pool) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}
