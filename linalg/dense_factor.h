// Dense QR with column pivoting and dense Cholesky objects.
//
// The QR object factors a column-major matrix M (rows x cols) as
// M P = Q R. In the solver M is the transposed Jacobian A^T, so that
//   QRleastSquaresSolve  min || M x - b ||        (least-squares multipliers)
//   QRminNormSolve       M^T x = b, x in range(M)  (minimum-norm step)
//   QRprojection         r - M (M^T M)^+ M^T r     (null space of M^T)
//   QRATASolve           (M^T M) x = b
// Rank deficiency: only the leading `rank` columns of R are used; the
// solves give the basic solutions of the reduced systems.
#pragma once

#include <vector>

struct MXL_context;

struct QRfactorObj {
  int rows = 0, cols = 0, rank = 0;
  double rankTol = 0.0;
  std::vector<double> a;    // R above the diagonal, reflectors below
  std::vector<double> tau;
  std::vector<int> jpvt;    // 0-based column permutation
  std::vector<double> work;
  int factored = 0;
};

void QRconstruct(QRfactorObj &qr, int rows, int cols);
void QRdestruct(QRfactorObj &qr);
// Factors M (column-major, leading dimension lda) with the absolute rank
// tolerance tol. Returns 0 or a negative status.
int QRfactor(MXL_context *ctx, QRfactorObj &qr, int rows, int cols, const double *M, int lda,
             double tol);
// b has `rows` entries on entry; x (`cols` entries) is written.
int QRleastSquaresSolve(MXL_context *ctx, QRfactorObj &qr, const double *b, double *x);
// b has `cols` entries; x (`rows` entries) is written.
int QRminNormSolve(MXL_context *ctx, QRfactorObj &qr, const double *b, double *x);
// r and out have `rows` entries (out may be r).
int QRprojection(MXL_context *ctx, QRfactorObj &qr, const double *r, double *out);
// b and x have `cols` entries.
int QRATASolve(MXL_context *ctx, QRfactorObj &qr, const double *b, double *x);

struct CHOLfactorObj {
  int n = 0;
  std::vector<double> a;  // lower factor, column-major
  int factored = 0;
};

void CHOLconstruct(CHOLfactorObj &ch, int n);
void CHOLdestruct(CHOLfactorObj &ch);
// Returns 0, a positive value when the matrix is not positive definite (the
// order of the failing minor), or a negative status.
int CHOLfactor(CHOLfactorObj &ch, const double *A, int lda);
int CHOLsolve(CHOLfactorObj &ch, double *rhs);
