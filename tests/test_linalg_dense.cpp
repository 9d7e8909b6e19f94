// Dense QR objects, and the choice of the engine for an engine
// number.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "capture_context.h"
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
