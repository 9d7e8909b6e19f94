// Dense kernels: dispatch to the loaded BLAS, or the local reference
// algorithms. Local level 2 and 3 kernels are written for column-major
// storage; a row-major call is the column-major call on the transposes
// (options flipped accordingly).
#include <algorithm>
#include <cmath>

#include "interface/context.h"
#include "linalg/blas_table.h"

namespace {

const MxBlasTable *blasOf(const MXL_context *ctx) { return ctx ? &ctx->blasTable : nullptr; }
#define MX_LOADED(ctx, name) (blasOf(ctx) != nullptr && blasOf(ctx)->name != nullptr)

inline size_t at(int i, int j, int ld) {
  return static_cast<size_t>(i) + static_cast<size_t>(j) * static_cast<size_t>(ld);
}
inline int flipUplo(int uplo) { return uplo == MX_UPPER ? MX_LOWER : MX_UPPER; }
inline int flipTrans(int t) { return t == MX_NO_TRANS ? MX_TRANS : MX_NO_TRANS; }
inline int flipSide(int s) { return s == MX_LEFT ? MX_RIGHT : MX_LEFT; }
// Start of a strided vector of n entries (negative strides run backwards).
inline long first(int n, int inc) { return inc >= 0 ? 0 : static_cast<long>(1 - n) * inc; }

double localDot(int n, const double *x, int incx, const double *y, int incy) {
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
  if (incx == 1 && incy == 1) {
    int i = 0;
    for (; i + 4 <= n; i += 4) {
      s0 += x[i] * y[i];
      s1 += x[i + 1] * y[i + 1];
      s2 += x[i + 2] * y[i + 2];
      s3 += x[i + 3] * y[i + 3];
    }
    for (; i < n; ++i) s0 += x[i] * y[i];
    return (s0 + s1) + (s2 + s3);
  }
  long ix = first(n, incx), iy = first(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) s0 += x[ix] * y[iy];
  return s0;
}

void localAxpy(int n, double a, const double *x, int incx, double *y, int incy) {
  if (incx == 1 && incy == 1) {
    int i = 0;
    for (; i + 4 <= n; i += 4) {
      y[i] += a * x[i];
      y[i + 1] += a * x[i + 1];
      y[i + 2] += a * x[i + 2];
      y[i + 3] += a * x[i + 3];
    }
    for (; i < n; ++i) y[i] += a * x[i];
    return;
  }
  long ix = first(n, incx), iy = first(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) y[iy] += a * x[ix];
}

// Scaled sum of squares, safe from overflow and underflow.
double localNrm2(int n, const double *x, int incx) {
  double scale = 0.0, ssq = 1.0;
  for (int i = 0; i < n; ++i) {
    const double v = std::fabs(x[static_cast<long>(i) * incx]);
    if (v == 0.0) continue;
    if (scale < v) {
      ssq = 1.0 + ssq * (scale / v) * (scale / v);
      scale = v;
    } else {
      ssq += (v / scale) * (v / scale);
    }
  }
  return scale * std::sqrt(ssq);
}

// y := beta y, treating beta 0 as an assignment (y may hold garbage).
void scaleY(int n, double beta, double *y, int incy) {
  long iy = first(n, incy);
  for (int i = 0; i < n; ++i, iy += incy) y[iy] = beta == 0.0 ? 0.0 : beta * y[iy];
}

void colGemv(int trans, int m, int n, double alpha, const double *A, int lda, const double *x,
             int incx, double beta, double *y, int incy) {
  const int lenX = trans == MX_NO_TRANS ? n : m, lenY = trans == MX_NO_TRANS ? m : n;
  scaleY(lenY, beta, y, incy);
  if (alpha == 0.0) return;
  const long x0 = first(lenX, incx), y0 = first(lenY, incy);
  for (int j = 0; j < n; ++j) {
    if (trans == MX_NO_TRANS) {
      const double t = alpha * x[x0 + static_cast<long>(j) * incx];
      for (int i = 0; i < m; ++i) y[y0 + static_cast<long>(i) * incy] += t * A[at(i, j, lda)];
    } else {
      double s = 0.0;
      for (int i = 0; i < m; ++i) s += A[at(i, j, lda)] * x[x0 + static_cast<long>(i) * incx];
      y[y0 + static_cast<long>(j) * incy] += alpha * s;
    }
  }
}

void colGer(int m, int n, double alpha, const double *x, int incx, const double *y, int incy,
            double *A, int lda) {
  const long x0 = first(m, incx), y0 = first(n, incy);
  for (int j = 0; j < n; ++j) {
    const double t = alpha * y[y0 + static_cast<long>(j) * incy];
    for (int i = 0; i < m; ++i) A[at(i, j, lda)] += t * x[x0 + static_cast<long>(i) * incx];
  }
}

// Symmetric matrix-vector product through an accessor of the stored entry
// A(i, j) with i, j in the stored triangle.
template <class Get>
void colSymv(int uplo, int n, double alpha, Get get, const double *x, int incx, double beta,
             double *y, int incy) {
  scaleY(n, beta, y, incy);
  if (alpha == 0.0) return;
  const long x0 = first(n, incx), y0 = first(n, incy);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      const bool stored = uplo == MX_UPPER ? i <= j : i >= j;
      const double a = stored ? get(i, j) : get(j, i);
      if (a != 0.0) y[y0 + static_cast<long>(i) * incy] += alpha * a * x[x0 + static_cast<long>(j) * incx];
    }
}

