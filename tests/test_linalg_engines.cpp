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
    EXPECT_EQ(kind, LIN_ENGINE_LDL);
    EXPECT_EQ(cc.take(), "WARNING: linsolver=" + std::to_string(e) +
                             " is not available in this build.\n         Changing linsolver to 5.\n");
  }
  EXPECT_EQ(linEngineForSystem(cc.ctx, 4, LIN_LDL_MIN_ROWS, &kind), 4);
  EXPECT_EQ(kind, LIN_ENGINE_DENSE);
  EXPECT_EQ(linEngineForSystem(cc.ctx, 5, LIN_LDL_MIN_ROWS + 1, &kind), 5);
  EXPECT_EQ(kind, LIN_ENGINE_LDL);
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
    for (int e = 0; e < 5; ++e) {
      const LinEngineKind kind = e == 0 ? LIN_ENGINE_DENSE : e == 4 ? LIN_ENGINE_LDL : LIN_ENGINE_MUMPS;
      if (e > 0) s.ordering = e < 4 ? orderings[e - 1] : LIN_ORDER_AUTO;
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
  for (LinEngineKind kind : {LIN_ENGINE_DENSE, LIN_ENGINE_MUMPS, LIN_ENGINE_LDL}) {
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

namespace {

// The grid KKT matrix with equality rows (row diagonal rowDiag) and as many
// rows again on single grid points, which an ordering puts before their
// one neighbour.
KktCase kktEquality(int g, int rows, double rowDiag) {
  KktCase k = kktGrid(g, rows, false);
  for (size_t e = k.val.size() - static_cast<size_t>(rows); e < k.val.size(); ++e) k.val[e] = rowDiag;
  const int base = k.n;
  k.n += rows;
  for (int r = 0; r < rows; ++r) {
    kktAdd(k, base + r, (7 * r + 3) % (g * g), 1.0);
    kktAdd(k, base + r, base + r, rowDiag);
  }
  return k;
}

// The grid's Laplacian with m equality rows, each on a 2 x 2 patch of
// neighbouring points, spread over the grid: neighbouring rows share
// points, so a row may find its first points already serving another.
KktCase kktPatches(int g, int m) {
  KktCase k = kktGrid(g, 0, false);
  const int nh = g * g;
  k.n = nh + m;
  for (int r = 0; r < m; ++r) {
    const int v = r * nh / m;
    kktAdd(k, nh + r, v, 1.0 + 0.01 * r);
    if (v + 1 < nh) kktAdd(k, nh + r, v + 1, 0.7);
    if (v + g < nh) kktAdd(k, nh + r, v + g, 1.3);
    if (v + g + 1 < nh) kktAdd(k, nh + r, v + g + 1, 0.9);
    kktAdd(k, nh + r, nh + r, 0.0);
  }
  return k;
}

struct LdlRun {
  LinEngineKind afterAnalysis = LIN_ENGINE_LDL, afterFactor = LIN_ENGINE_LDL;
  LinFactorInfo info;
  std::vector<double> x;
  double residual = 0.0;
  int solve = 0;
};

// Factors and solves once per value set on one analysis of the pattern.
std::vector<LdlRun> ldlRuns(const KktCase &k, const std::vector<std::vector<double>> &values,
                            const std::vector<double> &b, const LinSettings &settings = LinSettings()) {
  std::vector<LdlRun> runs;
  LinSystem sys;
  const int st = linAnalyze(sys, LIN_ENGINE_LDL, settings, k.n, static_cast<nnzint>(k.row.size()),
                            k.row.data(), k.col.data());
  EXPECT_EQ(st, LIN_OK);
  for (const std::vector<double> &v : values) {
    LdlRun r;
    r.afterAnalysis = runs.empty() ? sys.kind : runs.back().afterAnalysis;
    r.info = linFactor(sys, v.data());
    r.afterFactor = sys.kind;
    r.x = b;
    r.solve = linSolve(sys, r.x.data());
    if (r.solve == LIN_OK) r.residual = linResidualInf(sys, r.x.data(), b.data());
    runs.push_back(r);
  }
  return runs;
}

}  // namespace

// The sparse LDL^T engine keeps low-fill KKT matrices whose equality rows
// have zero diagonals: rows an ordering would eliminate before their only
// neighbour, rows whose first neighbours serve other rows, and a row shift
// that comes and goes between factorizations. It agrees with the
// multifrontal engine on inertia and solution.
TEST(LdlEngine, FactorsKktMatricesWithZeroDiagonals) {
  for (int rows : {30, 100, 150, 1000}) {
    const int g = static_cast<int>(std::ceil(std::sqrt(0.75 * rows)));
    const int m = rows - g * g;
    const KktCase p = kktPatches(g, m);
    std::mt19937 r(rows);
    const std::vector<double> bp = randomRhs(r, p.n);
    // Five factorizations: a factor handed over each time would leave the
    // system with the pivoting engine.
    const LdlRun run = ldlRuns(p, std::vector<std::vector<double>>(5, p.val), bp).back();
    const EngineRun ref = runEngine(p, LIN_ENGINE_MUMPS, LinSettings(), bp);
    EXPECT_EQ(run.afterFactor, LIN_ENGINE_LDL) << rows;
    EXPECT_EQ(run.info.negEig, m) << rows;
    ASSERT_EQ(run.solve, LIN_OK);
    for (int j = 0; j < p.n; ++j) ASSERT_NEAR(run.x[j], ref.x[j], 1e-9 * (1.0 + std::fabs(ref.x[j])));
  }
  const KktCase k = kktEquality(20, 12, 0.0);
  std::mt19937 rng(11);
  const std::vector<double> b = randomRhs(rng, k.n);
  std::vector<double> shifted = k.val;
  for (size_t e = 0; e < k.row.size(); ++e)
    if (k.row[e] == k.col[e] && k.row[e] >= 400) shifted[e] = -1e-8;
  const std::vector<LdlRun> runs = ldlRuns(k, {k.val, shifted, k.val}, b);
  const EngineRun ref = runEngine(k, LIN_ENGINE_MUMPS, LinSettings(), b);
  ASSERT_EQ(ref.info.negEig, 24);
  // An ordering asked for by name is left to the multifrontal engine.
  LinSettings amd;
  amd.ordering = LIN_ORDER_AMD;
  EXPECT_EQ(ldlRuns(k, {k.val}, b, amd)[0].afterAnalysis, LIN_ENGINE_MUMPS);
  for (size_t i = 0; i < runs.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "factorization " << i);
    const LdlRun &r = runs[i];
    EXPECT_EQ(r.afterAnalysis, LIN_ENGINE_LDL);
    EXPECT_EQ(r.afterFactor, LIN_ENGINE_LDL);
    ASSERT_EQ(r.info.status, LIN_OK);
    EXPECT_FALSE(r.info.singular());
    EXPECT_EQ(r.info.negEig, 24);
    ASSERT_EQ(r.solve, LIN_OK);
    if (i == 1) continue;
    EXPECT_LE(r.residual, 1e-12 * ref.bnorm);
    for (int j = 0; j < k.n; ++j) ASSERT_NEAR(r.x[j], ref.x[j], 1e-9 * (1.0 + std::fabs(ref.x[j])));
  }
}

// Second differences of a chain as inequality rows whose slacks have gone
// to zero: the row diagonals are tiny, not zero. Placed where nested
// dissection puts them, or behind one neighbour, neighbouring rows take
// what a row's pivot is made of and it cancels to rounding; the engine
// must keep the system all the same.
TEST(LdlEngine, KeepsActiveInequalityRows) {
  const int nv = 1200, m = nv - 2;
  KktCase k;
  k.n = nv + m;
  for (int i = 0; i < nv; ++i) kktAdd(k, i, i, 1.0);
  for (int r = 0; r < m; ++r) {
    kktAdd(k, nv + r, r, 1.0);
    kktAdd(k, nv + r, r + 1, -2.0);
    kktAdd(k, nv + r, r + 2, 1.0);
    kktAdd(k, nv + r, nv + r, -1e-13);
  }
  std::mt19937 rng(5);
  const std::vector<double> b = randomRhs(rng, k.n);
  const LdlRun run = ldlRuns(k, std::vector<std::vector<double>>(5, k.val), b).back();
  const EngineRun ref = runEngine(k, LIN_ENGINE_MUMPS, LinSettings(), b);
  EXPECT_EQ(run.afterFactor, LIN_ENGINE_LDL);
  EXPECT_EQ(run.info.negEig, m);
  ASSERT_EQ(run.solve, LIN_OK);
  for (int j = 0; j < k.n; ++j) ASSERT_NEAR(run.x[j], ref.x[j], 1e-8 * (1.0 + std::fabs(ref.x[j])));
}

// What the engine cannot factor safely without pivoting goes to the
// multifrontal engine above 300 rows, the dense one below, with the same
// answers: a factor with much fill (at the analysis, for good), a zero
// pivot in any order (for that factor), and a singular matrix.
TEST(LdlEngine, HandsOverCostlyUnstableAndSingularSystems) {
  std::mt19937 rng(3);
  // A dense 500-row block: its factor has 500^2 / 2 entries.
  KktCase dense;
  dense.n = 500;
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int i = 0; i < dense.n; ++i) {
    kktAdd(dense, i, i, 600.0);
    for (int j = 0; j < i; ++j) kktAdd(dense, i, j, u(rng));
  }
  // [0 1; 1 0] leaves a zero pivot in either order; 60 unit rows beside it.
  KktCase swap;
  swap.n = 62;
  kktAdd(swap, 0, 0, 0.0);
  kktAdd(swap, 1, 1, 0.0);
  kktAdd(swap, 1, 0, 1.0);
  for (int i = 2; i < swap.n; ++i) kktAdd(swap, i, i, 1.0);
  std::vector<double> good = swap.val;
  good[0] = 2.0;
  good[1] = -3.0;
  // Two equal equality rows without a shift.
  KktCase twin = kktEquality(6, 2, 0.0);
  const size_t entries = twin.row.size();
  for (size_t e = 0; e < entries; ++e)
    if (twin.row[e] == 36 && twin.col[e] < 36) kktAdd(twin, twin.n, twin.col[e], twin.val[e]);
  kktAdd(twin, twin.n, twin.n, 0.0);
  ++twin.n;
  const EngineRun twinRef = runEngine(twin, LIN_ENGINE_MUMPS, LinSettings(), randomRhs(rng, twin.n));
  ASSERT_TRUE(twinRef.info.singular());

  const std::vector<double> bd = randomRhs(rng, dense.n), bs = randomRhs(rng, swap.n);
  const LdlRun d = ldlRuns(dense, {dense.val}, bd)[0];
  EXPECT_EQ(d.afterAnalysis, LIN_ENGINE_MUMPS);
  EXPECT_EQ(d.info.negEig, 0);
  EXPECT_LE(d.residual, 1e-12 * 600.0);
  // A factor handed over is solved by the engine that made it; the next
  // factorization tries again, and the fifth failure keeps the system
  // with the dense engine.
  const std::vector<LdlRun> s = ldlRuns(swap, {swap.val, good, swap.val, swap.val, swap.val, swap.val, good}, bs);
  for (size_t i = 0; i < s.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "factorization " << i);
    EXPECT_EQ(s[i].afterAnalysis, LIN_ENGINE_LDL);
    EXPECT_EQ(s[i].afterFactor, i < 5 ? LIN_ENGINE_LDL : LIN_ENGINE_DENSE);
    EXPECT_EQ(s[i].info.negEig, 1);
    ASSERT_EQ(s[i].solve, LIN_OK);
    const bool isGood = i == 1 || i == 6;
    EXPECT_NEAR(s[i].x[0], isGood ? (3.0 * bs[0] + bs[1]) / 7.0 : bs[1], 1e-14);
    EXPECT_NEAR(s[i].x[1], isGood ? (bs[0] - 2.0 * bs[1]) / 7.0 : bs[0], 1e-14);
    for (int j = 2; j < swap.n; ++j) ASSERT_EQ(s[i].x[j], bs[j]);
  }
  const LdlRun t = ldlRuns(twin, {twin.val}, randomRhs(rng, twin.n))[0];
  EXPECT_TRUE(t.info.singular());
  EXPECT_EQ(t.solve, LIN_ERR_SINGULAR);
}
