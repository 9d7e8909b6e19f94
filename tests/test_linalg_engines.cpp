// Factorization engines on random KKT matrices against a dense
// eigen-decomposition, the orderings of the sparse engine, the choice of the
// engine for an engine number, and dense QR objects.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "capture_context.h"
#include "kkt_random.h"
#include "linalg/dense_factor.h"
#include "linalg/engine.h"

namespace {

// Column-major rows x cols matrix; with `dependent` the last column is the
// sum of the first two.
std::vector<double> randomMatrix(std::mt19937 &rng, int rows, int cols, bool dependent) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> m(static_cast<size_t>(rows) * cols);
  for (double &v : m) v = u(rng);
  if (dependent)
    for (int i = 0; i < rows; ++i) m[i + (cols - 1) * rows] = m[i] + m[i + rows];
  return m;
}

// y = M x (trans false) or M^T x.
std::vector<double> apply(const std::vector<double> &m, int rows, int cols,
                          const std::vector<double> &x, bool trans) {
  std::vector<double> y(static_cast<size_t>(trans ? cols : rows), 0.0);
  for (int j = 0; j < cols; ++j)
    for (int i = 0; i < rows; ++i) {
      const double a = m[i + static_cast<size_t>(j) * rows];
      if (trans)
        y[j] += a * x[i];
      else
        y[i] += a * x[j];
    }
  return y;
}

double maxAbs(const std::vector<double> &v) {
  double r = 0.0;
  for (double x : v) r = std::max(r, std::fabs(x));
  return r;
}

}  // namespace

// The four QR solves satisfy their defining equations on a full-rank M.
TEST(DenseQR, SolvesOnFullRank) {
  std::mt19937 rng(3);
  const int rows = 9, cols = 5;
  const std::vector<double> M = randomMatrix(rng, rows, cols, false);
  QRfactorObj qr;
  ASSERT_EQ(QRfactor(nullptr, qr, rows, cols, M.data(), rows, 1e-10), 0);
  EXPECT_EQ(qr.rank, cols);
  std::vector<double> b(rows), c(cols), x(cols), z(rows), p(rows);
  for (int i = 0; i < rows; ++i) b[i] = std::sin(i + 1.0);
  for (int j = 0; j < cols; ++j) c[j] = std::cos(j + 1.0);

  // Least squares: the residual is orthogonal to the columns.
  ASSERT_EQ(QRleastSquaresSolve(nullptr, qr, b.data(), x.data()), 0);
  std::vector<double> r = apply(M, rows, cols, x, false);
  for (int i = 0; i < rows; ++i) r[i] -= b[i];
  EXPECT_LT(maxAbs(apply(M, rows, cols, r, true)), 1e-12);

  // Minimum norm: M^T z = c and z in range(M) (its projection vanishes).
  ASSERT_EQ(QRminNormSolve(nullptr, qr, c.data(), z.data()), 0);
  std::vector<double> mz = apply(M, rows, cols, z, true);
  for (int j = 0; j < cols; ++j) EXPECT_NEAR(mz[j], c[j], 1e-12);
  ASSERT_EQ(QRprojection(nullptr, qr, z.data(), p.data()), 0);
  EXPECT_LT(maxAbs(p), 1e-12);

  // Projection of b: M^T p = 0 and b - p is the least-squares fit M x.
  ASSERT_EQ(QRprojection(nullptr, qr, b.data(), p.data()), 0);
  EXPECT_LT(maxAbs(apply(M, rows, cols, p, true)), 1e-12);
  std::vector<double> fit = apply(M, rows, cols, x, false);
  for (int i = 0; i < rows; ++i) EXPECT_NEAR(b[i] - p[i], fit[i], 1e-12);

  // Normal equations: M^T M x = c.
  ASSERT_EQ(QRATASolve(nullptr, qr, c.data(), x.data()), 0);
  std::vector<double> ata = apply(M, rows, cols, apply(M, rows, cols, x, false), true);
  for (int j = 0; j < cols; ++j) EXPECT_NEAR(ata[j], c[j], 1e-10);
}

