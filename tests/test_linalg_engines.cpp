// Factorization engines on random KKT matrices against a dense
// eigen-decomposition, and the orderings of the sparse engine.
#include <gtest/gtest.h>

#include <cmath>

#include "kkt_random.h"
#include "linalg/engine.h"

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
    // The scaling modes and two pivot thresholds take turns over the matrices.
    LinSettings s;
    s.scaling = accepted % 3;
    s.pivotTol = accepted % 2 ? 1e-8 : 0.1;
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

// Calls out of order or with indices outside the matrix are refused and
// leave the system usable.
TEST(LinEngines, RefusesBadInputAndOrder) {
  const KktCase k = kktGrid(4, 2);
  const nnzint nnz = static_cast<nnzint>(k.row.size());
  std::vector<int> badRow = k.row;
  badRow[3] = k.n;
  std::vector<double> x(static_cast<size_t>(k.n), 1.0);
  for (LinEngineKind kind : {LIN_ENGINE_DENSE, LIN_ENGINE_MUMPS}) {
    LinSystem sys;
    EXPECT_EQ(linFactor(sys, k.val.data()).status, LIN_ERR_ORDER);
    EXPECT_EQ(linSolve(sys, x.data()), LIN_ERR_ORDER);
    EXPECT_EQ(linAnalyze(sys, kind, LinSettings(), k.n, nnz, badRow.data(), k.col.data()),
              LIN_ERR_INPUT);
    ASSERT_EQ(linAnalyze(sys, kind, LinSettings(), k.n, nnz, k.row.data(), k.col.data()), LIN_OK);
    EXPECT_EQ(linSolve(sys, x.data()), LIN_ERR_ORDER);
    const LinFactorInfo info = linFactor(sys, k.val.data());
    EXPECT_EQ(info.status, LIN_OK);
    EXPECT_EQ(info.negEig, 2);
    EXPECT_EQ(linSolve(sys, x.data()), LIN_OK);
  }
}
