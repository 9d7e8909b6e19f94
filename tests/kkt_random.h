// Random sparse KKT matrices [H A^T; A -delta I] for the engine tests, with
// a dense copy and its eigenvalues as the reference.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "linalg/engine.h"

// The reference eigenvalues come from the system LAPACK, linked by the tests.
extern "C" void dsyevd_(const char *jobz, const char *uplo, const int *n, double *a, const int *lda, double *w,
                        double *work, const int *lwork, int *iwork, const int *liwork, int *info, size_t, size_t);

struct KktCase {
  int n = 0;  // rows of H plus rows of A
  std::vector<int> row, col;  // lower triangle, coordinate
  std::vector<double> val;
  std::vector<double> dense;  // full matrix, column-major
  std::vector<double> eig;    // ascending
};

// Adds v at (i, j) and (j, i); the dense copy is kept when it was sized.
inline void kktAdd(KktCase &k, int i, int j, double v) {
  if (i < j) std::swap(i, j);
  k.row.push_back(i);
  k.col.push_back(j);
  k.val.push_back(v);
  if (k.dense.empty()) return;
  k.dense[static_cast<size_t>(i) + static_cast<size_t>(j) * k.n] += v;
  if (i != j) k.dense[static_cast<size_t>(j) + static_cast<size_t>(i) * k.n] += v;
}

// H: nh x nh sparse symmetric with random signs; A: ma x nh sparse, with
// exact copies (scaled by 2) of earlier rows when rankDeficient is set.
inline KktCase kktRandom(std::mt19937 &rng, int nh, int ma, double delta, bool rankDeficient, double density) {
  KktCase k;
  k.n = nh + ma;
  k.dense.assign(static_cast<size_t>(k.n) * k.n, 0.0);
  std::uniform_real_distribution<double> u(-1.0, 1.0), p(0.0, 1.0);
  for (int i = 0; i < nh; ++i) {
    kktAdd(k, i, i, u(rng) * 4.0);
    for (int j = 0; j < i; ++j)
      if (p(rng) < density) kktAdd(k, i, j, u(rng));
  }
  std::vector<std::vector<double>> a(static_cast<size_t>(ma), std::vector<double>(nh, 0.0));
  for (int r = 0; r < ma; ++r) {
    if (rankDeficient && r > 0 && r % 3 == 2) {
      for (int j = 0; j < nh; ++j) a[r][j] = 2.0 * a[r - 1][j];
    } else {
      a[r][r % nh] = 1.0 + p(rng);
      for (int j = 0; j < nh; ++j)
        if (p(rng) < density) a[r][j] = u(rng);
    }
    for (int j = 0; j < nh; ++j)
      if (a[r][j] != 0.0) kktAdd(k, nh + r, j, a[r][j]);
    if (delta != 0.0) kktAdd(k, nh + r, nh + r, -delta);
  }
  // Eigenvalues only: dsyevd needs no integer workspace beyond one entry.
  std::vector<double> m = k.dense, work(static_cast<size_t>(1 + 2 * k.n));
  int lwork = static_cast<int>(work.size()), liwork = 1, iwork = 0, info = 0;
  k.eig.resize(static_cast<size_t>(k.n));
  dsyevd_("N", "L", &k.n, m.data(), &k.n, k.eig.data(), work.data(), &lwork, &iwork, &liwork, &info, 1, 1);
  return k;
}

// Reference inertia: eigenvalues within tol * max|lambda| count as zero.
struct KktInertia {
  int neg = 0, zero = 0;
  double gap = 1.0;  // smallest |lambda| / max |lambda| among the non-zero ones
};

inline KktInertia kktInertia(const KktCase &k, double zeroTol) {
  KktInertia r;
  double mx = 0.0;
  for (double w : k.eig) mx = std::max(mx, std::fabs(w));
  for (double w : k.eig) {
    if (std::fabs(w) <= zeroTol * mx) {
      ++r.zero;
    } else {
      r.neg += w < 0;
      r.gap = std::min(r.gap, std::fabs(w) / mx);
    }
  }
  return r;
}

// KKT matrix of a g x g grid: H the 5-point Laplacian, A sums of grid lines;
// without `dense` only the coordinates are kept.
inline KktCase kktGrid(int g, int rows, bool dense = true) {
  KktCase k;
  const int nh = g * g;
  k.n = nh + rows;
  if (dense) k.dense.assign(static_cast<size_t>(k.n) * k.n, 0.0);
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

struct EngineRun {
  LinFactorInfo info;
  std::vector<double> x;
  double residual = 0.0, bnorm = 0.0;
  int analyse = 0, solve = 0;
};

// Analyses, factors and solves K x = b; `analysed` sees the system between
// the analysis and the factorization.
inline EngineRun runEngine(const KktCase &k, LinEngineKind kind, const LinSettings &s, const std::vector<double> &b,
                           const std::function<void(LinSystem &)> &analysed = nullptr) {
  EngineRun r;
  LinSystem sys;
  r.analyse = linAnalyze(sys, kind, s, k.n, static_cast<nnzint>(k.row.size()), k.row.data(), k.col.data());
  if (r.analyse != LIN_OK) return r;
  if (analysed) analysed(sys);
  r.info = linFactor(sys, k.val.data());
  r.x = b;
  r.solve = linSolve(sys, r.x.data());
  if (r.solve == LIN_OK) r.residual = linResidualInf(sys, r.x.data(), b.data());
  for (double v : b) r.bnorm = std::max(r.bnorm, std::fabs(v));
  return r;
}

inline std::vector<double> randomRhs(std::mt19937 &rng, int n) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> b(static_cast<size_t>(n));
  for (double &v : b) v = u(rng);
  return b;
}

