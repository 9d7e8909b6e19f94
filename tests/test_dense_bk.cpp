// Our unblocked Bunch-Kaufman and Cholesky factors against the system
// LAPACK: the same pivots and factors, solutions to rounding. (The dense
// engine's inertia is checked with the other engines.)
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "linalg/dense_bk.h"

extern "C" {
void dsytrf_(const char *uplo, const int *n, double *a, const int *lda, int *ipiv, double *work, const int *lwork,
             int *info, size_t);
void dpotrf_(const char *uplo, const int *n, double *a, const int *lda, int *info, size_t);
}

namespace {

// Symmetric test matrices: random, with zero diagonals (forcing 2x2
// pivots), with a zero row (exactly singular), and KKT-shaped.
std::vector<double> bkMatrix(int n, int kind, std::mt19937 &rng) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> a(static_cast<size_t>(n) * n, 0.0);
  for (int j = 0; j < n; ++j)
    for (int i = j; i < n; ++i) a[i + j * n] = a[j + i * n] = u(rng);
  if (kind == 1)
    for (int i = 0; i < n; ++i) a[i + i * n] = 0.0;
  if (kind == 2 && n > 2)
    for (int i = 0; i < n; ++i) a[i + 1 * n] = a[1 + i * n] = 0.0;
  if (kind == 3)  // [H A'; A 0], A with no more rows than columns
    for (int j = n - n / 2; j < n; ++j)
      for (int i = n - n / 2; i < n; ++i) a[i + j * n] = 0.0;
  return a;
}

double residual(int n, const std::vector<double> &a, const std::vector<double> &x, const std::vector<double> &b) {
  double worst = 0.0;
  for (int i = 0; i < n; ++i) {
    double s = -b[i];
    for (int j = 0; j < n; ++j) s += a[i + j * n] * x[j];
    worst = std::max(worst, std::fabs(s));
  }
  return worst;
}

}  // namespace

TEST(DenseBK, MatchesLapackPivotsAndSolves) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int kind = 0; kind < 4; ++kind) {
    for (int n = 1; n <= 40; n += (n < 8 ? 1 : 7)) {
      const std::vector<double> a = bkMatrix(n, kind, rng);
      std::vector<double> ours(a), ref(a), work(64 * n);
      std::vector<int> pivOurs(n), pivRef(n);
      const int lwork = static_cast<int>(work.size());
      int infoRef = 0;
      const int infoOurs = denseBKFactor(n, ours.data(), n, pivOurs.data());
      dsytrf_("L", &n, ref.data(), &n, pivRef.data(), work.data(), &lwork, &infoRef, 1);
      SCOPED_TRACE("kind " + std::to_string(kind) + " n " + std::to_string(n));
      EXPECT_EQ(infoOurs, infoRef);
      EXPECT_EQ(pivOurs, pivRef);
      if (infoOurs != 0) continue;
      std::vector<double> b(n), x(n);
      for (double &v : b) v = u(rng);
      x = b;
      denseBKSolve(n, ours.data(), n, pivOurs.data(), x.data());
      EXPECT_LE(residual(n, a, x, b), 1e-9);
    }
  }
}

TEST(DenseBK, CholeskyFactorsAndRejects) {
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int n : {1, 2, 5, 17}) {
    std::vector<double> m(static_cast<size_t>(n) * n), a(static_cast<size_t>(n) * n, 0.0);
    for (double &v : m) v = u(rng);
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) {
        for (int k = 0; k < n; ++k) a[i + j * n] += m[i + k * n] * m[j + k * n];
        if (i == j) a[i + j * n] += 0.1;
      }
    std::vector<double> l(a), ref(a), b(n), x(n);
    int infoRef = 0;
    ASSERT_EQ(denseCholFactor(n, l.data(), n), 0);
    dpotrf_("L", &n, ref.data(), &n, &infoRef, 1);
    for (int j = 0; j < n; ++j)
      for (int i = j; i < n; ++i) EXPECT_NEAR(l[i + j * n], ref[i + j * n], 1e-12 * (1.0 + std::fabs(ref[i + j * n])));
    for (double &v : b) v = u(rng);
    x = b;
    denseCholSolve(n, l.data(), n, x.data());
    EXPECT_LE(residual(n, a, x, b), 1e-9);
    // An indefinite matrix stops at the first bad minor.
    std::vector<double> bad(a);
    bad[(n - 1) + (n - 1) * n] = -1.0;
    for (int i = 0; i < n - 1; ++i) bad[i + (n - 1) * n] = bad[(n - 1) + i * n] = 0.0;
    EXPECT_EQ(denseCholFactor(n, bad.data(), n), n);
  }
}
