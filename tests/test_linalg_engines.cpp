// Factorization engines on random KKT matrices against a dense
// eigen-decomposition, the orderings of the sparse engine, the choice of the
// engine for an engine number, and dense QR objects.
#include <gtest/gtest.h>

#include <dlfcn.h>

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
std::vector<double> apply(const std::vector<double> &m, int rows, int cols, const std::vector<double> &x, bool trans) {
  std::vector<double> y(static_cast<size_t>(trans ? cols : rows), 0.0);
  for (int j = 0; j < cols; ++j)
    for (int i = 0; i < rows; ++i) (trans ? y[j] : y[i]) += m[i + static_cast<size_t>(j) * rows] * x[trans ? i : j];
  return y;
}

// max |v - w|, w zero when empty.
double maxAbs(const std::vector<double> &v, const std::vector<double> &w = {}) {
  double r = 0.0;
  for (size_t i = 0; i < v.size(); ++i) r = std::max(r, std::fabs(v[i] - (w.empty() ? 0.0 : w[i])));
  return r;
}

}  // namespace

// The four QR solves satisfy their defining equations on a full-rank M. A
// dependent column lowers the rank, reported at debug level only, and the
// least-squares solve still fits b as well as the remaining basis can.
TEST(DenseQR, SolvesOnFullAndDeficientRank) {
  const int rows = 9, cols = 5;
  for (bool dependent : {false, true}) {
    std::mt19937 rng(dependent ? 5 : 3);
    const std::vector<double> M = randomMatrix(rng, rows, cols, dependent);
    CaptureContext cc;
    QRfactorObj qr;
    for (int debug : {0, 1}) {
      cc.ctx->opt.debug = debug;
      ASSERT_EQ(QRfactor(cc.ctx, qr, rows, cols, M.data(), rows, 1e-10), 0);
      EXPECT_EQ(cc.take(), debug && dependent ? "Jacobian matrix is rank deficient: numRows=9, numCols=5 rank=4, "
                                                "rankTol=1.000000e-10\n"
                                              : "");
    }
    EXPECT_EQ(qr.rank, dependent ? cols - 1 : cols);
    std::vector<double> b(rows), c(cols), x(cols), z(rows), p(rows);
    for (int i = 0; i < rows; ++i) b[i] = std::sin(i + 1.0);
    for (int j = 0; j < cols; ++j) c[j] = std::cos(j + 1.0);

    // Least squares: the residual is orthogonal to the columns.
    ASSERT_EQ(QRleastSquaresSolve(cc.ctx, qr, b.data(), x.data()), 0);
    std::vector<double> fit = apply(M, rows, cols, x, false), r = fit;
    for (int i = 0; i < rows; ++i) r[i] -= b[i];
    EXPECT_LT(maxAbs(apply(M, rows, cols, r, true)), dependent ? 1e-10 : 1e-12);
    if (dependent) continue;

    // Minimum norm: M^T z = c and z in range(M) (its projection vanishes).
    ASSERT_EQ(QRminNormSolve(nullptr, qr, c.data(), z.data()), 0);
    EXPECT_LT(maxAbs(apply(M, rows, cols, z, true), c), 1e-12);
    ASSERT_EQ(QRprojection(nullptr, qr, z.data(), p.data()), 0);
    EXPECT_LT(maxAbs(p), 1e-12);

    // Projection of b: M^T p = 0 and b - p is the least-squares fit M x.
    ASSERT_EQ(QRprojection(nullptr, qr, b.data(), p.data()), 0);
    EXPECT_LT(maxAbs(apply(M, rows, cols, p, true)), 1e-12);
    for (int i = 0; i < rows; ++i) EXPECT_NEAR(b[i] - p[i], fit[i], 1e-12);

    // Normal equations: M^T M x = c.
    ASSERT_EQ(QRATASolve(nullptr, qr, c.data(), x.data()), 0);
    EXPECT_LT(maxAbs(apply(M, rows, cols, apply(M, rows, cols, x, false), true), c), 1e-10);
  }
  CaptureContext cc;
  QRfactorObj fresh;
  std::vector<double> b(rows), x(cols);
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
  EXPECT_EQ(accepted, 200);
  EXPECT_GE(singular, 20);
  EXPECT_LE(singular, 180);
}