// Entry (i, j) of a column-major triangular matrix as seen by op(): zero
// outside the triangle, one on a unit diagonal.
template <class Get>
double triEntry(Get get, int uplo, int trans, int diag, int i, int j) {
  if (trans != MX_NO_TRANS) std::swap(i, j);
  if (i == j && diag == MX_UNIT) return 1.0;
  const bool stored = uplo == MX_UPPER ? i <= j : i >= j;
  return stored ? get(i, j) : 0.0;
}

// x := op(A) x for a triangular A given by an accessor.
template <class Get>
void colTrmv(Get get, int uplo, int trans, int diag, int n, double *x, int incx) {
  const long x0 = first(n, incx);
  std::vector<double> y(static_cast<size_t>(n), 0.0);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      const double a = triEntry(get, uplo, trans, diag, i, j);
      if (a != 0.0) y[i] += a * x[x0 + static_cast<long>(j) * incx];
    }
  for (int i = 0; i < n; ++i) x[x0 + static_cast<long>(i) * incx] = y[i];
}

// Solves op(A) x = b in place by substitution in the direction op(A) allows.
template <class Get>
void colTrsv(Get get, int uplo, int trans, int diag, int n, double *x, int incx) {
  const long x0 = first(n, incx);
  const bool lowerOp = (uplo == MX_LOWER) == (trans == MX_NO_TRANS);
  for (int s = 0; s < n; ++s) {
    const int i = lowerOp ? s : n - 1 - s;
    double v = x[x0 + static_cast<long>(i) * incx];
    for (int t = 0; t < s; ++t) {
      const int j = lowerOp ? t : n - 1 - t;
      v -= triEntry(get, uplo, trans, diag, i, j) * x[x0 + static_cast<long>(j) * incx];
    }
    x[x0 + static_cast<long>(i) * incx] = v / triEntry(get, uplo, trans, diag, i, i);
  }
}

void colGemm(int ta, int tb, int m, int n, int k, double alpha, const double *A, int lda,
             const double *B, int ldb, double beta, double *C, int ldc) {
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < m; ++i) C[at(i, j, ldc)] = beta == 0.0 ? 0.0 : beta * C[at(i, j, ldc)];
    if (alpha == 0.0) continue;
    for (int l = 0; l < k; ++l) {
      const double b = tb == MX_NO_TRANS ? B[at(l, j, ldb)] : B[at(j, l, ldb)];
      if (b == 0.0) continue;
      const double t = alpha * b;
      if (ta == MX_NO_TRANS)
        for (int i = 0; i < m; ++i) C[at(i, j, ldc)] += t * A[at(i, l, lda)];
      else
        for (int i = 0; i < m; ++i) C[at(i, j, ldc)] += t * A[at(l, i, lda)];
    }
  }
}

