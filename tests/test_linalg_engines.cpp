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
