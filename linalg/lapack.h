// The LAPACK routines of the dense engines, loaded on first use: most
// solves of small models never need them, and loading the library costs
// more than such a solve. Where no LAPACK library can be loaded every call
// returns info = kLapackMissing.
#pragma once

constexpr int kLapackMissing = -1000;

// Loads the library if it is not loaded yet; false if none is available.
bool lapackAvailable();

void lapackDsytrf(const char *uplo, int n, double *a, int lda, int *ipiv, double *work, int lwork, int *info);
void lapackDsytrs(const char *uplo, int n, int nrhs, const double *a, int lda, const int *ipiv, double *b, int ldb,
                  int *info);
void lapackDgeqp3(int m, int n, double *a, int lda, int *jpvt, double *tau, double *work, int lwork, int *info);
void lapackDormqr(const char *side, const char *trans, int m, int n, int k, const double *a, int lda,
                  const double *tau, double *c, int ldc, double *work, int lwork, int *info);
void lapackDtrtrs(const char *uplo, const char *trans, const char *diag, int n, int nrhs, const double *a, int lda,
                  double *b, int ldb, int *info);
void lapackDpotrf(const char *uplo, int n, double *a, int lda, int *info);
void lapackDpotrs(const char *uplo, int n, int nrhs, const double *a, int lda, double *b, int ldb, int *info);