void colSyrk(int uplo, int trans, int n, int k, double alpha, const double *A, int lda,
             double beta, double *C, int ldc) {
  for (int j = 0; j < n; ++j) {
    const int i0 = uplo == MX_UPPER ? 0 : j, i1 = uplo == MX_UPPER ? j : n - 1;
    for (int i = i0; i <= i1; ++i) {
      double s = 0.0;
      for (int l = 0; l < k; ++l)
        s += trans == MX_NO_TRANS ? A[at(i, l, lda)] * A[at(j, l, lda)]
                                  : A[at(l, i, lda)] * A[at(l, j, lda)];
      C[at(i, j, ldc)] = alpha * s + (beta == 0.0 ? 0.0 : beta * C[at(i, j, ldc)]);
    }
  }
}

// B := alpha op(A) B (left) or alpha B op(A) (right), column by column or
// row by row with the vector kernels; solve selects trsm over trmm.
void colTrmmSm(bool solve, int side, int uplo, int ta, int diag, int m, int n, double alpha,
               const double *A, int lda, double *B, int ldb) {
  auto get = [&](int i, int j) { return A[at(i, j, lda)]; };
  if (side == MX_LEFT) {
    for (int j = 0; j < n; ++j) {
      double *col = B + at(0, j, ldb);
      if (solve) colTrsv(get, uplo, ta, diag, m, col, 1);
      else colTrmv(get, uplo, ta, diag, m, col, 1);
      for (int i = 0; i < m; ++i) col[i] *= alpha;
    }
    return;
  }
  // Right side: each row r of B satisfies r := r op(A), i.e. r^T := op(A)^T r^T.
  for (int i = 0; i < m; ++i) {
    double *row = B + i;
    if (solve) colTrsv(get, uplo, flipTrans(ta), diag, n, row, ldb);
    else colTrmv(get, uplo, flipTrans(ta), diag, n, row, ldb);
    for (int j = 0; j < n; ++j) row[static_cast<size_t>(j) * ldb] *= alpha;
  }
}

// Entry (i, j) of a packed triangle stored column-major.
struct Packed {
  const double *ap;
  int uplo, n;
  double operator()(int i, int j) const {
    return uplo == MX_UPPER ? ap[i + static_cast<size_t>(j) * (j + 1) / 2]
                            : ap[i + static_cast<size_t>(2 * n - j - 1) * j / 2];
  }
};

}  // namespace

double cdasum(MXL_context *ctx, int n, const double *x, int incx) {
  if (n <= 0 || incx <= 0) return 0.0;
  if (MX_LOADED(ctx, dasum)) return ctx->blasTable.dasum(n, x, incx);
  double s = 0.0;
  for (int i = 0; i < n; ++i) s += std::fabs(x[static_cast<long>(i) * incx]);
  return s;
}

void cdaxpy(MXL_context *ctx, int n, double a, const double *x, int incx, double *y, int incy) {
  if (n <= 0 || a == 0.0) return;
  if (MX_LOADED(ctx, daxpy)) return ctx->blasTable.daxpy(n, a, x, incx, y, incy);
  localAxpy(n, a, x, incx, y, incy);
}

void cdcopy(MXL_context *ctx, int n, const double *x, int incx, double *y, int incy) {
  if (n <= 0) return;
  if (MX_LOADED(ctx, dcopy)) return ctx->blasTable.dcopy(n, x, incx, y, incy);
  if (incx == 1 && incy == 1) {
    std::copy(x, x + n, y);
    return;
  }
  long ix = first(n, incx), iy = first(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) y[iy] = x[ix];
}

double cddot(MXL_context *ctx, int n, const double *x, int incx, const double *y, int incy) {
  if (n <= 0) return 0.0;
  if (MX_LOADED(ctx, ddot)) return ctx->blasTable.ddot(n, x, incx, y, incy);
  return localDot(n, x, incx, y, incy);
}

double cdnrm2(MXL_context *ctx, int n, const double *x, int incx) {
  if (n <= 0 || incx <= 0) return 0.0;
  if (MX_LOADED(ctx, dnrm2)) return ctx->blasTable.dnrm2(n, x, incx);
  return localNrm2(n, x, incx);
}

void cdscal(MXL_context *ctx, int n, double a, double *x, int incx) {
  if (n <= 0 || incx <= 0) return;
  if (MX_LOADED(ctx, dscal)) return ctx->blasTable.dscal(n, a, x, incx);
  for (int i = 0; i < n; ++i) x[static_cast<long>(i) * incx] *= a;
}

