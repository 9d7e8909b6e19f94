// Dense QR with column pivoting (dgeqp3) and dense Cholesky (dpotrf).
#include "linalg/dense_factor.h"

#include <algorithm>
#include <cmath>

#include "driver/print.h"
#include "interface/context.h"
#include "linalg/lapack.h"

void QRconstruct(QRfactorObj &qr, int rows, int cols) {
  qr = QRfactorObj();
  qr.rows = rows;
  qr.cols = cols;
  qr.a.resize(static_cast<size_t>(rows) * static_cast<size_t>(cols));
  qr.tau.resize(static_cast<size_t>(std::min(rows, cols)));
  qr.jpvt.resize(static_cast<size_t>(cols));
}

void QRdestruct(QRfactorObj &qr) { qr = QRfactorObj(); }

static int QRfail(MXL_context *ctx, int status) {
  if (ctx != nullptr) mxl_printf(ctx, "QR LS solve failed with status %d\n", status);
  return status;
}

int QRfactor(MXL_context *ctx, QRfactorObj &qr, int rows, int cols, const double *M, int lda,
             double tol) {
  if (qr.rows != rows || qr.cols != cols) QRconstruct(qr, rows, cols);
  qr.factored = 0;
  for (int j = 0; j < cols; ++j)
    std::copy(M + static_cast<size_t>(j) * lda, M + static_cast<size_t>(j) * lda + rows,
              qr.a.begin() + static_cast<size_t>(j) * rows);
  std::vector<int> piv(static_cast<size_t>(cols), 0);
  const int ld = std::max(rows, 1);
  int lwork = -1, info = 0;
  double query = 0.0;
  lapackDgeqp3(rows, cols, qr.a.data(), ld, piv.data(), qr.tau.data(), &query, lwork, &info);
  lwork = std::max(1, static_cast<int>(query));
  qr.work.resize(static_cast<size_t>(lwork));
  if (rows > 0 && cols > 0)
    lapackDgeqp3(rows, cols, qr.a.data(), ld, piv.data(), qr.tau.data(), qr.work.data(), lwork, &info);
  if (info < 0) {
    if (ctx != nullptr) mxl_printf(ctx, "*** QR Jacobian factor failed with status %d\n", info);
    return info;
  }
  for (int j = 0; j < cols; ++j) qr.jpvt[j] = piv[j] - 1;
  const int k = std::min(rows, cols);
  qr.rank = 0;
  qr.rankTol = tol;
  while (qr.rank < k && std::fabs(qr.a[qr.rank + static_cast<size_t>(qr.rank) * rows]) > tol)
    ++qr.rank;
  if (qr.rank < k && ctx != nullptr && ctx->opt.debug > 0)
    mxl_printf(ctx, "Jacobian matrix is rank deficient: numRows=%d, numCols=%d rank=%d, rankTol=%e\n",
               rows, cols, qr.rank, tol);
  qr.factored = 1;
  return 0;
}

// y := Q^T y (trans 'T') or Q y (trans 'N'), y of length rows.
static int QRapplyQ(QRfactorObj &qr, const char *trans, double *y) {
  const int one = 1, k = std::min(qr.rows, qr.cols), ld = std::max(qr.rows, 1);
  if (k == 0) return 0;
  int lwork = -1, info = 0;
  double query = 0.0;
  lapackDormqr("L", trans, qr.rows, one, k, qr.a.data(), ld, qr.tau.data(), y, ld, &query, lwork, &info);
  lwork = std::max(1, static_cast<int>(query));
  if (qr.work.size() < static_cast<size_t>(lwork)) qr.work.resize(static_cast<size_t>(lwork));
  if (info != 0) return info;
  lapackDormqr("L", trans, qr.rows, one, k, qr.a.data(), ld, qr.tau.data(), y, ld, qr.work.data(), lwork, &info);
  return info;
}

