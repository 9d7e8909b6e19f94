// Fortran LAPACK routines used by the dense engines. The trailing size_t
// arguments are the hidden lengths of the character arguments.
#pragma once
#include <cstddef>

extern "C" {
void dsytrf_(const char *uplo, const int *n, double *a, const int *lda, int *ipiv, double *work,
             const int *lwork, int *info, size_t);
void dsytrs_(const char *uplo, const int *n, const int *nrhs, const double *a, const int *lda,
             const int *ipiv, double *b, const int *ldb, int *info, size_t);
void dsyevd_(const char *jobz, const char *uplo, const int *n, double *a, const int *lda,
             double *w, double *work, const int *lwork, int *iwork, const int *liwork, int *info,
             size_t, size_t);
void dgeqp3_(const int *m, const int *n, double *a, const int *lda, int *jpvt, double *tau,
             double *work, const int *lwork, int *info);
void dormqr_(const char *side, const char *trans, const int *m, const int *n, const int *k,
             const double *a, const int *lda, const double *tau, double *c, const int *ldc,
             double *work, const int *lwork, int *info, size_t, size_t);
void dtrtrs_(const char *uplo, const char *trans, const char *diag, const int *n,
             const int *nrhs, const double *a, const int *lda, double *b, const int *ldb,
             int *info, size_t, size_t, size_t);
void dpotrf_(const char *uplo, const int *n, double *a, const int *lda, int *info, size_t);
void dpotrs_(const char *uplo, const int *n, const int *nrhs, const double *a, const int *lda,
             double *b, const int *ldb, int *info, size_t);
}