void cdswap(MXL_context *ctx, int n, double *x, int incx, double *y, int incy) {
  if (n <= 0) return;
  if (MX_LOADED(ctx, dswap)) return ctx->blasTable.dswap(n, x, incx, y, incy);
  long ix = first(n, incx), iy = first(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) std::swap(x[ix], y[iy]);
}

int cidamax(MXL_context *ctx, int n, const double *x, int incx) {
  if (n <= 0 || incx <= 0) return 0;
  if (MX_LOADED(ctx, idamax)) return static_cast<int>(ctx->blasTable.idamax(n, x, incx));
  int best = 0;
  double mx = std::fabs(x[0]);
  for (int i = 1; i < n; ++i) {
    const double v = std::fabs(x[static_cast<long>(i) * incx]);
    if (v > mx) {
      mx = v;
      best = i;
    }
  }
  return best;
}

double cdnrminf(MXL_context *ctx, int n, const double *x, int incx) {
  if (n <= 0 || incx <= 0) return 0.0;
  return std::fabs(x[static_cast<long>(cidamax(ctx, n, x, incx)) * incx]);
}

void cdset(MXL_context *, int n, double a, double *x, int incx) {
  for (int i = 0; i < n; ++i) x[static_cast<long>(i) * incx] = a;
}

void ciset(MXL_context *, int n, int a, int *x, int incx) {
  for (int i = 0; i < n; ++i) x[static_cast<long>(i) * incx] = a;
}

void cicopy(MXL_context *, int n, const int *x, int incx, int *y, int incy) {
  long ix = first(n, incx), iy = first(n, incy);
  for (int i = 0; i < n; ++i, ix += incx, iy += incy) y[iy] = x[ix];
}

void cdscalvec(MXL_context *, int n, const double *s, double *x) {
  for (int i = 0; i < n; ++i) x[i] *= s[i];
}

void cdgemv(MXL_context *ctx, int order, int trans, int m, int n, double alpha, const double *A,
            int lda, const double *x, int incx, double beta, double *y, int incy) {
  if (MX_LOADED(ctx, dgemv))
    return ctx->blasTable.dgemv(order, trans, m, n, alpha, A, lda, x, incx, beta, y, incy);
  if (order == MX_ROW_MAJOR)
    colGemv(flipTrans(trans), n, m, alpha, A, lda, x, incx, beta, y, incy);
  else
    colGemv(trans, m, n, alpha, A, lda, x, incx, beta, y, incy);
}

void cdger(MXL_context *ctx, int order, int m, int n, double alpha, const double *x, int incx,
           const double *y, int incy, double *A, int lda) {
  if (MX_LOADED(ctx, dger))
    return ctx->blasTable.dger(order, m, n, alpha, x, incx, y, incy, A, lda);
  if (order == MX_ROW_MAJOR)
    colGer(n, m, alpha, y, incy, x, incx, A, lda);
  else
    colGer(m, n, alpha, x, incx, y, incy, A, lda);
}

void cdsbmv(MXL_context *ctx, int order, int uplo, int n, int k, double alpha, const double *A,
            int lda, const double *x, int incx, double beta, double *y, int incy) {
  if (MX_LOADED(ctx, dsbmv))
    return ctx->blasTable.dsbmv(order, uplo, n, k, alpha, A, lda, x, incx, beta, y, incy);
  // Row-major band storage of one triangle is column-major storage of the
  // other triangle of the (symmetric) transpose.
  const int u = order == MX_ROW_MAJOR ? flipUplo(uplo) : uplo;
  auto get = [&](int i, int j) {
    if (u == MX_UPPER) return j - i <= k ? A[at(k + i - j, j, lda)] : 0.0;
    return i - j <= k ? A[at(i - j, j, lda)] : 0.0;
  };
  colSymv(u, n, alpha, get, x, incx, beta, y, incy);
}

void cdspmv(MXL_context *ctx, int order, int uplo, int n, double alpha, const double *Ap,
            const double *x, int incx, double beta, double *y, int incy) {
  if (MX_LOADED(ctx, dspmv))
    return ctx->blasTable.dspmv(order, uplo, n, alpha, Ap, x, incx, beta, y, incy);
  const int u = order == MX_ROW_MAJOR ? flipUplo(uplo) : uplo;
  colSymv(u, n, alpha, Packed{Ap, u, n}, x, incx, beta, y, incy);
}