// A dependent column lowers the rank, is reported at debug level, and the
// least-squares solve still fits b as well as the full basis can.
TEST(DenseQR, RankDeficientJacobian) {
  std::mt19937 rng(5);
  const int rows = 8, cols = 4;
  const std::vector<double> M = randomMatrix(rng, rows, cols, true);
  CaptureContext cc;
  QRfactorObj qr;
  ASSERT_EQ(QRfactor(cc.ctx, qr, rows, cols, M.data(), rows, 1e-10), 0);
  EXPECT_EQ(qr.rank, 3);
  EXPECT_EQ(cc.take(), "");
  cc.ctx->opt.debug = 1;
  ASSERT_EQ(QRfactor(cc.ctx, qr, rows, cols, M.data(), rows, 1e-10), 0);
  EXPECT_EQ(cc.take(),
            "Jacobian matrix is rank deficient: numRows=8, numCols=4 rank=3, rankTol=1.000000e-10\n");
  std::vector<double> b(rows), x(cols);
  for (int i = 0; i < rows; ++i) b[i] = 1.0 + i;
  ASSERT_EQ(QRleastSquaresSolve(cc.ctx, qr, b.data(), x.data()), 0);
  std::vector<double> r = apply(M, rows, cols, x, false);
  for (int i = 0; i < rows; ++i) r[i] -= b[i];
  EXPECT_LT(maxAbs(apply(M, rows, cols, r, true)), 1e-10);
  QRfactorObj fresh;
  EXPECT_EQ(QRleastSquaresSolve(cc.ctx, fresh, b.data(), x.data()), -1);
  EXPECT_EQ(cc.take(), "QR LS solve failed with status -1\n");
}

// Engine numbers: unavailable engines warn and fall back; size picks the
// dense or the sparse engine.
TEST(EngineChoice, EngineNumbersMapOntoAvailableEngines) {
  CaptureContext cc;
  LinEngineKind kind = LIN_ENGINE_DENSE;
  for (int e : {6, 7, 8}) {
    EXPECT_EQ(linEngineForSystem(cc.ctx, e, 5000, &kind), 5);
    EXPECT_EQ(kind, LIN_ENGINE_MUMPS);
    EXPECT_EQ(cc.take(), "WARNING: linsolver=" + std::to_string(e) +
                             " is not available in this build.\n         Changing linsolver to 5.\n");
  }
  EXPECT_EQ(linEngineForSystem(cc.ctx, 4, LIN_DENSE_MAX_ROWS, &kind), 4);
  EXPECT_EQ(kind, LIN_ENGINE_DENSE);
  EXPECT_EQ(linEngineForSystem(cc.ctx, 5, LIN_DENSE_MAX_ROWS + 1, &kind), 5);
  EXPECT_EQ(kind, LIN_ENGINE_MUMPS);
  EXPECT_EQ(linEngineForSystem(cc.ctx, 3, 100000, &kind), 3);
  EXPECT_EQ(kind, LIN_ENGINE_DENSE);
  EXPECT_EQ(linEngineForSystem(cc.ctx, -1, 10, &kind), 0);
  EXPECT_EQ(cc.take(), "");
}

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

// Above 10000 rows the automatic ordering is our METIS permutation, so that
// two factorizations of one matrix pivot alike and give the same bits (the
// engine's own choice seeds its orderings at random).
TEST(LinEngines, AutomaticOrderingRepeatsOnLargeSystems) {
  const KktCase k = kktGrid(101, 20, false);
  std::mt19937 rng(3);
  const std::vector<double> b = randomRhs(rng, k.n);
  std::vector<std::vector<double>> sol;
  std::vector<std::vector<int>> orders;
  for (int run = 0; run < 2; ++run) {
    LinSystem sys;
    ASSERT_EQ(linAnalyze(sys, LIN_ENGINE_MUMPS, LinSettings(), k.n, static_cast<nnzint>(k.row.size()), k.row.data(),
                         k.col.data()),
              LIN_OK);
    EXPECT_EQ(mumpsOrderingCode(sys), 1);
    orders.push_back(mumpsPivotOrder(sys));
    ASSERT_EQ(linFactor(sys, k.val.data()).status, LIN_OK);
    std::vector<double> x = b;
    ASSERT_EQ(linSolve(sys, x.data()), LIN_OK);
    sol.push_back(x);
  }
  EXPECT_EQ(orders[0], orders[1]);
  EXPECT_EQ(sol[0], sol[1]);
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
