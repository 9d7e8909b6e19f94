// Small dense symmetric factorizations without LAPACK: the Bunch-Kaufman
// LDL' of the lower triangle and the Cholesky factor, in LAPACK's storage
// (column-major, lower triangle; pivots 1-based, negative for the two
// rows of a 2x2 block). Small systems are factored here so that a solve
// of a small model never loads the LAPACK library, whose start-up costs
// more than the solve.
#pragma once

// Bunch-Kaufman LDL' of the lower triangle of a (n x n, leading dimension
// lda). Returns 0, or k > 0 when D(k,k) is exactly zero (the factor is
// still complete, as with LAPACK).
int denseBKFactor(int n, double *a, int lda, int *ipiv);
// Solves with the factor; b has n entries.
void denseBKSolve(int n, const double *a, int lda, const int *ipiv, double *b);
// Cholesky factor L of the lower triangle. Returns 0, or k > 0 when the
// leading minor of order k is not positive definite.
int denseCholFactor(int n, double *a, int lda);
// Solves L L' x = b with the factor.
void denseCholSolve(int n, const double *a, int lda, double *b);