void cdtpsv(MXL_context *ctx, int order, int uplo, int trans, int diag, int n, const double *Ap,
            double *x, int incx) {
  if (n <= 0) return;
  if (MX_LOADED(ctx, dtpsv)) return ctx->blasTable.dtpsv(order, uplo, trans, diag, n, Ap, x, incx);
  if (order == MX_ROW_MAJOR) {
    uplo = flipUplo(uplo);
    trans = flipTrans(trans);
  }
  colTrsv(Packed{Ap, uplo, n}, uplo, trans, diag, n, x, incx);
}

void cdtrmv(MXL_context *ctx, int order, int uplo, int trans, int diag, int n, const double *A,
            int lda, double *x, int incx) {
  if (n <= 0) return;
  if (MX_LOADED(ctx, dtrmv))
    return ctx->blasTable.dtrmv(order, uplo, trans, diag, n, A, lda, x, incx);
  if (order == MX_ROW_MAJOR) {
    uplo = flipUplo(uplo);
    trans = flipTrans(trans);
  }
  colTrmv([&](int i, int j) { return A[at(i, j, lda)]; }, uplo, trans, diag, n, x, incx);
}

void cdgemm(MXL_context *ctx, int order, int transA, int transB, int m, int n, int k,
            double alpha, const double *A, int lda, const double *B, int ldb, double beta,
            double *C, int ldc) {
  if (m <= 0 || n <= 0) return;
  if (MX_LOADED(ctx, dgemm))
    return ctx->blasTable.dgemm(order, transA, transB, m, n, k, alpha, A, lda, B, ldb, beta, C,
                                ldc);
  // Row-major C = op(A) op(B) is column-major C^T = op(B)^T op(A)^T.
  if (order == MX_ROW_MAJOR)
    colGemm(transB, transA, n, m, k, alpha, B, ldb, A, lda, beta, C, ldc);
  else
    colGemm(transA, transB, m, n, k, alpha, A, lda, B, ldb, beta, C, ldc);
}

void cdsyrk(MXL_context *ctx, int order, int uplo, int trans, int n, int k, double alpha,
            const double *A, int lda, double beta, double *C, int ldc) {
  if (n <= 0) return;
  if (MX_LOADED(ctx, dsyrk))
    return ctx->blasTable.dsyrk(order, uplo, trans, n, k, alpha, A, lda, beta, C, ldc);
  if (order == MX_ROW_MAJOR)
    colSyrk(flipUplo(uplo), flipTrans(trans), n, k, alpha, A, lda, beta, C, ldc);
  else
    colSyrk(uplo, trans, n, k, alpha, A, lda, beta, C, ldc);
}

void cdtrmm(MXL_context *ctx, int order, int side, int uplo, int transA, int diag, int m, int n,
            double alpha, const double *A, int lda, double *B, int ldb) {
  if (m <= 0 || n <= 0) return;
  if (MX_LOADED(ctx, dtrmm))
    return ctx->blasTable.dtrmm(order, side, uplo, transA, diag, m, n, alpha, A, lda, B, ldb);
  if (order == MX_ROW_MAJOR)
    colTrmmSm(false, flipSide(side), flipUplo(uplo), transA, diag, n, m, alpha, A, lda, B, ldb);
  else
    colTrmmSm(false, side, uplo, transA, diag, m, n, alpha, A, lda, B, ldb);
}

void cdtrsm(MXL_context *ctx, int order, int side, int uplo, int transA, int diag, int m, int n,
            double alpha, const double *A, int lda, double *B, int ldb) {
  if (m <= 0 || n <= 0) return;
  if (MX_LOADED(ctx, dtrsm))
    return ctx->blasTable.dtrsm(order, side, uplo, transA, diag, m, n, alpha, A, lda, B, ldb);
  if (order == MX_ROW_MAJOR)
    colTrmmSm(true, flipSide(side), flipUplo(uplo), transA, diag, n, m, alpha, A, lda, B, ldb);
  else
    colTrmmSm(true, side, uplo, transA, diag, m, n, alpha, A, lda, B, ldb);
}

int equalFloats(double a, double b, double tol) {
  const double t = std::max(tol, 2.220446049250313e-16);
  const double d = std::fabs(a - b);
  return (d <= t * std::fabs(a)) + (d <= t * std::fabs(b));
}