// y := R11^{-1} y (trans 'N') or R11^{-T} y (trans 'T'), R11 the leading
// rank x rank block.
static int QRsolveR(QRfactorObj &qr, const char *trans, double *y) {
  const int one = 1, ld = std::max(qr.rows, 1);
  if (qr.rank == 0) return 0;
  int info = 0;
  lapackDtrtrs("U", trans, "N", qr.rank, one, qr.a.data(), ld, y, qr.rank, &info);
  return info;
}

int QRleastSquaresSolve(MXL_context *ctx, QRfactorObj &qr, const double *b, double *x) {
  if (!qr.factored) return QRfail(ctx, -1);
  std::vector<double> y(b, b + qr.rows);
  int st = QRapplyQ(qr, "T", y.data());
  if (st == 0) st = QRsolveR(qr, "N", y.data());
  if (st != 0) return QRfail(ctx, st);
  std::fill(x, x + qr.cols, 0.0);
  for (int j = 0; j < qr.rank; ++j) x[qr.jpvt[j]] = y[j];
  return 0;
}

int QRminNormSolve(MXL_context *ctx, QRfactorObj &qr, const double *b, double *x) {
  if (!qr.factored) return QRfail(ctx, -1);
  std::vector<double> y(static_cast<size_t>(qr.rows), 0.0);
  for (int j = 0; j < qr.rank; ++j) y[j] = b[qr.jpvt[j]];
  int st = QRsolveR(qr, "T", y.data());
  if (st == 0) st = QRapplyQ(qr, "N", y.data());
  if (st != 0) return QRfail(ctx, st);
  std::copy(y.begin(), y.end(), x);
  return 0;
}

int QRprojection(MXL_context *ctx, QRfactorObj &qr, const double *r, double *out) {
  if (!qr.factored) return QRfail(ctx, -1);
  std::vector<double> y(r, r + qr.rows);
  int st = QRapplyQ(qr, "T", y.data());
  std::fill(y.begin(), y.begin() + qr.rank, 0.0);
  if (st == 0) st = QRapplyQ(qr, "N", y.data());
  if (st != 0) return QRfail(ctx, st);
  std::copy(y.begin(), y.end(), out);
  return 0;
}

int QRATASolve(MXL_context *ctx, QRfactorObj &qr, const double *b, double *x) {
  if (!qr.factored) return QRfail(ctx, -1);
  std::vector<double> y(static_cast<size_t>(std::max(qr.rank, 1)), 0.0);
  for (int j = 0; j < qr.rank; ++j) y[j] = b[qr.jpvt[j]];
  int st = QRsolveR(qr, "T", y.data());
  if (st == 0) st = QRsolveR(qr, "N", y.data());
  if (st != 0) return QRfail(ctx, st);
  std::fill(x, x + qr.cols, 0.0);
  for (int j = 0; j < qr.rank; ++j) x[qr.jpvt[j]] = y[j];
  return 0;
}

void CHOLconstruct(CHOLfactorObj &ch, int n) {
  ch = CHOLfactorObj();
  ch.n = n;
  ch.a.resize(static_cast<size_t>(n) * static_cast<size_t>(n));
}

void CHOLdestruct(CHOLfactorObj &ch) { ch = CHOLfactorObj(); }

int CHOLfactor(CHOLfactorObj &ch, const double *A, int lda) {
  const int n = ch.n;
  ch.factored = 0;
  for (int j = 0; j < n; ++j)
    std::copy(A + static_cast<size_t>(j) * lda, A + static_cast<size_t>(j) * lda + n,
              ch.a.begin() + static_cast<size_t>(j) * n);
  if (n == 0) return 0;
  int info = 0;
  lapackDpotrf("L", n, ch.a.data(), n, &info);
  ch.factored = info == 0;
  return info;
}

int CHOLsolve(CHOLfactorObj &ch, double *rhs) {
  if (!ch.factored) return -1;
  const int n = ch.n, one = 1;
  if (n == 0) return 0;
  int info = 0;
  lapackDpotrs("L", n, one, ch.a.data(), n, rhs, n, &info);
  return info;
}