namespace {

struct Ordered {
  EngineRun run;
  std::vector<int> pivots, handed;  // the engine's pivot order, the permutation handed to it
  int code = -1;                    // the engine's ordering code
};

Ordered solveWithOrdering(const KktCase &k, int ordering, const std::vector<double> &b) {
  Ordered o;
  LinSettings s;
  s.ordering = ordering;
  o.run = runEngine(k, LIN_ENGINE_MUMPS, s, b, [&](LinSystem &sys) {
    o.pivots = mumpsPivotOrder(sys);
    o.code = mumpsOrderingCode(sys);
    if (sys.lastOrdering == LIN_ORDER_METIS) o.handed = sys.userOrder;
  });
  EXPECT_EQ(o.run.analyse, LIN_OK);
  EXPECT_EQ(o.run.info.status, LIN_OK);
  EXPECT_EQ(o.run.solve, LIN_OK);
  return o;
}

}  // namespace

// The orderings change the elimination order but not the solution, and the
// METIS ordering reaches the engine as computed. Above 10000 rows the
// automatic ordering is our METIS permutation, so that two factorizations of
// one matrix pivot alike and give the same bits (the engine's own choice
// seeds its orderings at random).
TEST(LinEngines, OrderingsAgreeMetisIsUsedAndLargeSystemsRepeat) {
  const KktCase k = kktGrid(20, 7);
  std::mt19937 rng(7);
  const std::vector<double> b = randomRhs(rng, k.n);
  std::vector<Ordered> f;
  for (int ord : {LIN_ORDER_AMD, LIN_ORDER_METIS, LIN_ORDER_AUTO, LIN_ORDER_BEST}) {
    f.push_back(solveWithOrdering(k, ord, b));
    EXPECT_EQ(f.back().run.info.negEig, 7);
  }
  // The engine was handed the permutation METIS computes, reports that it
  // applied the permutation handed over, and its pivot order differs from
  // the ones of AMD and of its own automatic choice.
  EXPECT_EQ(f[1].handed, metisOrdering(k.n, static_cast<nnzint>(k.row.size()), k.row.data(), k.col.data()));
  EXPECT_EQ(f[1].code, 1);
  EXPECT_NE(f[0].code, 1);
  EXPECT_NE(f[2].code, 1);
  EXPECT_NE(f[1].pivots, f[0].pivots);
  EXPECT_NE(f[1].pivots, f[2].pivots);
  for (size_t o = 1; o < f.size(); ++o)
    for (int i = 0; i < k.n; ++i) EXPECT_NEAR(f[o].run.x[i], f[0].run.x[i], 1e-10);

  const KktCase large = kktGrid(101, 20, false);
  const std::vector<double> bl = randomRhs(rng, large.n);
  const Ordered first = solveWithOrdering(large, LIN_ORDER_AUTO, bl);
  const Ordered second = solveWithOrdering(large, LIN_ORDER_AUTO, bl);
  EXPECT_EQ(first.code, 1);
  EXPECT_EQ(first.pivots, second.pivots);
  EXPECT_EQ(first.run.x, second.run.x);
}

// Factors and solves run the BLAS on one thread, whatever the program's
// count: both engines give the same bits with one and with two threads, and
// hand the count back afterwards.
TEST(LinEngines, BlasThreadCountNeitherChangesTheResultNorStaysChanged) {
  using Get = int (*)();
  using Set = void (*)(int);
  const Get get = reinterpret_cast<Get>(dlsym(RTLD_DEFAULT, "openblas_get_num_threads"));
  const Set set = reinterpret_cast<Set>(dlsym(RTLD_DEFAULT, "openblas_set_num_threads"));
  if (get == nullptr || set == nullptr) GTEST_SKIP() << "the BLAS has no thread count to set; skipping";
  const int before = get();
  // The sparse case has fronts of a few hundred rows, wide enough for a
  // threaded BLAS to split its sums.
  for (LinEngineKind kind : {LIN_ENGINE_DENSE, LIN_ENGINE_MUMPS}) {
    const KktCase k = kind == LIN_ENGINE_DENSE ? kktGrid(15, 60, false) : kktGrid(160, 800, false);
    std::mt19937 rng(5);
    const std::vector<double> b = randomRhs(rng, k.n);
    set(1);
    const EngineRun one = runEngine(k, kind, LinSettings(), b);
    set(2);
    const EngineRun two = runEngine(k, kind, LinSettings(), b);
    EXPECT_EQ(get(), 2) << "engine " << kind;
    ASSERT_EQ(one.solve, LIN_OK);
    EXPECT_EQ(one.x, two.x) << "engine " << kind;
  }
  set(before);
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
