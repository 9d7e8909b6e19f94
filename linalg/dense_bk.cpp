// Unblocked Bunch-Kaufman and Cholesky factors of small dense matrices.
#include "linalg/dense_bk.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

struct Lower {
  double *a;
  int ld;
  double &operator()(int i, int j) const { return a[i + static_cast<long>(j) * ld]; }
};

// Largest |A(i, k)| below the diagonal of column k; its row in *row.
double bkColumnMax(const Lower &A, int n, int k, int *row) {
  double best = 0.0;
  *row = k;
  for (int i = k + 1; i < n; ++i)
    if (std::fabs(A(i, k)) > best) best = std::fabs(A(i, k)), *row = i;
  return best;
}

// Largest off-diagonal entry of row r within columns k.. of the trailing
// matrix (stored in the lower triangle).
double bkRowMax(const Lower &A, int n, int k, int r) {
  double best = 0.0;
  for (int j = k; j < r; ++j) best = std::max(best, std::fabs(A(r, j)));
  for (int i = r + 1; i < n; ++i) best = std::max(best, std::fabs(A(i, r)));
  return best;
}

// Symmetric interchange of rows and columns p < q of the trailing matrix
// from p. Columns already eliminated keep their rows: the solve applies
// each interchange in turn.
void bkSwap(const Lower &A, int n, int p, int q) {
  for (int i = q + 1; i < n; ++i) std::swap(A(i, p), A(i, q));
  for (int j = p + 1; j < q; ++j) std::swap(A(j, p), A(q, j));
  std::swap(A(p, p), A(q, q));
}

void bkEliminate1(const Lower &A, int n, int k) {
  const double r = 1.0 / A(k, k);
  for (int j = k + 1; j < n; ++j) {
    const double f = r * A(j, k);
    for (int i = j; i < n; ++i) A(i, j) -= f * A(i, k);
  }
  for (int i = k + 1; i < n; ++i) A(i, k) *= r;
}

// The 2x2 block at rows k, k+1: the trailing update and the multipliers.
void bkEliminate2(const Lower &A, int n, int k) {
  if (k + 2 >= n) return;
  double d21 = A(k + 1, k);
  const double d11 = A(k + 1, k + 1) / d21, d22 = A(k, k) / d21;
  const double t = 1.0 / (d11 * d22 - 1.0);
  d21 = t / d21;
  for (int j = k + 2; j < n; ++j) {
    const double wk = d21 * (d11 * A(j, k) - A(j, k + 1));
    const double wk1 = d21 * (d22 * A(j, k + 1) - A(j, k));
    for (int i = j; i < n; ++i) A(i, j) -= A(i, k) * wk + A(i, k + 1) * wk1;
    A(j, k) = wk;
    A(j, k + 1) = wk1;
  }
}

}  // namespace

int denseBKFactor(int n, double *a, int lda, int *ipiv) {
  const double alpha = (1.0 + std::sqrt(17.0)) / 8.0;
  const Lower A{a, lda};
  int info = 0;
  for (int k = 0; k < n;) {
    int step = 1, kp = k, imax = k;
    const double akk = std::fabs(A(k, k));
    const double colmax = bkColumnMax(A, n, k, &imax);
    if (std::max(akk, colmax) == 0.0) {
      if (info == 0) info = k + 1;
    } else if (akk < alpha * colmax) {
      const double rowmax = bkRowMax(A, n, k, imax);
      if (akk >= alpha * colmax * (colmax / rowmax)) kp = k;
      else if (std::fabs(A(imax, imax)) >= alpha * rowmax) kp = imax;
      else kp = imax, step = 2;
    }
    const int kk = k + step - 1;
    if (kp != kk) {
      bkSwap(A, n, kk, kp);
      if (step == 2) std::swap(A(k + 1, k), A(kp, k));
    }
    if (step == 1) {
      if (A(k, k) != 0.0) bkEliminate1(A, n, k);
      ipiv[k] = kp + 1;
    } else {
      bkEliminate2(A, n, k);
      ipiv[k] = ipiv[k + 1] = -(kp + 1);
    }
    k += step;
  }
  return info;
}

void denseBKSolve(int n, const double *a, int lda, const int *ipiv, double *b) {
  const Lower A{const_cast<double *>(a), lda};
  for (int k = 0; k < n;) {  // L D y = P b
    if (ipiv[k] > 0) {
      std::swap(b[k], b[ipiv[k] - 1]);
      for (int i = k + 1; i < n; ++i) b[i] -= A(i, k) * b[k];
      b[k] /= A(k, k);
      ++k;
      continue;
    }
    std::swap(b[k + 1], b[-ipiv[k] - 1]);
    for (int i = k + 2; i < n; ++i) b[i] -= A(i, k) * b[k] + A(i, k + 1) * b[k + 1];
    const double off = A(k + 1, k), d1 = A(k, k) / off, d2 = A(k + 1, k + 1) / off;
    const double denom = d1 * d2 - 1.0, b1 = b[k] / off, b2 = b[k + 1] / off;
    b[k] = (d2 * b1 - b2) / denom;
    b[k + 1] = (d1 * b2 - b1) / denom;
    k += 2;
  }
  for (int k = n - 1; k >= 0;) {  // L' P' x = y
    const int first = ipiv[k] > 0 ? k : k - 1;
    for (int i = k + 1; i < n; ++i) {
      b[k] -= A(i, k) * b[i];
      if (first < k) b[first] -= A(i, first) * b[i];
    }
    std::swap(b[k], b[std::abs(ipiv[k]) - 1]);
    k = first - 1;
  }
}

int denseCholFactor(int n, double *a, int lda) {
  const Lower A{a, lda};
  for (int j = 0; j < n; ++j) {
    double d = A(j, j);
    for (int p = 0; p < j; ++p) d -= A(j, p) * A(j, p);
    if (!(d > 0.0)) return j + 1;
    d = std::sqrt(d);
    A(j, j) = d;
    for (int i = j + 1; i < n; ++i) {
      double s = A(i, j);
      for (int p = 0; p < j; ++p) s -= A(i, p) * A(j, p);
      A(i, j) = s / d;
    }
  }
  return 0;
}

void denseCholSolve(int n, const double *a, int lda, double *b) {
  const Lower A{const_cast<double *>(a), lda};
  for (int j = 0; j < n; ++j) {
    for (int p = 0; p < j; ++p) b[j] -= A(j, p) * b[p];
    b[j] /= A(j, j);
  }
  for (int j = n - 1; j >= 0; --j) {
    for (int i = j + 1; i < n; ++i) b[j] -= A(i, j) * b[i];
    b[j] /= A(j, j);
  }
}
